#include <gtest/gtest.h>

#include "pairwise/comp_kv.h"
#include "scoring/scomat.h"
#include "tests/support/working_rows.h"

namespace {

TEST(CompKvTest, FreshModeScoresResiduesZeroesGapsAndSkipsAnEmptyRow) {
  ztest::WorkingRows f({"AW-", "CWB"}, 8);
  KARVO::Matrix<int> cmp(8, 8);
  unsigned long lenJ = 99, lenK = 99;
  bool first = true;
  comp_kv(0, 1, 0, &lenJ, &lenK, cmp, f.seqs, f.len.data(), first);
  EXPECT_FALSE(first);
  EXPECT_EQ(lenJ, 3u);
  EXPECT_EQ(lenK, 3u);
  EXPECT_EQ(cmp[1][1], ScoMat::pairScore(0, 'A', 'C'));
  EXPECT_EQ(cmp[2][2], 91);                              // W/W
  EXPECT_EQ(cmp[1][3], ScoMat::pairScore(0, 'A', 'D'));  // B scores as D
  for (int q = 1; q <= 3; ++q) EXPECT_EQ(cmp[3][q], 0);
  // An empty row touches no cell but stores the lengths.
  ztest::WorkingRows e({"", "ACD"}, 6);
  cmp[1][1] = 7;
  lenJ = lenK = 5;
  first = true;
  comp_kv(0, 1, 0, &lenJ, &lenK, cmp, e.seqs, e.len.data(), first);
  EXPECT_FALSE(first);
  EXPECT_EQ(lenJ, 0u);
  EXPECT_EQ(lenK, 3u);
  EXPECT_EQ(cmp[1][1], 7);
}

// A series adds pair by pair and leaves gap cells alone; a member of another
// length fails the series' assertions.
TEST(CompKvDeathTest, AccumulatingModeAddsAndAssertsOneLengthPerSide) {
  ztest::WorkingRows f({"AC", "A-", "CC", "ACD"}, 8);
  KARVO::Matrix<int> cmp(8, 8);
  unsigned long lenJ = 0, lenK = 0;
  bool first = true;
  comp_kv(0, 2, 0, &lenJ, &lenK, cmp, f.seqs, f.len.data(), first);
  comp_kv(1, 2, 0, &lenJ, &lenK, cmp, f.seqs, f.len.data(), first);
  EXPECT_EQ(cmp[1][1], ScoMat::pairScore(0, 'A', 'C') * 2);
  EXPECT_EQ(cmp[2][2], 100);  // C/C once; the gap row added nothing
  EXPECT_DEATH(comp_kv(3, 2, 0, &lenJ, &lenK, cmp, f.seqs, f.len.data(), first), "comp_kv.*\\*lenj == lenJ");
  EXPECT_DEATH(comp_kv(0, 3, 0, &lenJ, &lenK, cmp, f.seqs, f.len.data(), first), "\\*lenk == lenK");
}

}  // namespace
