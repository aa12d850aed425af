// Reading alignments from FASTA (aligned or not), Clustal, MSF, Stockholm,
// PHYLIP, PIR/NBRF and A3M files, plain or gzip-compressed, and writing them
// as FASTA, Clustal, MSF, Stockholm, PHYLIP or A3M.
#pragma once

#include <iosfwd>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/alignment.h"

namespace KARVO {

enum class AlignmentFormat { Fasta, Clustal, Msf, Stockholm, Phylip, A3m };

// What an input file is read as when the user says so instead of leaving it
// to the content: PHYLIP comes with 10-character names (Phylip) or with
// names that end at a blank (PhylipRelaxed).
enum class InputFormat { Fasta, Clustal, Msf, Stockholm, Phylip, PhylipRelaxed, Pir, A3m };

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

// Reads a file, recognising its format from its content (the name's
// extension decides only what the content leaves open: a .a3m name reads
// FASTA-like text as A3M), or as format when given; gzip-compressed content
// is uncompressed first (whatever the name), and a UTF-8 byte-order mark at
// the start is skipped. The path "-" reads standard input, named
// kStandardInputName in messages.
std::unique_ptr<Alignment> readAlignmentFile(const std::string& path, std::optional<InputFormat> format = std::nullopt);

// Reads from a stream like readAlignmentFile; displayName stands for the
// file in error messages and gives the extension.
std::unique_ptr<Alignment> readAlignment(std::istream& in, const std::string& displayName,
                                         std::optional<InputFormat> format = std::nullopt);

// The names --input-format takes: "fasta", "clustal", "msf", "stockholm",
// "phylip", "phylip-relaxed", "pir", "a3m".
std::vector<std::string> inputFormatNames();
std::optional<InputFormat> inputFormatFromName(const std::string& name);

inline constexpr const char* kStandardInputName = "standard input";

// A line of per-column marks, one character per column of the alignment.
// Stockholm carries it as "#=GC <tag> <marks>" below the rows; the other
// formats have no place for it and leave it out.
struct ColumnMarks {
  std::string tag;
  std::string marks;
};

// Choices of the writers beyond the format. a3mQuery names the row whose
// residues make the A3M match columns (empty: the first row); it is written
// first. columnMarks: lines of per-column marks (Stockholm only).
struct WriteOptions {
  std::string a3mQuery;
  std::vector<ColumnMarks> columnMarks;
};

// Throws std::invalid_argument when options.a3mQuery names no row or a line
// of marks is not as long as the alignment is wide.
void writeAlignment(std::ostream& out, const Alignment& alignment, AlignmentFormat format,
                    const WriteOptions& options = {});

// Writes to a temporary file in the same folder and renames it over path, so
// that path is never half-written; a path ending in ".gz" is written
// gzip-compressed. Throws std::runtime_error with a one-line message naming
// path on failure (nothing is left behind).
void writeAlignmentFile(const std::string& path, const Alignment& alignment, AlignmentFormat format,
                        const WriteOptions& options = {});

// A format's name as --format takes it: "fasta", "clustal", "msf",
// "stockholm", "phylip" or "a3m", in that order.
std::vector<std::string> formatNames();

// A format name (any case), or a file name whose extension says it (any
// case, also followed by ".gz"): .fa .fasta .fas .afa .faa, .aln .clw
// .clustal, .msf, .sto .stk, .phy .phylip, .a3m; nullopt otherwise.
std::optional<AlignmentFormat> formatFromName(const std::string& nameOrPath);

// The names and extensions formatFromName knows, for messages:
// "fasta (.fa .fasta .fas .afa), clustal (.aln .clw), ...".
std::string formatChoices();

}  // namespace KARVO
