#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "core/matrix.h"
#include "pairwise/dpa.h"

namespace {

std::unique_ptr<KARVO::Matrix<int>> scoreMatrix(const std::vector<std::vector<int>>& values) {
  auto m = std::make_unique<KARVO::Matrix<int>>(values.size(), values.empty() ? 0 : values[0].size());
  for (unsigned long i = 0; i < values.size(); ++i)
    for (unsigned long c = 0; c < values[i].size(); ++c) (*m)[i][c] = values[i][c];
  return m;
}

// The gap model by brute force: every path through the table from (0, 0) to
// (n, m). A cell on row 0 or column 0 is free of state; inside the table a
// vertical step may not follow a horizontal one nor the reverse, and a pair
// that follows a gap step pays the penalty once.
enum Step { kBorder, kPair, kVert, kHorz };

struct Model {
  const std::vector<std::vector<int>>& s;
  int gap;
  int n, m;

  bool allowed(Step previous, Step move) const {
    if (previous == kBorder || previous == kPair) return true;
    if (move == kPair) return true;
    return previous == move;
  }
  int cost(Step previous, Step move, int i, int c) const {
    if (move != kPair) return 0;
    const int penalty = (previous == kVert || previous == kHorz) ? gap : 0;
    return s[static_cast<std::size_t>(i)][static_cast<std::size_t>(c)] - penalty;
  }
  static Step after(Step move, int i, int c) { return (i == 0 || c == 0) ? kBorder : move; }

  int best(int i, int c, Step previous) const {
    if (i == n && c == m) return 0;
    int result = INT_MIN;
    auto consider = [&](Step move, int ni, int nc) {
      if (ni > n || nc > m || !allowed(previous, move)) return;
      const int rest = best(ni, nc, after(move, ni, nc));
      if (rest != INT_MIN) result = std::max(result, cost(previous, move, i, c) + rest);
    };
    consider(kPair, i + 1, c + 1);
    consider(kVert, i + 1, c);
    consider(kHorz, i, c + 1);
    return result;
  }

