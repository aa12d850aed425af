// The host exchange under fuzzing: packRow, rearrange and stripGapCols on
// random alignments with random ranges and strings, and the plug-in's side
// of the exchange (rows sent, run inputs, result rows). Every operation must
// keep each row's residues (the same objects, in the same order) and do
// exactly what a plain model of the rows says; a refused rearrange must leave
// the alignment as it was.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "byte_reader.h"
#include "host/alignment.h"
#include "plugin/zemtra_exchange.h"

namespace {

using KARVO::Alignment;
using KARVO::ColumnRange;
using KARVO::Residue;

[[noreturn]] void defect(const std::string& what) {
  std::fprintf(stderr, "exchange defect: %s\n", what.c_str());
  std::abort();
}

struct Snapshot {
  std::vector<std::string> rows;
  std::vector<std::vector<const Residue*>> residues;  // per row, in column order
  ColumnRange selection;
};

Snapshot snapshot(const Alignment& alignment) {
  Snapshot s;
  s.selection = alignment.selection;
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) {
    s.rows.push_back(alignment.rowText(r));
    std::vector<const Residue*> list;
    for (const auto& column : alignment.columns) {
      if (column.size() != alignment.sequenceCount()) defect("column with another row count");
      if (column[r] != nullptr) list.push_back(column[r]);
    }
    s.residues.push_back(std::move(list));
  }
  return s;
}

void expectRows(const Alignment& alignment, const std::vector<std::string>& rows, const char* after) {
  const Snapshot now = snapshot(alignment);
  if (now.rows != rows) defect(std::string("rows differ from the model after ") + after);
  if (now.selection.first > now.selection.second || now.selection.second > alignment.columnCount()) {
    defect(std::string("selection outside the alignment after ") + after);
  }
}

void expectSameResidues(const Snapshot& before, const Alignment& alignment, const char* after) {
  if (snapshot(alignment).residues != before.residues) defect(std::string("residues lost or reordered by ") + after);
}

std::string gapless(const std::string& row) {
  std::string out;
  for (const char c : row)
    if (c != '-') out += c;
  return out;
}

ColumnRange pickRange(ByteReader& in, unsigned long columns) {
  const unsigned long first = in.pick(static_cast<unsigned>(columns + 1));
  const unsigned long second = first + in.pick(static_cast<unsigned>(columns - first + 1));
  return {first, second};
}

std::unique_ptr<Alignment> makeAlignment(ByteReader& in) {
  const unsigned count = 1 + in.pick(8);
  const unsigned width = in.pick(33);
  std::vector<KARVO::SequenceInfo> infos;
  std::vector<std::string> rows;
  for (unsigned r = 0; r < count; ++r) {
    infos.push_back({"seq" + std::string(r, 'x'), ""});
    std::string row;
    for (unsigned c = 0; c < width; ++c) {
      const std::uint8_t b = in.byte();
      row += (b & 1) ? '-' : static_cast<char>('A' + (b >> 1) % 26);
    }
    rows.push_back(row);
  }
  auto alignment = Alignment::fromRows(infos, rows);
  alignment->selection = pickRange(in, alignment->columnCount());
  return alignment;
}

void packRow(Alignment& alignment, ByteReader& in) {
  if (alignment.sequenceCount() == 0) return;
  const unsigned long row = in.pick(static_cast<unsigned>(alignment.sequenceCount()));
  const ColumnRange range = pickRange(in, alignment.columnCount());
  Snapshot before = snapshot(alignment);
  std::string& text = before.rows[row];
  const std::string inRange = gapless(text.substr(range.first, range.second - range.first));
  text.replace(range.first, range.second - range.first,
               inRange + std::string(range.second - range.first - inRange.size(), '-'));
  alignment.packRow(row, range);
  expectRows(alignment, before.rows, "packRow");
  expectSameResidues(before, alignment, "packRow");
}

// Strings for rearrange: mostly a valid re-gapping of each row's residues in
// the range, sometimes spoilt by one changed character or length.
std::vector<std::string> rearrangeStrings(const Alignment& alignment, const ColumnRange& range, ByteReader& in) {
  const unsigned long count = alignment.sequenceCount();
  std::vector<std::string> pieces;
  std::size_t longest = 0;
  for (unsigned long r = 0; r < count; ++r) {
    const std::string text = alignment.rowText(r).substr(range.first, range.second - range.first);
    std::string piece;
    for (const char c : gapless(text)) {
      // At most three gaps before a residue: a used-up input reads as zeros.
      for (int gaps = 0; gaps < 3 && in.pick(4) == 0; ++gaps) piece += '-';
      piece += c;
    }
    pieces.push_back(piece);
    longest = std::max(longest, piece.size());
  }
  const std::size_t width = longest + in.pick(3);
  for (std::string& piece : pieces) piece.resize(width, '-');
  if (in.pick(4) == 0 && count > 0) {
    std::string& victim = pieces[in.pick(static_cast<unsigned>(count))];
    if (in.pick(2) == 0 || victim.empty()) {
      victim += 'A';
    } else {
      victim[in.pick(static_cast<unsigned>(victim.size()))] = static_cast<char>(in.byte());
    }
  }
  return pieces;
}

