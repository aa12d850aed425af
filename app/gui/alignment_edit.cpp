#include "app/gui/alignment_edit.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace karvo_gui {

namespace {

using KARVO::Alignment;
using KARVO::ColumnRange;
using KARVO::Residue;

std::string span(unsigned long first, unsigned long last) {
  return std::to_string(first + 1) + "\u2013" + std::to_string(last);
}

void checkRows(const Alignment& alignment, const RowRange& rows) {
  if (rows.first >= rows.second || rows.second > alignment.sequenceCount()) {
    throw EditRefused("rows " + span(rows.first, rows.second) + " are not within the " +
                      std::to_string(alignment.sequenceCount()) + " sequences");
  }
}

void checkColumns(const Alignment& alignment, const ColumnRange& columns) {
  if (columns.first >= columns.second || columns.second > alignment.columnCount()) {
    throw EditRefused("columns " + span(columns.first, columns.second) + " are not within the " +
                      std::to_string(alignment.columnCount()) + " columns");
  }
}

void resizeColumns(Alignment& alignment, unsigned long width) {
  alignment.columns.resize(width, std::vector<Residue*>(alignment.sequenceCount(), nullptr));
  alignment.selection = {std::min(alignment.selection.first, width), std::min(alignment.selection.second, width)};
}

// The undo edit of anything that only moves cells of rows from column on.
RestoreRows snapshot(const Alignment& alignment, const RowRange& rows, unsigned long column) {
  RestoreRows restore{rows, column, {}};
  for (unsigned long r = rows.first; r < rows.second; ++r) restore.texts.push_back(alignment.rowText(r).substr(column));
  return restore;
}

Edit apply(Alignment& alignment, const InsertGaps& edit) {
  checkRows(alignment, edit.rows);
  const unsigned long width = alignment.columnCount();
  if (edit.column > width || edit.count == 0) {
    throw EditRefused("no gap can be inserted at column " + std::to_string(edit.column + 1));
  }
  RestoreRows undo = snapshot(alignment, edit.rows, edit.column);
  unsigned long needed = width;
  for (unsigned long r = edit.rows.first; r < edit.rows.second; ++r) {
    for (unsigned long c = width; c > edit.column; --c) {
      if (alignment.columns[c - 1][r] != nullptr) {
        needed = std::max(needed, c + edit.count);
        break;
      }
    }
  }
  resizeColumns(alignment, needed);
  for (unsigned long r = edit.rows.first; r < edit.rows.second; ++r) {
    for (unsigned long c = width; c > edit.column; --c) {
      Residue*& cell = alignment.columns[c - 1][r];
      if (cell != nullptr) alignment.columns[c - 1 + edit.count][r] = cell;
      cell = nullptr;
    }
  }
  return undo;
}

Edit apply(Alignment& alignment, const DeleteGaps& edit) {
  checkRows(alignment, edit.rows);
  checkColumns(alignment, edit.columns);
  bool anyGap = false;
  for (unsigned long r = edit.rows.first; r < edit.rows.second && !anyGap; ++r) {
    for (unsigned long c = edit.columns.first; c < edit.columns.second && !anyGap; ++c) {
      anyGap = alignment.columns[c][r] == nullptr;
    }
  }
  if (!anyGap) throw EditRefused("there is no gap in the selected cells");
  RestoreRows undo = snapshot(alignment, edit.rows, edit.columns.first);
  const unsigned long width = alignment.columnCount();
  for (unsigned long r = edit.rows.first; r < edit.rows.second; ++r) {
    unsigned long target = edit.columns.first;
    for (unsigned long c = edit.columns.first; c < width; ++c) {
      Residue* cell = alignment.columns[c][r];
      alignment.columns[c][r] = nullptr;
      if (cell != nullptr || c >= edit.columns.second) alignment.columns[target++][r] = cell;
    }
  }
  return undo;
}

Edit apply(Alignment& alignment, const SlideBlock& edit) {
  checkRows(alignment, edit.rows);
  checkColumns(alignment, edit.columns);
  const unsigned long distance = static_cast<unsigned long>(edit.offset < 0 ? -edit.offset : edit.offset);
  if (distance == 0) throw EditRefused("the block is not moved");
  const bool right = edit.offset > 0;
  // The columns the block moves over must be gaps in every row.
  ColumnRange over;
  if (right) {
    if (edit.columns.second + distance > alignment.columnCount()) throw EditRefused("the block is at the right end");
    over = {edit.columns.second, edit.columns.second + distance};
  } else {
    if (edit.columns.first < distance) throw EditRefused("the block is at the left end");
    over = {edit.columns.first - distance, edit.columns.first};
  }
  for (unsigned long r = edit.rows.first; r < edit.rows.second; ++r) {
    for (unsigned long c = over.first; c < over.second; ++c) {
      if (alignment.columns[c][r] != nullptr) {
        throw EditRefused("a residue of " + alignment.GetSeqName(r) + " is in the way at column " +
                          std::to_string(c + 1));
      }
    }
  }
  const unsigned long width = edit.columns.second - edit.columns.first;
  for (unsigned long r = edit.rows.first; r < edit.rows.second; ++r) {
    std::vector<Residue*> block(width);
    for (unsigned long i = 0; i < width; ++i) {
      block[i] = alignment.columns[edit.columns.first + i][r];
      alignment.columns[edit.columns.first + i][r] = nullptr;
    }
    const unsigned long start = right ? edit.columns.first + distance : edit.columns.first - distance;
    for (unsigned long i = 0; i < width; ++i) alignment.columns[start + i][r] = block[i];
  }
  const unsigned long start = right ? edit.columns.first + distance : edit.columns.first - distance;
  return SlideBlock{edit.rows, {start, start + width}, -edit.offset};
}

Edit apply(Alignment& alignment, const RestoreRows& edit) {
  checkRows(alignment, edit.rows);
  const unsigned long count = edit.rows.second - edit.rows.first;
  const unsigned long width = alignment.columnCount();
  if (edit.texts.size() != count || edit.column > width) throw EditRefused("the rows to restore do not fit");
  const unsigned long newWidth = edit.column + (count == 0 ? 0 : edit.texts.front().size());
  // Checked in full before anything moves.
  std::vector<std::vector<Residue*>> residues(count);
  for (unsigned long i = 0; i < count; ++i) {
    const unsigned long r = edit.rows.first + i;
    const std::string& text = edit.texts[i];
    for (unsigned long c = edit.column; c < width; ++c) {
      if (alignment.columns[c][r] != nullptr) residues[i].push_back(alignment.columns[c][r]);
    }
    std::size_t next = 0;
    bool fits = edit.column + text.size() == newWidth;
    for (std::size_t p = 0; fits && p < text.size(); ++p) {
      if (text[p] == '-') continue;
      fits = next < residues[i].size() && residues[i][next++]->code() == text[p];
    }
    if (!fits || next != residues[i].size()) {
      throw EditRefused("the text to restore for " + alignment.GetSeqName(r) + " does not hold its residues");
    }
  }
  for (unsigned long c = newWidth; c < width; ++c) {
    for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) {
      const bool restored = r >= edit.rows.first && r < edit.rows.second;
      if (!restored && alignment.columns[c][r] != nullptr) throw EditRefused("the alignment cannot become narrower");
    }
  }
  RestoreRows undo = snapshot(alignment, edit.rows, edit.column);
  if (newWidth > width) resizeColumns(alignment, newWidth);
  for (unsigned long i = 0; i < count; ++i) {
    const unsigned long r = edit.rows.first + i;
    std::size_t next = 0;
    for (unsigned long p = 0; p < newWidth - edit.column; ++p) {
      alignment.columns[edit.column + p][r] = edit.texts[i][p] == '-' ? nullptr : residues[i][next++];
    }
  }
  if (newWidth < width) resizeColumns(alignment, newWidth);
  return undo;
}