  // Score of a given alignment under the same model, or INT_MIN when the
  // alignment is not a path of the model.
  int scoreOf(const Alignment& aln) const {
    int i = 0, c = 0, total = 0;
    Step previous = kBorder;
    for (int o = 0; o < aln.length; ++o) {
      const bool hasA = aln.posA[o] != -99, hasB = aln.posB[o] != -99;
      if (hasA && aln.posA[o] != i) return INT_MIN;
      if (hasB && aln.posB[o] != c) return INT_MIN;
      const Step move = hasA && hasB ? kPair : (hasA ? kVert : kHorz);
      if (!hasA && !hasB) return INT_MIN;
      if (aln.paired[o] != (move == kPair ? 1 : 0)) return INT_MIN;
      if (!allowed(previous, move)) return INT_MIN;
      total += cost(previous, move, i, c);
      i += hasA;
      c += hasB;
      previous = after(move, i, c);
    }
    return (i == n && c == m) ? total : INT_MIN;
  }
};

struct Result {
  int score;
  std::string columns;  // 'P' pair, 'V' position of A against a gap, 'H' of B
};

Result align(const std::vector<std::vector<int>>& values, int gap, unsigned long capacity) {
  auto s = scoreMatrix(values);
  Alignment aln(capacity);
  Result r{DPA::fredman<int>(gap, *s, aln), ""};
  for (int o = 0; o < aln.length; ++o) r.columns += aln.paired[o] ? 'P' : (aln.posA[o] == -99 ? 'H' : 'V');
  return r;
}

TEST(FredmanTest, ScoreAndPathEqualBruteForceOnRandomTinyInputs) {
  std::mt19937 rng(20261122);
  for (int trial = 0; trial < 3000; ++trial) {
    const int n = 1 + static_cast<int>(rng() % 4), m = 1 + static_cast<int>(rng() % 4);
    const int gap = std::vector<int>{0, 3, 10, 40}[rng() % 4];
    std::vector<std::vector<int>> values(static_cast<std::size_t>(n), std::vector<int>(static_cast<std::size_t>(m)));
    // Narrow value ranges make many ties.
    const int spread = (trial % 3 == 0) ? 3 : 30;
    for (auto& row : values)
      for (auto& v : row) v = static_cast<int>(rng() % static_cast<unsigned>(spread + 1)) - spread / 3;
    Model model{values, gap, n, m};
    const int expected = model.best(0, 0, kBorder);

    auto s = scoreMatrix(values);
    // One entry more than callers give, so that optima without any pair
    // (which end the process at the usual capacity, tested below) are checked too.
    Alignment aln(static_cast<unsigned long>(n + m + 1));
    const int score = DPA::fredman<int>(gap, *s, aln);
    ASSERT_EQ(score, expected) << "trial " << trial;
    ASSERT_EQ(model.scoreOf(aln), expected) << "trial " << trial;
    int pairs = 0;
    for (int o = 0; o < aln.length; ++o) pairs += aln.paired[o];
    EXPECT_EQ(aln.nmatch, pairs);
    for (auto o = static_cast<unsigned long>(aln.length); o < aln.capacity; ++o) {
      EXPECT_EQ(aln.posA[o], -99);
      EXPECT_EQ(aln.posB[o], -99);
      EXPECT_EQ(aln.paired[o], 0);
    }
  }
}

TEST(FredmanTest, TiesFavourPairsThenTailOfBThenVerticalEnds) {
  // All ties: the traceback stays in pairs along the diagonal from the end
  // and the positions of B left over face gaps at the start.
  EXPECT_EQ(align({{0, 0, 0}, {0, 0, 0}}, 0, 5).columns, "HPP");
  EXPECT_EQ(align({{0, 0}, {0, 0}, {0, 0}}, 0, 5).columns, "VPP");
  // An end-state tie goes to vertical before horizontal: vert and horz both
  // end at 0 above diag; starting in vert gives HPV, in horz it would be VPH.
  const Result tie = align({{10, 0}, {0, -100}}, 0, 4);
  EXPECT_EQ(tie.score, 0);
  EXPECT_EQ(tie.columns, "HPV");
}

TEST(FredmanTest, InteriorGapCostsOnceWhateverItsLengthAndNothingForEmptyInput) {
  std::vector<std::vector<int>> shortGap(3, std::vector<int>(2, -5));
  shortGap[0][0] = 50;
  shortGap[2][1] = 50;
  std::vector<std::vector<int>> longGap(12, std::vector<int>(2, -5));
  longGap[0][0] = 50;
  longGap[11][1] = 50;
  EXPECT_EQ(align(shortGap, 7, 5).score, 93);
  EXPECT_EQ(align(longGap, 7, 14).score, 93);
  EXPECT_EQ(align(longGap, 7, 14).columns, "P" + std::string(10, 'V') + "P");
  // Empty input gives the empty alignment.
  KARVO::Matrix<int> empty(0, 0);
  Alignment aln(0);
  EXPECT_EQ(DPA::fredman<int>(40, empty, aln), 0);
  EXPECT_EQ(aln.length, 0);
  EXPECT_EQ(aln.nmatch, 0);
}

TEST(FredmanDeathTest, AlignmentWithoutPairsEndsTheProcess) {
  EXPECT_EXIT(align({{-5}}, 40, 2), testing::ExitedWithCode(1), "gap A");
  EXPECT_EXIT(align({{5}}, 40, 1), testing::ExitedWithCode(1), "gap0 B");
  EXPECT_EXIT(align({{-5}, {10}}, 40, 2), testing::ExitedWithCode(1), "gap B");
}

TEST(AlignmentRecordTest, CopyAndAssignmentAreDeep) {
  Alignment a(2);
  a.posA[0] = 4;
  a.length = 1;
  Alignment b(a);
  Alignment c(5);
  c = a;
  const Alignment& same = c;
  c = same;  // assignment to itself keeps the copy
  a.posA[0] = 7;
  for (const Alignment* copy : {&b, &c}) {
    EXPECT_EQ(copy->capacity, 2u);
    EXPECT_EQ(copy->length, 1);
    EXPECT_EQ(copy->posA[0], 4);
    EXPECT_EQ(copy->posB, copy->posA + 2);
  }
}

}  // namespace
