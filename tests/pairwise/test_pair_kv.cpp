#include <gtest/gtest.h>

#include "pairwise/pair_kv.h"
#include "tests/support/working_rows.h"

namespace {

// Runs pair_kv on a comparison matrix given as rows of summed values.
struct PairRun {
  explicit PairRun(const std::vector<std::vector<int>>& sums, unsigned long width = 16)
      : cmp(width, width), path(2, width) {
    for (unsigned long p = 0; p < sums.size(); ++p)
      for (unsigned long q = 0; q < sums[p].size(); ++q) cmp[p + 1][q + 1] = sums[p][q];
    for (unsigned long c = 0; c < width; ++c) path[0][c] = path[1][c] = 1234;
    lenJ = sums.size();
    lenK = sums.empty() ? 0 : sums[0].size();
  }
  int run(int gap, int pairs) { return pair_kv(lenJ, lenK, gap, &alen, pairs, cmp, path); }

  KARVO::Matrix<int> cmp;
  KARVO::Matrix<long> path;
  unsigned long lenJ, lenK;
  int alen = -1;
};

TEST(PairKvTest, AveragesRoundHalfUpAndTruncateNegativesTowardZero) {
  // One position each: the score is the averaged cell itself when positive.
  struct Case {
    int sum, pairs, expected;
  };
  for (Case c : {Case{7, 2, 4}, Case{10, 4, 3}, Case{9, 1, 9}, Case{100, 3, 33}}) {
    PairRun r(std::vector<std::vector<int>>{{c.sum}});
    EXPECT_EQ(r.run(40, c.pairs), c.expected) << c.sum << "/" << c.pairs;
  }
  // Negative averages: -7/2 gives -3, -3/1 gives -2, -17/10 gives -1. The
  // negative cell sits between two pairs worth 100 that the alignment can
  // only keep by taking it too (every other cell costs far more).
  for (Case c : {Case{-7, 2, -3}, Case{-3, 1, -2}, Case{-17, 10, -1}}) {
    const int high = 100 * c.pairs, low = -1000 * c.pairs;
    PairRun r({{high, low, low}, {low, c.sum, low}, {low, low, high}});
    EXPECT_EQ(r.run(1000, c.pairs), 200 + c.expected) << c.sum << "/" << c.pairs;
  }
}

TEST(PairKvTest, WritesOneBasedPathWithGapMarksOrNoneForAnEmptyGroup) {
  PairRun r({{-9, 10, -9}, {-9, -9, 10}, {-9, -9, -9}});
  EXPECT_EQ(r.run(40, 1), 20);
  ASSERT_EQ(r.alen, 4);
  const long a[] = {-99, 1, 2, 3}, b[] = {1, 2, 3, -99};
  for (int c = 1; c <= 4; ++c) {
    EXPECT_EQ(r.path[0][c], a[c - 1]);
    EXPECT_EQ(r.path[1][c], b[c - 1]);
  }
  EXPECT_EQ(r.path[0][0], 1234);  // column 0 is not used
  EXPECT_EQ(r.path[0][5], 1234);  // nor columns past the alignment
  // An empty group gives the empty alignment.
  for (auto lengths : {std::pair{0ul, 3ul}, std::pair{3ul, 0ul}}) {
    PairRun empty(std::vector<std::vector<int>>{});
    empty.lenJ = lengths.first;
    empty.lenK = lengths.second;
    EXPECT_EQ(empty.run(40, 1), 0);
    EXPECT_EQ(empty.alen, 0);
    EXPECT_EQ(empty.path[0][1], 1234);
  }
}

TEST(PairKvTest, AlignmentLongerThanPathLeavesPathButReportsLength) {
  PairRun r({{-9, 10}, {-9, -9}}, 4);  // 3 columns need a path of 4 or more
  KARVO::Matrix<long> narrow(2, 3);
  narrow[0][1] = 77;
  int alen = 0;
  pair_kv(2, 2, 40, &alen, 1, r.cmp, narrow);
  EXPECT_EQ(alen, 3);
  EXPECT_EQ(narrow[0][1], 77);
}

TEST(CopyKvTest, RewritesBothGroupsAlongThePathSkippingAnEmptyOne) {
  ztest::WorkingRows f({"AC-D", "A-CD", "KLM"}, 10);
  KARVO::Matrix<long> path(2, 10);
  // Group {0, 1} (4 columns) against {2} (3 columns) in 5 columns.
  const long first[] = {1, 2, -99, 3, 4}, second[] = {1, -99, 2, -99, 3};
  for (int c = 0; c < 5; ++c) {
    path[0][c + 1] = first[c];
    path[1][c + 1] = second[c];
  }
  const unsigned long g1[] = {0, 1}, g2[] = {2};
  copy_kv(g1, 2, g2, 1, 5, f.seqs, path, f.len.data());
  EXPECT_EQ(f.row(0), "AC--D");
  EXPECT_EQ(f.row(1), "A--CD");
  EXPECT_EQ(f.row(2), "K-L-M");
  EXPECT_EQ(f.seqs[2][6], '.');  // beyond the new length: untouched
  // A group without members is skipped.
  ztest::WorkingRows h({"AC", "KL"}, 6);
  path[0][1] = 2;
  path[1][1] = 1;
  copy_kv(g1, 1, g2, 0, 1, h.seqs, path, h.len.data());
  EXPECT_EQ(h.row(0), "C");
  EXPECT_EQ(h.row(1), "KL");
}

TEST(CopyKvDeathTest, PathAsWideAsTheAlignmentEndsWith666) {
  ztest::WorkingRows f({"AC", "KL"}, 4);
  KARVO::Matrix<long> path(2, 4);
  const unsigned long g1[] = {0}, g2[] = {1};
  EXPECT_EXIT(copy_kv(g1, 1, g2, 1, 4, f.seqs, path, f.len.data()), testing::ExitedWithCode(666 & 0xff), "");
}

}  // namespace