Edit apply(Alignment& alignment, const RenameSequence& edit) {
  checkRows(alignment, {edit.row, edit.row + 1});
  const bool blank = std::any_of(edit.name.begin(), edit.name.end(),
                                 [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; });
  if (edit.name.empty() || blank) throw EditRefused("a sequence name is one word without spaces");
  RenameSequence undo{edit.row, alignment.GetSeqName(edit.row)};
  alignment.renameSequence(edit.row, edit.name);
  return undo;
}

Edit apply(Alignment& alignment, const RemoveSequences& edit) {
  checkRows(alignment, edit.rows);
  if (edit.rows.second - edit.rows.first == alignment.sequenceCount()) {
    throw EditRefused("at least one sequence has to stay");
  }
  InsertSequences undo{edit.rows.first, {}, {}};
  for (unsigned long r = edit.rows.first; r < edit.rows.second; ++r) {
    undo.infos.push_back(alignment.sequence(r));
    undo.texts.push_back(alignment.rowText(r));
  }
  alignment.removeSequences(edit.rows.first, edit.rows.second);
  return undo;
}

Edit apply(Alignment& alignment, const InsertSequences& edit) {
  if (edit.row > alignment.sequenceCount() || edit.infos.size() != edit.texts.size() || edit.infos.empty()) {
    throw EditRefused("the sequences to insert do not fit");
  }
  for (const std::string& text : edit.texts) {
    if (text.size() != alignment.columnCount()) throw EditRefused("the sequences to insert do not fit");
  }
  for (std::size_t i = 0; i < edit.infos.size(); ++i) {
    alignment.insertSequence(edit.row + i, edit.infos[i], edit.texts[i]);
  }
  return RemoveSequences{{edit.row, edit.row + edit.infos.size()}};
}