void rearrange(Alignment& alignment, ByteReader& in) {
  const ColumnRange range = pickRange(in, alignment.columnCount());
  const std::vector<std::string> strings = rearrangeStrings(alignment, range, in);
  const Snapshot before = snapshot(alignment);
  try {
    alignment.rearrange(range, strings);
  } catch (const std::invalid_argument&) {
    expectRows(alignment, before.rows, "a refused rearrange");
    expectSameResidues(before, alignment, "a refused rearrange");
    if (alignment.selection != before.selection) defect("a refused rearrange moved the selection");
    return;
  }
  std::vector<std::string> model = before.rows;
  for (std::size_t r = 0; r < model.size(); ++r) {
    const std::string old = model[r].substr(range.first, range.second - range.first);
    if (gapless(old) != gapless(strings[r])) defect("rearrange accepted strings with other residues");
    model[r].replace(range.first, range.second - range.first, strings[r]);
  }
  expectRows(alignment, model, "rearrange");
  expectSameResidues(before, alignment, "rearrange");
}

void stripGapCols(Alignment& alignment, ByteReader& in) {
  const ColumnRange range = pickRange(in, alignment.columnCount());
  const Snapshot before = snapshot(alignment);
  std::vector<std::string> model(before.rows.size());
  for (unsigned long c = 0; c < alignment.columnCount(); ++c) {
    bool allGaps = true;
    for (const std::string& row : before.rows) allGaps = allGaps && row[c] == '-';
    const bool removed = allGaps && c >= range.first && c < range.second;
    for (std::size_t r = 0; r < model.size(); ++r)
      if (!removed) model[r] += before.rows[r][c];
  }
  alignment.stripGapCols(range);
  expectRows(alignment, model, "stripGapCols");
  expectSameResidues(before, alignment, "stripGapCols");
}

// The plug-in's half: the rows it sends, the run inputs it fills and the
// rows it writes back, here without a run in between.
void exchangeWithoutRun(Alignment& alignment, ByteReader& in) {
  const ColumnRange range = alignment.selection;
  if (range.first >= range.second) return;
  const unsigned long count = sequenceCount(alignment);
  const unsigned long prealigned = in.pick(static_cast<unsigned>(count + 1));
  const SentRows sent = selectSentRows(alignment, range, prealigned);
  const Snapshot before = snapshot(alignment);
  for (std::size_t i = 0; i < sent.rows.size(); ++i) {
    const std::string text = before.rows[sent.rows[i]].substr(range.first, range.second - range.first);
    if (gapless(text).empty()) defect("a row without residues in the range was sent");
    if ((i < sent.fixed) != (sent.rows[i] < prealigned)) defect("fixed count disagrees with the prealigned rows");
  }
  if (sent.rows.empty()) return;
  for (std::size_t i = sent.fixed; i < sent.rows.size(); ++i) alignment.packRow(sent.rows[i], range);
  const unsigned long width = range.second - range.first;
  RunInputs inputs(sent.rows.size(), width);
  fillRunInputs(alignment, range, sent.rows, inputs);
  for (std::size_t i = 0; i < sent.rows.size(); ++i) {
    const std::string cells(inputs.seqs[i] + 1, width);
    if (cells != alignment.rowText(sent.rows[i]).substr(range.first, width)) defect("run input differs from the row");
    if (inputs.nres[i] != gapless(cells).size()) defect("wrong residue count");
    if (inputs.names[i][7] != '\0' || std::strncmp(inputs.names[i], alignment.GetSeqName(sent.rows[i]).c_str(), 7) != 0)
      defect("name not cut to seven characters");
  }
  const std::vector<std::string> rows = resultRows(inputs.seqs, sent.rows, count, width);
  alignment.rearrange(range, rows);
  alignment.stripGapCols({0, alignment.columnCount()});
  expectSameResidues(before, alignment, "the exchange");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ByteReader in(data, size);
  std::unique_ptr<Alignment> alignment = makeAlignment(in);
  for (int step = 0; step < 8 && !in.empty(); ++step) {
    switch (in.pick(4)) {
      case 0:
        packRow(*alignment, in);
        break;
      case 1:
        rearrange(*alignment, in);
        break;
      case 2:
        stripGapCols(*alignment, in);
        break;
      default:
        exchangeWithoutRun(*alignment, in);
        break;
    }
  }
  return 0;
}
