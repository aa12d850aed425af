#include "host/alignment.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace KARVO {

namespace {

bool isGapChar(char c) { return c == '-' || c == '.'; }

std::string rangeText(const ColumnRange& range) {
  return "[" + std::to_string(range.first) + ", " + std::to_string(range.second) + ")";
}

// Where a column boundary lands after the columns [first, second) were
// replaced by newWidth columns: boundaries inside the old range are kept
// inside the new one.
unsigned long boundaryAfterReplace(unsigned long boundary, const ColumnRange& range, unsigned long newWidth) {
  if (boundary <= range.first) return boundary;
  if (boundary >= range.second) return boundary - (range.second - range.first) + newWidth;
  return std::min(boundary, range.first + newWidth);
}

}  // namespace

std::unique_ptr<Alignment> Alignment::fromRows(const std::vector<SequenceInfo>& sequences,
                                               const std::vector<std::string>& rows) {
  if (sequences.size() != rows.size()) {
    throw std::invalid_argument("fromRows: " + std::to_string(rows.size()) + " rows for " +
                                std::to_string(sequences.size()) + " sequences");
  }
  std::size_t width = 0;
  for (const std::string& row : rows) width = std::max(width, row.size());

  auto alignment = std::make_unique<Alignment>();
  alignment->sequences_ = sequences;
  alignment->residues_.resize(rows.size());
  alignment->columns.assign(width, std::vector<Residue*>(rows.size(), nullptr));
  for (std::size_t r = 0; r < rows.size(); ++r) {
    std::vector<Residue>& owned = alignment->residues_[r];
    owned.reserve(
        static_cast<std::size_t>(std::count_if(rows[r].begin(), rows[r].end(), [](char c) { return !isGapChar(c); })));
    for (std::size_t c = 0; c < rows[r].size(); ++c) {
      if (isGapChar(rows[r][c])) continue;
      alignment->columns[c][r] = &owned.emplace_back(rows[r][c]);
    }
  }
  return alignment;
}

std::unique_ptr<Alignment> Alignment::clone() const {
  auto copy = std::make_unique<Alignment>();
  copy->sequences_ = sequences_;
  copy->selection = selection;
  copy->columns.assign(columns.size(), std::vector<Residue*>(sequences_.size(), nullptr));
  copy->residues_.resize(sequences_.size());
  for (std::size_t r = 0; r < sequences_.size(); ++r) {
    std::vector<Residue>& owned = copy->residues_[r];
    owned.reserve(residues_[r].size());
    for (std::size_t c = 0; c < columns.size(); ++c) {
      const Residue* original = columns[c][r];
      if (original != nullptr) copy->columns[c][r] = &owned.emplace_back(original->code());
    }
  }
  return copy;
}

Residue* Alignment::getItem(unsigned long row, unsigned long column) const { return columns.at(column).at(row); }

std::string Alignment::GetSeqName(unsigned long row) const { return sequences_.at(row).name; }

void Alignment::packRow(unsigned long row, const ColumnRange& range) {
  if (row >= sequenceCount()) {
    throw std::invalid_argument("packRow: row " + std::to_string(row) + " of " + std::to_string(sequenceCount()) +
                                " sequences");
  }
  if (range.first > range.second || range.second > columnCount()) {
    throw std::invalid_argument("packRow: range " + rangeText(range) + " outside the alignment's " +
                                std::to_string(columnCount()) + " columns");
  }
  unsigned long target = range.first;
  for (unsigned long c = range.first; c < range.second; ++c) {
    Residue* residue = columns[c][row];
    columns[c][row] = nullptr;
    if (residue != nullptr) columns[target++][row] = residue;
  }
}

void Alignment::rearrange(const ColumnRange& range, const std::vector<std::string>& rows) {
  if (range.first > range.second || range.second > columnCount()) {
    throw std::invalid_argument("rearrange: range " + rangeText(range) + " outside the alignment's " +
                                std::to_string(columnCount()) + " columns");
  }
  const unsigned long count = sequenceCount();
  if (rows.size() != count) {
    throw std::invalid_argument("rearrange: " + std::to_string(rows.size()) + " strings for " + std::to_string(count) +
                                " sequences");
  }
  const unsigned long newWidth = count == 0 ? 0 : static_cast<unsigned long>(rows[0].size());
  auto rowLabel = [this](unsigned long r) { return "row " + std::to_string(r) + " (" + sequences_[r].name + ")"; };

  // Everything is checked before anything moves, so a refused call leaves
  // the alignment exactly as it was.
  std::vector<std::vector<Residue*>> newColumns(newWidth, std::vector<Residue*>(count, nullptr));
  for (unsigned long r = 0; r < count; ++r) {
    const std::string& text = rows[r];
    if (text.size() != newWidth) {
      throw std::invalid_argument("rearrange: " + rowLabel(r) + ": string of length " + std::to_string(text.size()) +
                                  ", row 0 has length " + std::to_string(newWidth));
    }
    std::vector<Residue*> inRange;
    for (unsigned long c = range.first; c < range.second; ++c) {
      if (columns[c][r] != nullptr) inRange.push_back(columns[c][r]);
    }
    std::size_t next = 0;
    for (unsigned long pos = 0; pos < newWidth; ++pos) {
      const char letter = text[pos];
      if (letter == '-') continue;
      if (next == inRange.size()) {
        throw std::invalid_argument("rearrange: " + rowLabel(r) + ": letter '" + std::string(1, letter) +
                                    "' at position " + std::to_string(pos) + " but the range holds only " +
                                    std::to_string(inRange.size()) + " residues");
      }
      const char code = inRange[next]->code();
      if (code != letter) {
        throw std::invalid_argument("rearrange: " + rowLabel(r) + ": letter '" + std::string(1, letter) +
                                    "' at position " + std::to_string(pos) + " where the next residue is '" +
                                    std::string(1, code) + "'");
      }
      newColumns[pos][r] = inRange[next++];
    }
    if (next != inRange.size()) {
      throw std::invalid_argument("rearrange: " + rowLabel(r) + ": string has " + std::to_string(next) +
                                  " letters but the range holds " + std::to_string(inRange.size()) + " residues");
    }
  }

  columns.erase(columns.begin() + static_cast<std::ptrdiff_t>(range.first),
                columns.begin() + static_cast<std::ptrdiff_t>(range.second));
  columns.insert(columns.begin() + static_cast<std::ptrdiff_t>(range.first),
                 std::make_move_iterator(newColumns.begin()), std::make_move_iterator(newColumns.end()));
  selection = {boundaryAfterReplace(selection.first, range, newWidth),
               boundaryAfterReplace(selection.second, range, newWidth)};
}

