#include <gtest/gtest.h>

#include <cmath>

#include "pairwise/measures.h"
#include "scoring/scomat.h"
#include "tests/support/working_rows.h"

namespace {

const KARVO::Matrix<long> kNoPath(0, 0);

int columnScore(const std::string& a, const std::string& b, int gap, int matNo = 0) {
  ztest::WorkingRows f({a, b}, 16);
  return score_kv(0, 1, static_cast<int>(a.size()), matNo, gap, 0, f.seqs, kNoPath);
}

TEST(ScoreKvTest, GapRulesInColumnMode) {
  const int v = ScoMat::pairScore(0, 'A', 'A');
  EXPECT_EQ(columnScore("A-A", "AAA", 40), 2 * v - 40);    // one interior gap
  EXPECT_EQ(columnScore("-AA", "AAA", 40), 2 * v);         // leading gap is free
  EXPECT_EQ(columnScore("AA-", "AAA", 40), 2 * v);         // so is one in the last column
  EXPECT_EQ(columnScore("A--", "AAA", 40), v);             // charged, then given back at the end
  EXPECT_EQ(columnScore("A-CA", "AG-A", 40), 2 * v - 40);  // adjacent gaps of both rows form one
  EXPECT_EQ(columnScore("A--A-A", "AAAAAA", 40), 3 * v - 80);
}

TEST(ScoreKvTest, NoColumnsOrOnlyGapColumnsScoreZeroAndNegativeScoresPassThrough) {
  EXPECT_EQ(columnScore("-", "A", 40), 0);
  EXPECT_EQ(columnScore("--", "--", 40), 0);
  EXPECT_EQ(columnScore("-A-", "A-A", 40), 0);
  EXPECT_EQ(columnScore("", "", 40), 0);
  EXPECT_EQ(columnScore("CM", "WM", 10, 14), -33 - 3);  // negative matrix scores pass through
}

TEST(ScoreKvTest, PathModeKeepsPairedGapPositionsAsGapColumns) {
  ztest::WorkingRows f({"A-CA", "AGGA"}, 16);
  KARVO::Matrix<long> path(2, 16);
  // Columns: (1,1) (2,2) pairs '-' with G, (3,3), (4,4); plus a column with
  // a gap mark against a '-' position that is dropped.
  const long a[] = {1, 2, 3, 4}, b[] = {1, 2, 3, 4};
  for (int c = 0; c < 4; ++c) path[0][c + 1] = a[c], path[1][c + 1] = b[c];
  const int v = ScoMat::pairScore(0, 'A', 'A');
  EXPECT_EQ(score_kv(0, 1, 4, 0, 40, 1, f.seqs, path), 2 * v + ScoMat::pairScore(0, 'C', 'G') - 40);
  path[0][5] = 2;  // A's '-' against a path gap: not a column at all
  path[1][5] = -99;
  EXPECT_EQ(score_kv(0, 1, 5, 0, 40, 1, f.seqs, path), 2 * v + ScoMat::pairScore(0, 'C', 'G') - 40);
}

// Zero self scores are not guarded: C scores 0 against itself in matrix 14.
TEST(NormKvTest, SelfComparisonIsHundredAndZeroSelfScoresAreNotGuarded) {
  ztest::WorkingRows f({"MKV-LAW", "MKV-LAW", "CC", "CC"}, 16);
  for (int matNo : {0, 4, 10}) {
    const int s = score_kv(0, 0, 7, matNo, 40, 0, f.seqs, kNoPath);
    EXPECT_EQ(norm_kv(0, 0, 7, s, matNo, 0, f.seqs, kNoPath), 100.0f);
  }
  EXPECT_TRUE(std::isnan(norm_kv(2, 3, 2, 0, 14, 0, f.seqs, kNoPath)));
  EXPECT_TRUE(std::isinf(norm_kv(2, 3, 2, 5, 14, 0, f.seqs, kNoPath)));
}

TEST(IdentityTest, ShorterSequenceDecidesOnExactCharacterEquality) {
  ztest::WorkingRows f({"ACDEFGHIKL", "----ACDEFGHIKLMNPQRS"}, 32);
  const unsigned long nres[] = {10, 16};
  KARVO::Matrix<long> path(2, 32);
  for (int c = 1; c <= 20; ++c) {
    path[0][c] = c <= 4 ? -99 : (c <= 14 ? c - 4 : -99);
    path[1][c] = c;
  }
  EXPECT_EQ(pids_kv(0, 1, 20, f.seqs, nres, path), 100.0f);
  ztest::WorkingRows rows({"----ACDEFGHIKL------", "----ACDEFGHIKLMNPQRS"}, 32);
  EXPECT_EQ(pidf_kv(0, 1, 20, rows.seqs, nres), 100.0f);
  // Characters count as identical only when equal; an empty sequence gives 0.
  ztest::WorkingRows g({"BDA-", "DDA-"}, 8);
  const unsigned long three[] = {3, 3}, none[] = {0, 3};
  EXPECT_EQ(pidf_kv(0, 1, 4, g.seqs, three), static_cast<float>(2.0 * 100.0 / 3.0));
  EXPECT_EQ(pidf_kv(0, 1, 4, g.seqs, none), 0.0f);
}

TEST(PdifKvTest, CountsColumnsAndDifferences) {
  ztest::WorkingRows f({"AC--", "A-G-"}, 8);
  KARVO::Matrix<int> alilen(2, 2);
  EXPECT_EQ(pdif_kv(0, 1, 4, f.seqs, alilen), 2.0f);
  EXPECT_EQ(alilen[0][1], 3);
  EXPECT_EQ(alilen[1][0], 3);
}

TEST(DistKvTest, TransformsUpperTriangleAndMirrorsItButNotANonSquareTable) {
  KARVO::Matrix<float> m(3);
  m[0][0] = 100, m[0][1] = 50, m[0][2] = 0;
  m[1][0] = -5, m[1][1] = 7, m[1][2] = 100;
  m[2][0] = -5, m[2][1] = -5, m[2][2] = 3;
  dist_kv(m);
  EXPECT_EQ(m[0][0], 0.0f);
  EXPECT_NEAR(m[0][1], 69.3f, 0.05f);
  EXPECT_TRUE(std::isinf(m[0][2]));
  EXPECT_EQ(m[1][2], 0.0f);
  EXPECT_EQ(m[1][0], m[0][1]);
  EXPECT_EQ(m[2][0], m[0][2]);
  EXPECT_EQ(m[1][1], 0.0f);
  KARVO::Matrix<float> above(2);  // above 100 gives a negative distance
  above[0][1] = 120;
  dist_kv(above);
  EXPECT_LT(above[0][1], 0.0f);
  KARVO::Matrix<float> wide(2, 3);  // a table that is not square is left alone
  wide[0][1] = 50;
  dist_kv(wide);
  EXPECT_EQ(wide[0][1], 50.0f);
}

}  // namespace
