// Reading alignments from FASTA (aligned or not), Clustal, MSF and Stockholm
// files, plain or gzip-compressed, and writing them as FASTA, Clustal, MSF,
// Stockholm or PHYLIP.
#pragma once

#include <iosfwd>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/alignment.h"

namespace KARVO {

enum class AlignmentFormat { Fasta, Clustal, Msf, Stockholm, Phylip };

// A malformed or unreadable file. what() is one line naming the file, the
// line (and column where there is one) and the problem, for example
// "globins.fa:12:7: unexpected character '#' in sequence HBA_HUMAN".
class AlignmentReadError : public std::runtime_error {
 public:
  AlignmentReadError(const std::string& file, unsigned long line, unsigned long column, const std::string& problem);
  const std::string& file() const { return file_; }
  unsigned long line() const { return line_; }      // 0 when the problem is the whole file
  unsigned long column() const { return column_; }  // 0 when there is no column
  const std::string& problem() const { return problem_; }

 private:
  std::string file_;
  unsigned long line_;
  unsigned long column_;
  std::string problem_;
};

// Reads a file, recognising its format from its content; gzip-compressed
// content is uncompressed first (whatever the name), and a UTF-8 byte-order
// mark at the start is skipped. The path "-" reads standard input, named
// kStandardInputName in messages.
std::unique_ptr<Alignment> readAlignmentFile(const std::string& path);

// Reads from a stream like readAlignmentFile; displayName stands for the
// file in error messages.
std::unique_ptr<Alignment> readAlignment(std::istream& in, const std::string& displayName);

inline constexpr const char* kStandardInputName = "standard input";

// A line of per-column marks, one character per column of the alignment.
// Stockholm carries it as "#=GC <tag> <marks>" below the rows; the other
// formats have no place for it and leave it out.
struct ColumnMarks {
  std::string tag;
  std::string marks;
};

// Throws std::invalid_argument when a line of marks is not as long as the
// alignment is wide.
void writeAlignment(std::ostream& out, const Alignment& alignment, AlignmentFormat format,
                    const std::vector<ColumnMarks>& columnMarks = {});

// Writes to a temporary file in the same folder and renames it over path, so
// that path is never half-written; a path ending in ".gz" is written
// gzip-compressed. Throws std::runtime_error with a one-line message naming
// path on failure (nothing is left behind).
void writeAlignmentFile(const std::string& path, const Alignment& alignment, AlignmentFormat format,
                        const std::vector<ColumnMarks>& columnMarks = {});

// A format's name as --format takes it: "fasta", "clustal", "msf",
// "stockholm" or "phylip", in that order.
std::vector<std::string> formatNames();

// A format name (any case), or a file name whose extension says it (any
// case, also followed by ".gz"): .fa .fasta .fas .afa .faa, .aln .clw
// .clustal, .msf, .sto .stk, .phy .phylip; nullopt otherwise.
std::optional<AlignmentFormat> formatFromName(const std::string& nameOrPath);

// The names and extensions formatFromName knows, for messages:
// "fasta (.fa .fasta .fas .afa), clustal (.aln .clw), ...".
std::string formatChoices();

}  // namespace KARVO
