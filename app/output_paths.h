// Where and how karvo writes its outputs: the alignment's format from the
// options, "-" for standard output, and the checks made before a run so that
// an output that cannot be written stops it before anything is computed.
#pragma once

#include <optional>
#include <string>

#include "formats/alignment_io.h"

namespace karvo_app {

// "-" as INPUT or after -o: standard input or output.
bool isStandardStream(const std::string& path);

// The alignment's format: --format when given, else the output name's
// extension (also before ".gz"). Standard output, and an output that exists
// and is not a regular file (a device or a pipe), default to FASTA; any other
// name that says no format is refused.
struct OutputFormat {
  std::optional<KARVO::AlignmentFormat> format;
  std::string problem;  // one line when format is empty
};
OutputFormat outputFormatFor(const std::string& output, const std::string& formatOption);

// Why an output file could not be made at path, checked before the run: its
// folder is missing, is not a folder or cannot be written, or path is a
// folder. Empty when it looks writable (or is standard output).
std::string outputPathProblem(const std::string& option, const std::string& path);

}  // namespace karvo_app