void Alignment::stripGapCols(const ColumnRange& range) {
  if (range.first > range.second || range.second > columnCount()) {
    throw std::invalid_argument("stripGapCols: range " + rangeText(range) + " outside the alignment's " +
                                std::to_string(columnCount()) + " columns");
  }
  std::vector<bool> removed(columns.size(), false);
  for (unsigned long c = range.first; c < range.second; ++c) {
    bool allGaps = true;
    for (const Residue* residue : columns[c]) allGaps = allGaps && residue == nullptr;
    removed[c] = allGaps;
  }
  // A selection boundary moves left by the removed columns before it.
  auto shifted = [&removed](unsigned long boundary) {
    unsigned long before = 0;
    for (unsigned long c = 0; c < boundary && c < removed.size(); ++c) before += removed[c] ? 1UL : 0UL;
    return boundary - before;
  };
  selection = {shifted(selection.first), shifted(selection.second)};

  std::size_t kept = 0;
  for (std::size_t c = 0; c < columns.size(); ++c) {
    if (removed[c]) continue;
    if (kept != c) columns[kept] = std::move(columns[c]);
    ++kept;
  }
  columns.resize(kept);
}

std::string Alignment::rowText(unsigned long row) const {
  if (row >= sequenceCount()) {
    throw std::invalid_argument("rowText: row " + std::to_string(row) + " of " + std::to_string(sequenceCount()) +
                                " sequences");
  }
  std::string text;
  text.reserve(columns.size());
  for (const std::vector<Residue*>& column : columns) text += column[row] == nullptr ? '-' : column[row]->code();
  return text;
}

void Alignment::renameSequence(unsigned long row, const std::string& name) {
  if (row >= sequenceCount()) {
    throw std::invalid_argument("renameSequence: row " + std::to_string(row) + " of " +
                                std::to_string(sequenceCount()) + " sequences");
  }
  sequences_[row].name = name;
}

void Alignment::removeSequences(unsigned long first, unsigned long last) {
  if (first > last || last > sequenceCount()) {
    throw std::invalid_argument("removeSequences: rows " + rangeText({first, last}) + " of " +
                                std::to_string(sequenceCount()) + " sequences");
  }
  const auto from = static_cast<std::ptrdiff_t>(first);
  const auto to = static_cast<std::ptrdiff_t>(last);
  for (std::vector<Residue*>& column : columns) column.erase(column.begin() + from, column.begin() + to);
  sequences_.erase(sequences_.begin() + from, sequences_.begin() + to);
  residues_.erase(residues_.begin() + from, residues_.begin() + to);
}

void Alignment::insertSequence(unsigned long row, const SequenceInfo& info, const std::string& text) {
  if (row > sequenceCount()) {
    throw std::invalid_argument("insertSequence: row " + std::to_string(row) + " of " +
                                std::to_string(sequenceCount()) + " sequences");
  }
  if (text.size() != columnCount()) {
    throw std::invalid_argument("insertSequence: " + info.name + ": " + std::to_string(text.size()) +
                                " characters for " + std::to_string(columnCount()) + " columns");
  }
  std::vector<Residue> owned;
  owned.reserve(
      static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return !isGapChar(c); })));
  const auto at = static_cast<std::ptrdiff_t>(row);
  for (std::size_t c = 0; c < text.size(); ++c) {
    Residue* residue = isGapChar(text[c]) ? nullptr : &owned.emplace_back(text[c]);
    columns[c].insert(columns[c].begin() + at, residue);
  }
  // Moving the vector keeps its buffer, so the pointers above stay valid.
  residues_.insert(residues_.begin() + at, std::move(owned));
  sequences_.insert(sequences_.begin() + at, info);
}

void Alignment::permuteRows(const std::vector<unsigned long>& order) {
  const unsigned long count = sequenceCount();
  std::vector<bool> seen(count, false);
  bool valid = order.size() == count;
  for (unsigned long i = 0; valid && i < count; ++i) {
    valid = order[i] < count && !seen[order[i]];
    if (valid) seen[order[i]] = true;
  }
  if (!valid) throw std::invalid_argument("permuteRows: not a permutation of " + std::to_string(count) + " rows");
  std::vector<Residue*> reordered(count);
  for (std::vector<Residue*>& column : columns) {
    for (unsigned long i = 0; i < count; ++i) reordered[i] = column[order[i]];
    column.swap(reordered);
  }
  std::vector<SequenceInfo> infos(count);
  std::vector<std::vector<Residue>> owned(count);
  for (unsigned long i = 0; i < count; ++i) {
    infos[i] = std::move(sequences_[order[i]]);
    owned[i] = std::move(residues_[order[i]]);
  }
  sequences_ = std::move(infos);
  residues_ = std::move(owned);
}

}  // namespace KARVO
