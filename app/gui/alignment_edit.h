// Manual edits of an alignment, as values: each edit applied returns the
// edit that undoes it, so that an undo stack is a list of values. Edits only
// move residues along their row (or move, rename, remove and put back whole
// rows): no residue is ever changed, and none is lost while the undo edits
// are kept. No widgets here.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "host/alignment.h"

namespace karvo_gui {

using RowRange = std::pair<unsigned long, unsigned long>;  // half-open [first, second)

// count gaps inserted at column in each row; the row's cells from column on
// move right, and the alignment widens when a residue would fall off.
struct InsertGaps {
  RowRange rows;
  unsigned long column = 0;
  unsigned long count = 1;
};
// The gaps inside columns removed from each row; the rest of the row moves
// left and gaps fill its end. The width stays.
struct DeleteGaps {
  RowRange rows;
  KARVO::ColumnRange columns;
};
// The block rows x columns moves offset columns (negative: left) over gaps
// next to it in every row.
struct SlideBlock {
  RowRange rows;
  KARVO::ColumnRange columns;
  long offset = 0;
};
// The rows' cells from column on set to texts (the same residues in the
// same order, '-' for gaps); the alignment becomes column + text width wide.
struct RestoreRows {
  RowRange rows;
  unsigned long column = 0;
  std::vector<std::string> texts;
};
struct RenameSequence {
  unsigned long row = 0;
  std::string name;
};
struct RemoveSequences {
  RowRange rows;
};
struct InsertSequences {
  unsigned long row = 0;
  std::vector<KARVO::SequenceInfo> infos;
  std::vector<std::string> texts;
};
// The new row i is the old row order[i].
struct PermuteRows {
  std::vector<unsigned long> order;
};

using Edit = std::variant<InsertGaps, DeleteGaps, SlideBlock, RestoreRows, RenameSequence, RemoveSequences,
                          InsertSequences, PermuteRows>;

// An edit that cannot be made here; what() says why in one line.
class EditRefused : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

// Applies edit and returns the edit that undoes it. Throws EditRefused, the
// alignment unchanged, when the edit does not fit: rows or columns outside
// the alignment, no gap to delete or to slide over, an empty name or one
// with spaces, removing every sequence.
Edit applyEdit(KARVO::Alignment& alignment, const Edit& edit);

// What an edit does, for the Undo menu: "Insert Gaps", "Sort Rows", ...
std::string editName(const Edit& edit);

// Row orders. Each is a PermuteRows for applyEdit.
// By name (byte order, stable).
PermuteRows sortByName(const KARVO::Alignment& alignment);
// Most identical to row first (row itself leads), stable among equals.
PermuteRows sortByIdentity(const KARVO::Alignment& alignment, unsigned long row);
// In the order of names (a tree's leaves); rows not named keep their order
// after the named ones. Names that match no row are ignored.
PermuteRows orderByNames(const KARVO::Alignment& alignment, const std::vector<std::string>& names);
// rows moved by offset places (clamped to the alignment).
PermuteRows moveRows(unsigned long rowCount, const RowRange& rows, long offset);

// Identical residues over the columns where both rows have one, in percent;
// 0 when they share no column.
double percentIdentity(const std::vector<std::string>& rows, unsigned long a, unsigned long b);

// A motif found in a row's residues: the columns of its first and last
// residue (inclusive).
struct MotifMatch {
  unsigned long row = 0;
  unsigned long firstColumn = 0;
  unsigned long lastColumn = 0;
};

// Checks a motif: letters only, X standing for any residue. Returns an empty
// string when it is fine, else why not.
std::string motifProblem(const std::string& motif);

// Every occurrence (overlapping ones too) of motif in the rows' ungapped
// residues, case-insensitive, by row then column. The motif must pass
// motifProblem.
std::vector<MotifMatch> findMotif(const std::vector<std::string>& rows, const std::string& motif);

}  // namespace karvo_gui
