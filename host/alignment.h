// The host's multiple alignment: a list of columns, each with one residue
// pointer per sequence (null for a gap), the sequences' names and
// descriptions, and the selected column range.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace KARVO {

// One residue of a sequence. Residues keep their identity (their address)
// when the alignment is rearranged, so whatever a host attaches to a residue
// stays with it. A residue is one byte: an alignment of hundreds of
// sequences holds hundreds of thousands of them.
class Residue {
 public:
  explicit Residue(char code) : code_(code) {}
  // The one-letter code, as read from the file.
  char code() const { return code_; }

 private:
  char code_;
};

struct SequenceInfo {
  std::string name;         // the identifier
  std::string description;  // the rest of a FASTA header, kept for writing back
};

using ColumnRange = std::pair<unsigned long, unsigned long>;  // half-open [first, second)

class Alignment {
 public:
  Alignment() = default;
  Alignment(const Alignment&) = delete;
  Alignment& operator=(const Alignment&) = delete;

  // Builds an alignment from one text row per sequence ('-' or '.' a gap,
  // anything else a residue); rows shorter than the longest are padded with
  // gaps. Throws std::invalid_argument when the counts differ.
  static std::unique_ptr<Alignment> fromRows(const std::vector<SequenceInfo>& sequences,
                                             const std::vector<std::string>& rows);

  // A deep copy (new residue objects with the same codes), for undo.
  std::unique_ptr<Alignment> clone() const;

  unsigned long sequenceCount() const { return static_cast<unsigned long>(sequences_.size()); }
  unsigned long columnCount() const { return static_cast<unsigned long>(columns.size()); }

  // Residue at (row, column), null for a gap. Throws std::out_of_range
  // outside the alignment.
  Residue* getItem(unsigned long row, unsigned long column) const;
  std::string GetSeqName(unsigned long row) const;
  const SequenceInfo& sequence(unsigned long row) const { return sequences_[row]; }

  // The operations below throw std::invalid_argument, changing nothing, for
  // a row or a range outside the alignment. Columns outside the range keep
  // their pointers. The selection follows the columns it covers when
  // columns are added or removed.

  // The row's residues inside range move, in order, to its start; the rest
  // of the range becomes gaps.
  void packRow(unsigned long row, const ColumnRange& range);

  // Replaces the range of every sequence by its string: the range becomes as
  // wide as the strings; a letter stands for the sequence's next residue in
  // the range (the same Residue object moves there), '-' for a gap. Throws
  // std::invalid_argument naming the row, leaving the alignment as it was,
  // when the strings do not fit: a count other than the sequence count,
  // unequal lengths, or letters that differ from the row's residue codes in
  // the range or from their number.
  void rearrange(const ColumnRange& range, const std::vector<std::string>& rows);

  // Removes every column inside range that is a gap in all sequences.
  void stripGapCols(const ColumnRange& range);

  // The row as text: residue codes and '-' for gaps.
  std::string rowText(unsigned long row) const;

  // Row operations of an editor. They throw std::invalid_argument, changing
  // nothing, for a row outside the alignment or a text that does not fit;
  // the residues of the rows that stay keep their identity.
  void renameSequence(unsigned long row, const std::string& name);
  // Removes the rows [first, last); the columns keep their count.
  void removeSequences(unsigned long first, unsigned long last);
  // Inserts a sequence before row from its text ('-' or '.' a gap), which
  // must be as wide as the alignment.
  void insertSequence(unsigned long row, const SequenceInfo& info, const std::string& text);
  // Reorders the rows: the new row i is the old row order[i]; order must be
  // a permutation of the rows.
  void permuteRows(const std::vector<unsigned long>& order);

  // Each column holds one pointer per sequence. The entry count of the first
  // column is the number of sequences as the plug-in counts them.
  std::vector<std::vector<Residue*>> columns;
  ColumnRange selection{0, 0};

 private:
  std::vector<SequenceInfo> sequences_;
  // Owned per row, in sequence order; sized once, so the addresses hold.
  std::vector<std::vector<Residue>> residues_;
};

}  // namespace KARVO