Edit apply(Alignment& alignment, const PermuteRows& edit) {
  try {
    alignment.permuteRows(edit.order);
  } catch (const std::invalid_argument& error) {
    throw EditRefused(error.what());
  }
  PermuteRows undo{std::vector<unsigned long>(edit.order.size())};
  for (unsigned long i = 0; i < edit.order.size(); ++i) undo.order[edit.order[i]] = i;
  return undo;
}

std::vector<unsigned long> identityOrder(unsigned long count) {
  std::vector<unsigned long> order(count);
  std::iota(order.begin(), order.end(), 0UL);
  return order;
}

std::vector<std::string> rowsOf(const Alignment& alignment) {
  std::vector<std::string> rows;
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) rows.push_back(alignment.rowText(r));
  return rows;
}

char upper(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }

}  // namespace

Edit applyEdit(Alignment& alignment, const Edit& edit) {
  return std::visit([&alignment](const auto& e) { return apply(alignment, e); }, edit);
}

std::string editName(const Edit& edit) {
  struct Namer {
    std::string operator()(const InsertGaps&) const { return "Insert Gaps"; }
    std::string operator()(const DeleteGaps&) const { return "Delete Gaps"; }
    std::string operator()(const SlideBlock&) const { return "Slide Block"; }
    std::string operator()(const RestoreRows&) const { return "Restore Rows"; }
    std::string operator()(const RenameSequence&) const { return "Rename Sequence"; }
    std::string operator()(const RemoveSequences&) const { return "Delete Sequences"; }
    std::string operator()(const InsertSequences&) const { return "Insert Sequences"; }
    std::string operator()(const PermuteRows&) const { return "Reorder Rows"; }
  };
  return std::visit(Namer{}, edit);
}

PermuteRows sortByName(const Alignment& alignment) {
  std::vector<unsigned long> order = identityOrder(alignment.sequenceCount());
  std::stable_sort(order.begin(), order.end(), [&alignment](unsigned long a, unsigned long b) {
    return alignment.sequence(a).name < alignment.sequence(b).name;
  });
  return {order};
}

