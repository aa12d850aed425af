// Manual edits and their undo edits, the row orders, the motif search and
// the column statistics behind the colours: no widgets.
#include "app/gui/alignment_edit.h"

#include <gtest/gtest.h>

#include <random>

namespace karvo_gui {
namespace {

std::unique_ptr<KARVO::Alignment> make(const std::vector<std::string>& rows) {
  std::vector<KARVO::SequenceInfo> infos;
  for (std::size_t r = 0; r < rows.size(); ++r) infos.push_back({"s" + std::to_string(r), "d" + std::to_string(r)});
  return KARVO::Alignment::fromRows(infos, rows);
}

std::vector<std::string> rowsOf(const KARVO::Alignment& alignment) {
  std::vector<std::string> rows;
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) {
    rows.push_back(alignment.GetSeqName(r) + " " + alignment.sequence(r).description + " " + alignment.rowText(r));
  }
  return rows;
}

// Each row's name and its residues without gaps, in row order.
std::vector<std::string> ungapped(const KARVO::Alignment& alignment) {
  std::vector<std::string> rows;
  for (unsigned long r = 0; r < alignment.sequenceCount(); ++r) {
    std::string text = alignment.sequence(r).description + ":";
    for (char c : alignment.rowText(r)) {
      if (c != '-') text += c;
    }
    rows.push_back(text);
  }
  return rows;
}

TEST(Edits, HundredsOfRandomEditsKeepEveryResidueAndUndoToTheSameBytes) {
  auto alignment = make({"MKV-LLAG--TEW", "MRVQLL-GSSTEW", "--VQALAG-STDW", "MKVE-LSGS-TE-", "M-IEVLAGSATEW"});
  alignment->selection = {2, 7};
  const std::vector<std::string> start = rowsOf(*alignment);
  std::vector<std::string> residues = ungapped(*alignment);
  std::mt19937 random(17);
  const auto pick = [&random](unsigned long below) {
    return std::uniform_int_distribution<unsigned long>(0, below - 1)(random);
  };
  std::vector<Edit> undo;
  int made = 0;
  for (int i = 0; i < 400; ++i) {
    const unsigned long rows = alignment->sequenceCount();
    const unsigned long width = alignment->columnCount();
    const unsigned long first = pick(rows);
    const RowRange block{first, first + 1 + pick(rows - first)};
    const unsigned long column = pick(width);
    const KARVO::ColumnRange columns{column, column + 1 + pick(std::min(4UL, width - column))};
    Edit edit;
    switch (pick(8)) {
      case 0:
        edit = InsertGaps{block, column, 1 + pick(3)};
        break;
      case 1:
        edit = DeleteGaps{block, columns};
        break;
      case 2:
      case 3:
        edit = SlideBlock{block, columns, pick(2) == 0 ? -1L - static_cast<long>(pick(2)) : 1L};
        break;
      case 4:
        edit = RenameSequence{first, pick(4) == 0 ? "two words" : "n" + std::to_string(i)};
        break;
      case 5:
        edit = RemoveSequences{block};
        break;
      case 6:
        edit = moveRows(rows, block, static_cast<long>(pick(5)) - 2);
        break;
      default:
        edit = pick(2) == 0 ? sortByName(*alignment) : sortByIdentity(*alignment, first);
        break;
    }
    const std::vector<std::string> before = rowsOf(*alignment);
    try {
      undo.push_back(applyEdit(*alignment, edit));
      ++made;
    } catch (const EditRefused&) {
      EXPECT_EQ(rowsOf(*alignment), before) << "a refused edit changed the alignment, step " << i;
      continue;
    }
    // The residues of each sequence, found by its description, are as before;
    // only a removal makes fewer.
    const std::vector<std::string> now = ungapped(*alignment);
    for (const std::string& row : now) {
      EXPECT_NE(std::find(residues.begin(), residues.end(), row), residues.end()) << "step " << i << ": " << row;
    }
    if (!std::holds_alternative<RemoveSequences>(edit)) {
      EXPECT_EQ(now.size(), residues.size()) << "step " << i;
    }
    for (const auto& cells : alignment->columns) ASSERT_EQ(cells.size(), alignment->sequenceCount());
    residues = now;
  }
  EXPECT_GT(made, 200);
  while (!undo.empty()) {
    applyEdit(*alignment, undo.back());
    undo.pop_back();
  }
  EXPECT_EQ(rowsOf(*alignment), start);
  EXPECT_EQ(alignment->selection, (KARVO::ColumnRange{2, 7}));
}

TEST(Edits, GapsMoveResiduesAlongTheirRowAsTheSameObjects) {
  auto alignment = make({"AC-D", "-EFG"});
  KARVO::Residue* d = alignment->getItem(0, 3);
  // A residue pushed off the end widens the alignment; its undo narrows it.
  const Edit undo = applyEdit(*alignment, InsertGaps{{0, 1}, 1, 2});
  EXPECT_EQ(alignment->rowText(0), "A--C-D");
  EXPECT_EQ(alignment->rowText(1), "-EFG--");
  EXPECT_EQ(alignment->getItem(0, 5), d);
  applyEdit(*alignment, undo);
  EXPECT_EQ(alignment->rowText(0), "AC-D");
  EXPECT_EQ(alignment->getItem(0, 3), d);

  applyEdit(*alignment, DeleteGaps{{0, 2}, {0, 3}});
  EXPECT_EQ(alignment->rowText(0), "ACD-");
  EXPECT_EQ(alignment->rowText(1), "EFG-");
  EXPECT_THROW(applyEdit(*alignment, DeleteGaps{{0, 2}, {0, 3}}), EditRefused);

  auto slid = make({"AB--", "C--D"});
  EXPECT_THROW(applyEdit(*slid, SlideBlock{{0, 2}, {0, 1}, 1}), EditRefused);  // B is in the way
  const Edit back = applyEdit(*slid, SlideBlock{{1, 2}, {0, 1}, 2});
  EXPECT_EQ(slid->rowText(1), "--CD");
  EXPECT_TRUE(std::holds_alternative<SlideBlock>(back));
  EXPECT_THROW(applyEdit(*slid, SlideBlock{{0, 1}, {3, 4}, 1}), EditRefused);  // the right end
}

TEST(Edits, RowsAreRenamedRemovedAndOrderedWithinLimits) {
  auto alignment = make({"AAAA", "CCAA", "ACAA", "CCCC"});
  EXPECT_THROW(applyEdit(*alignment, RenameSequence{0, "a b"}), EditRefused);
  EXPECT_THROW(applyEdit(*alignment, RenameSequence{0, ""}), EditRefused);
  EXPECT_THROW(applyEdit(*alignment, RemoveSequences{{0, 4}}), EditRefused);
  EXPECT_THROW(applyEdit(*alignment, PermuteRows{{0, 0, 1, 2}}), EditRefused);
  EXPECT_THROW(applyEdit(*alignment, InsertGaps{{2, 5}, 0, 1}), EditRefused);
  // Most like row 0 first: 100 (itself), 75, 50, 0.
  EXPECT_EQ(sortByIdentity(*alignment, 0).order, (std::vector<unsigned long>{0, 2, 1, 3}));
  EXPECT_EQ(moveRows(5, {1, 3}, -4).order, (std::vector<unsigned long>{1, 2, 0, 3, 4}));
  EXPECT_EQ(moveRows(5, {1, 3}, 1).order, (std::vector<unsigned long>{0, 3, 1, 2, 4}));
  EXPECT_EQ(orderByNames(*alignment, {"s3", "nothing", "s1"}).order, (std::vector<unsigned long>{3, 1, 0, 2}));
  applyEdit(*alignment, RenameSequence{3, "a"});
  EXPECT_EQ(sortByName(*alignment).order, (std::vector<unsigned long>{3, 0, 1, 2}));
}

TEST(FindMotif, MatchesUngappedResiduesWithXForAny) {
  const std::vector<std::string> rows{"MK-V-LK", "mkvlk--", "KVKV---"};
  const std::vector<MotifMatch> matches = findMotif(rows, "kxl");
  ASSERT_EQ(matches.size(), 2u);
  EXPECT_EQ(matches[0].row, 0u);
  EXPECT_EQ(matches[0].firstColumn, 1u);
  EXPECT_EQ(matches[0].lastColumn, 5u);
  EXPECT_EQ(matches[1].row, 1u);
  EXPECT_EQ(findMotif(rows, "KVKV").size(), 1u);
  EXPECT_EQ(findMotif(rows, "KV").size(), 4u);
  EXPECT_EQ(findMotif({"AAAA"}, "AA").size(), 3u);  // overlapping ones as well
  EXPECT_FALSE(motifProblem("K-V").empty());
  EXPECT_FALSE(motifProblem("").empty());
  EXPECT_TRUE(findMotif(rows, "K1").empty());
}

}  // namespace
}  // namespace karvo_gui
