// Internals of the alignment readers and writers, shared by the per-format
// files; not part of the host's interface.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "formats/alignment_io.h"
#include "host/alignment.h"

namespace KARVO::formats {

// A file's text split into lines without their line ends (any '\r' before
// '\n' belongs to the line end). Line and column numbers are 1-based.
struct TextFile {
  std::string name;
  std::vector<std::string> lines;
  // The first control character on a title line (a FASTA, PIR or A3M
  // header, or a PIR description), where only those formats accept one.
  struct Place {
    unsigned long line;
    unsigned long column;
    char byte;
  };
  std::optional<Place> titleControl = std::nullopt;
};

// Collects named rows while a file is read and checks every character.
class RowCollector {
 public:
  explicit RowCollector(const TextFile& file) : file_(file) {}

  // Adds a sequence; a name given twice is an error at line:column.
  std::size_t add(const std::string& name, const std::string& description, unsigned long line, unsigned long column);
  std::optional<std::size_t> find(const std::string& name) const;
  std::size_t size() const { return sequences_.size(); }
  const std::string& name(std::size_t row) const { return sequences_[row].name; }
  // Appends to the row's description, after a blank when there is one.
  void addDescription(std::size_t row, const std::string& text);

  // Appends the characters of text, which starts at column firstColumn of
  // line, to the row, skipping blanks. Letters are upper-cased; '-' and '.'
  // (and '~' when extraGap) become gaps; a '*' is accepted only as the last
  // character of the whole row. Returns the number of characters taken.
  std::size_t append(std::size_t row, std::string_view text, unsigned long line, unsigned long firstColumn,
                     bool extraGap = false);

  std::size_t rowLength(std::size_t row) const { return rows_[row].size(); }
  // Pads the row with gaps up to length columns.
  void padTo(std::size_t row, std::size_t length);
  std::size_t residueCount() const;

  // The alignment, shorter rows padded with gaps; an error when empty.
  std::unique_ptr<Alignment> finish() const;

 private:
  struct Position {
    unsigned long line;
    unsigned long column;
  };
  const TextFile& file_;
  std::vector<SequenceInfo> sequences_;
  std::vector<std::string> rows_;
  std::vector<Position> defined_;
  std::vector<std::optional<Position>> star_;
  std::unordered_map<std::string, std::size_t> index_;
};

// Checks the blocks of an interleaved format: every block lists the same
// names in the same order and its rows carry the same number of columns.
class BlockChecker {
 public:
  // namesFixed: the order comes from a header (MSF) instead of the first
  // block. raggedEnds (with namesFixed): a sequence may end early, with a
  // shorter row in one block and none in the blocks after it.
  BlockChecker(const TextFile& file, RowCollector& rows, bool namesFixed, bool raggedEnds = false)
      : file_(file),
        rows_(rows),
        fixed_(namesFixed),
        ragged_(raggedEnds),
        taken_(rows.size(), 0),
        ended_(rows.size()) {}

  // One sequence line: name at nameColumn, its residues in text starting at
  // textColumn.
  void row(const std::string& name, unsigned long line, unsigned long nameColumn, std::string_view text,
           unsigned long textColumn, bool extraGap = false);
  // A blank line or the end of the data.
  void endBlock();
  bool sawRows() const { return blocks_ > 0 || inBlock_; }

 private:
  void raggedRow(const std::string& name, unsigned long line, unsigned long nameColumn, std::size_t taken);

  const TextFile& file_;
  RowCollector& rows_;
  bool fixed_;
  bool ragged_;
  std::vector<std::size_t> taken_;                   // ragged: columns of each row in this block
  std::vector<std::optional<unsigned long>> ended_;  // ragged: the first line of the block a row ended in
  bool inBlock_ = false;
  unsigned long blocks_ = 0;
  std::size_t position_ = 0;
  std::size_t width_ = 0;
  unsigned long firstLine_ = 0;
};

[[noreturn]] void fail(const TextFile& file, unsigned long line, unsigned long column, const std::string& problem);

// The lines of a file's content, without their line ends ("\r\n" and
// "\r\r\n" as well as "\n"); content with NUL bytes, or with other control
// characters than tab and line ends outside title lines, is refused (fail)
// as binary data. Control characters on title lines are noted in
// titleControl.
TextFile splitLines(const std::string& content, const std::string& displayName);

// Fails like splitLines for the first control character on a title line.
void refuseTitleControls(const TextFile& file);

// Control characters (other than tab and line ends) mean binary data, except
// inside titles, where merged database titles use 0x01 as a separator.
bool isControlByte(unsigned char byte);

// A header's text after its '>' (or after "P1;" in PIR): the name ends at
// the first blank or control character, the description is the rest without
// the blanks around it.
struct Title {
  std::string name;
  unsigned long nameColumn;  // of the name's first character, in the header line
  std::string description;
};
Title splitTitle(std::string_view text, unsigned long firstColumn);

// A PIR header: '>', a two-character sequence type (P1, F1, DL, DC, RL, RC,
// N1, N3, XX), ';'.
bool isPirHeader(std::string_view line);
// A PHYLIP header line: the sequence count and the column count.
bool isPhylipHeader(std::string_view line);
// Text with its control characters as blanks, for formats that take no
// control characters.
std::string withoutControls(std::string_view text);

// A character as an error message shows it: 'c', or 0xNN when unprintable.
std::string describeChar(char c);

// Words of a line with the column (1-based) where each starts.
struct Word {
  std::string_view text;
  unsigned long column;
};
std::vector<Word> splitWords(std::string_view line);
bool isBlank(std::string_view line);

std::unique_ptr<Alignment> readFasta(const TextFile& file);
std::unique_ptr<Alignment> readClustal(const TextFile& file);
std::unique_ptr<Alignment> readMsf(const TextFile& file);
std::unique_ptr<Alignment> readStockholm(const TextFile& file);
std::unique_ptr<Alignment> readPir(const TextFile& file);
std::unique_ptr<Alignment> readA3m(const TextFile& file);
// names: strict 10-character or relaxed names; nullopt decides by content.
enum class PhylipNames { Strict, Relaxed };
std::unique_ptr<Alignment> readPhylip(const TextFile& file, std::optional<PhylipNames> names);
// Whether FASTA-like text is A3M: rows of different lengths holding
// lower-case insertions, with the same number of match columns (upper-case
// letters and '-') in every row.
bool looksLikeA3m(const TextFile& file);
// The secondary-structure entries profile-search programs put before the
// sequences of an A3M file (ss_pred, ss_conf, ss_dssp, sa_dssp): skipped
// there, so a first sequence of such a name does not survive as A3M.
bool isA3mAnnotation(std::string_view name);

void writeFasta(std::ostream& out, const Alignment& alignment);
void writeClustal(std::ostream& out, const Alignment& alignment);
void writeMsf(std::ostream& out, const Alignment& alignment);
// Lines of column marks follow the rows as "#=GC" lines.
void writeStockholm(std::ostream& out, const Alignment& alignment, const std::vector<ColumnMarks>& columnMarks = {});
void writePhylip(std::ostream& out, const Alignment& alignment);
// query: the row whose residues make the match columns; it is written first.
void writeA3m(std::ostream& out, const Alignment& alignment, unsigned long query);

// The Clustal conservation mark of one column given as its characters, one
// per sequence: '*' one residue throughout, ':' all residues in one of the
// strong groups, '.' in one of the weak groups, ' ' otherwise (and for any
// column with a gap).
char conservationMark(std::string_view column);

// The GCG checksum of one row as written.
int gcgChecksum(std::string_view row);

}  // namespace KARVO::formats