PermuteRows sortByIdentity(const Alignment& alignment, unsigned long row) {
  checkRows(alignment, {row, row + 1});
  const std::vector<std::string> rows = rowsOf(alignment);
  std::vector<double> identity(rows.size());
  for (unsigned long r = 0; r < rows.size(); ++r) identity[r] = r == row ? 101.0 : percentIdentity(rows, row, r);
  std::vector<unsigned long> order = identityOrder(alignment.sequenceCount());
  std::stable_sort(order.begin(), order.end(),
                   [&identity](unsigned long a, unsigned long b) { return identity[a] > identity[b]; });
  return {order};
}

PermuteRows orderByNames(const Alignment& alignment, const std::vector<std::string>& names) {
  std::vector<unsigned long> order;
  std::vector<bool> placed(alignment.sequenceCount(), false);
  for (const std::string& name : names) {
    for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) {
      if (!placed[r] && alignment.sequence(r).name == name) {
        placed[r] = true;
        order.push_back(r);
        break;
      }
    }
  }
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) {
    if (!placed[r]) order.push_back(r);
  }
  return {order};
}

PermuteRows moveRows(unsigned long rowCount, const RowRange& rows, long offset) {
  std::vector<unsigned long> order = identityOrder(rowCount);
  if (rows.first >= rows.second || rows.second > rowCount) return {order};
  const long lowest = -static_cast<long>(rows.first);
  const long highest = static_cast<long>(rowCount - rows.second);
  const long shift = std::clamp(offset, lowest, highest);
  const auto first = order.begin() + static_cast<std::ptrdiff_t>(rows.first);
  const auto last = order.begin() + static_cast<std::ptrdiff_t>(rows.second);
  if (shift < 0) std::rotate(first + shift, first, last);
  if (shift > 0) std::rotate(first, last, last + shift);
  return {order};
}

double percentIdentity(const std::vector<std::string>& rows, unsigned long a, unsigned long b) {
  const std::string& x = rows[a];
  const std::string& y = rows[b];
  unsigned long shared = 0;
  unsigned long same = 0;
  for (std::size_t c = 0; c < std::min(x.size(), y.size()); ++c) {
    if (x[c] == '-' || y[c] == '-') continue;
    ++shared;
    if (upper(x[c]) == upper(y[c])) ++same;
  }
  return shared == 0 ? 0.0 : 100.0 * static_cast<double>(same) / static_cast<double>(shared);
}

std::string motifProblem(const std::string& motif) {
  if (motif.empty()) return "type the residues to find";
  for (char c : motif) {
    if (std::isalpha(static_cast<unsigned char>(c)) == 0) {
      return std::string("'") + c + "' is not a residue letter (letters only, X for any residue)";
    }
  }
  return {};
}

std::vector<MotifMatch> findMotif(const std::vector<std::string>& rows, const std::string& motif) {
  std::vector<MotifMatch> matches;
  if (!motifProblem(motif).empty()) return matches;
  std::string wanted;
  for (char c : motif) wanted += upper(c);
  for (unsigned long r = 0; r < rows.size(); ++r) {
    std::string residues;
    std::vector<unsigned long> columns;
    for (unsigned long c = 0; c < rows[r].size(); ++c) {
      if (rows[r][c] == '-') continue;
      residues += upper(rows[r][c]);
      columns.push_back(c);
    }
    for (std::size_t start = 0; start + wanted.size() <= residues.size(); ++start) {
      bool found = true;
      for (std::size_t i = 0; found && i < wanted.size(); ++i) {
        found = wanted[i] == 'X' || wanted[i] == residues[start + i];
      }
      if (found) matches.push_back({r, columns[start], columns[start + wanted.size() - 1]});
    }
  }
  return matches;
}

}  // namespace karvo_gui
