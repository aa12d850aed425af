#include "host/alignment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/alignment_rows.h"

namespace {

using KARVO::Alignment;
using KARVO::Residue;
using testing::HasSubstr;

const auto make = [](const std::vector<std::string>& rows) { return ztest::alignmentOf(rows); };
const auto texts = ztest::rowsOf;

// The alignment's layout of residue objects, to prove that nothing moved.
std::vector<std::vector<Residue*>> snapshot(const Alignment& a) { return a.columns; }

class PluginExample : public testing::Test {
 protected:
  std::unique_ptr<Alignment> a = make({"AC-D", "--E-", "----", "K-LM"});
};

TEST_F(PluginExample, PackRowMovesResiduesToTheRangeStartInOrder) {
  Residue* c = a->getItem(0, 1);
  Residue* d = a->getItem(0, 3);
  for (unsigned long row : {0UL, 1UL, 3UL}) a->packRow(row, {0, 4});
  EXPECT_THAT(texts(*a), testing::ElementsAre("ACD-", "E---", "----", "KLM-"));
  EXPECT_EQ(a->getItem(0, 1), c);
  EXPECT_EQ(a->getItem(0, 2), d);
}

TEST_F(PluginExample, RearrangeMovesTheRowsOwnResidues) {
  Residue* e = a->getItem(1, 2);
  Residue* m = a->getItem(3, 3);
  for (unsigned long row : {0UL, 1UL, 3UL}) a->packRow(row, {0, 4});
  a->rearrange({0, 4}, {"AC-D-", "----E", "-----", "K-LM-"});
  EXPECT_THAT(texts(*a), testing::ElementsAre("AC-D-", "----E", "-----", "K-LM-"));
  EXPECT_EQ(a->columnCount(), 5u);
  EXPECT_EQ(a->getItem(1, 4), e);
  EXPECT_EQ(a->getItem(3, 3), m);
  // Every column still holds a residue of some row.
  a->stripGapCols({0, a->columnCount()});
  EXPECT_EQ(a->columnCount(), 5u);
}

TEST(PackRow, LeavesColumnsOutsideTheRangeAloneAndRefusesARangePastTheEnd) {
  auto a = make({"A-C-D"});
  Residue* first = a->getItem(0, 0);
  Residue* last = a->getItem(0, 4);
  a->packRow(0, {1, 4});
  EXPECT_EQ(a->rowText(0), "AC--D");
  EXPECT_EQ(a->getItem(0, 0), first);
  EXPECT_EQ(a->getItem(0, 4), last);
  EXPECT_THROW(a->packRow(0, {0, 6}), std::invalid_argument);
  EXPECT_EQ(a->rowText(0), "AC--D");
}

TEST(Rearrange, ResizesOnlyTheRangeAndShiftsLaterColumns) {
  auto a = make({"XA-CY", "ZB--W"});
  Residue* y = a->getItem(0, 4);
  a->selection = {1, 4};
  a->rearrange({1, 4}, {"-A-C-", "B----"});
  EXPECT_THAT(texts(*a), testing::ElementsAre("X-A-C-Y", "ZB----W"));
  EXPECT_EQ(a->getItem(0, 6), y);
  EXPECT_EQ(a->selection, (KARVO::ColumnRange{1, 6}));
}

TEST(Rearrange, RefusesStringsThatDoNotHoldTheRangesResiduesAndChangesNothing) {
  const struct {
    std::vector<std::string> rows;
    std::string message;
  } cases[] = {
      {{"AC-"}, "1 strings for 2 sequences"},
      {{"AC--", "DE-"}, "row 1 (seq1): string of length 3"},
      {{"A-C", "ED-"}, "row 1 (seq1): letter 'E' at position 0 where the next residue is 'D'"},
      {{"aC-", "DE-"}, "row 0 (seq0)"},
      {{"AC-", "DEE"}, "the range holds only 2 residues"},
      {{"A--", "DE-"}, "row 0 (seq0): string has 1 letters but the range holds 2 residues"},
  };
  auto a = make({"AC-", "-DE"});
  const auto before = snapshot(*a);
  for (const auto& c : cases) {
    try {
      a->rearrange({0, 3}, c.rows);
      ADD_FAILURE() << "accepted " << c.message;
    } catch (const std::invalid_argument& e) {
      EXPECT_THAT(e.what(), HasSubstr(c.message));
    }
    EXPECT_EQ(snapshot(*a), before) << c.message;
  }
}

TEST(StripGapCols, RemovesAllGapColumnsOnlyInsideTheRange) {
  auto a = make({"A--B--", "C---D-"});
  a->selection = {3, 5};
  a->stripGapCols({0, 3});
  EXPECT_THAT(texts(*a), testing::ElementsAre("AB--", "C-D-"));
  EXPECT_EQ(a->selection, (KARVO::ColumnRange{1, 3}));
}

TEST(FromRows, TreatsDotsAsGapsAndPadsShortRows) {
  auto a = make({"A.C", "D"});
  EXPECT_THAT(texts(*a), testing::ElementsAre("A-C", "D--"));
  EXPECT_EQ(a->columns[0].size(), 2u);
}

TEST(Clone, CopiesContentWithNewResidues) {
  auto a = make({"A-C", "-DE"});
  a->selection = {1, 2};
  auto copy = a->clone();
  EXPECT_EQ(texts(*copy), texts(*a));
  EXPECT_EQ(copy->GetSeqName(1), "seq1");
  EXPECT_EQ(copy->selection, a->selection);
  EXPECT_NE(copy->getItem(0, 0), a->getItem(0, 0));
}

}  // namespace
