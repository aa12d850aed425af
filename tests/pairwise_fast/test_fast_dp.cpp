#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "fast_fixtures.h"
#include "pairwise/dpa.h"
#include "pairwise/fast_dp.h"
#include "pairwise/pair_kv.h"

namespace {

using fastfix::randomInt;
using fastfix::randomScores;

// Every instruction set of the row pass that this CPU runs.
std::vector<zemtra::SimdLevel> runnableLevels() {
  std::vector<zemtra::SimdLevel> levels;
  for (auto level :
       {zemtra::SimdLevel::kPortable, zemtra::SimdLevel::kSse2, zemtra::SimdLevel::kAvx2, zemtra::SimdLevel::kAvx512})
    if (zemtra::simdLevelSupported(level)) levels.push_back(level);
  return levels;
}

// Runs both routines on S with the same gap and record capacity and expects
// identical scores and records, for every runnable row pass. The workspace
// is shared across calls on purpose: warmed-up buffers of other shapes must
// not leak into a result.
void expectSameAsReference(const KARVO::Matrix<int>& S, int gap, unsigned long capacity, zemtra::DpWorkspace& ws) {
  Alignment expected(capacity);
  const int expectedScore = DPA::fredman<int>(gap, S, expected);
  for (const auto level : runnableLevels()) {
    Alignment actual(capacity);
    const int actualScore = zemtra::fredmanFast(gap, S, actual, ws, level);
    ASSERT_EQ(expectedScore, actualScore)
        << S.rows() << " x " << S.cols() << ", gap " << gap << ", level " << static_cast<int>(level);
    fastfix::expectSameRecord(expected, actual);
  }
}

TEST(FredmanFast, MatchesReferenceOnRandomScores) {
  std::mt19937 rng(11);
  zemtra::DpWorkspace ws;
  for (int round = 0; round < 400; ++round) {
    const unsigned long n = randomInt(rng, 0, 40), m = randomInt(rng, 0, 40);
    const int gaps[] = {0, 100, randomInt(rng, -30, 250)};
    const int gap = gaps[round % 3];
    // With negative scores an alignment may pair nothing, which a record of
    // n + m entries does not survive; spare entries let it through.
    const bool negative = round % 2 == 1;
    auto S = randomScores(rng, n, m, negative ? -33 : 0, 100);
    expectSameAsReference(*S, gap, n + m + (negative ? randomInt(rng, 1, 10) : 0), ws);
  }
}

TEST(FredmanFast, MatchesReferenceWhenScoresTieEverywhere) {
  std::mt19937 rng(12);
  zemtra::DpWorkspace ws;
  for (int round = 0; round < 300; ++round) {
    const unsigned long n = randomInt(rng, 1, 30), m = randomInt(rng, 1, 30);
    const int value = randomInt(rng, -3, 3);
    // Constant tables, two-valued tables and tables that are mostly zero.
    auto S =
        round % 3 == 0 ? randomScores(rng, n, m, value, value) : randomScores(rng, n, m, round % 3 == 1 ? 0 : -1, 1);
    expectSameAsReference(*S, randomInt(rng, 0, 2), n + m + 1, ws);
  }
}

TEST(FredmanFast, MatchesReferenceOnLongInputs) {
  std::mt19937 rng(13);
  zemtra::DpWorkspace ws;
  for (const int gap : {0, 40, 100}) {
    auto S = randomScores(rng, 300, 280, gap == 40 ? -33 : 0, 100);
    expectSameAsReference(*S, gap, 581, ws);
  }
}

TEST(FredmanFast, LeavesRecordEntriesPastTheLengthAsTheyWere) {
  std::mt19937 rng(15);
  zemtra::DpWorkspace ws;
  auto longer = randomScores(rng, 12, 15, 0, 100);
  auto shorter = randomScores(rng, 3, 4, 0, 100);
  Alignment expected(40), actual(40);
  DPA::fredman<int>(20, *longer, expected);
  zemtra::fredmanFast(20, *longer, actual, ws);
  DPA::fredman<int>(20, *shorter, expected);
  zemtra::fredmanFast(20, *shorter, actual, ws);
  fastfix::expectSameRecord(expected, actual);
}

using FredmanFastDeathTest = ::testing::Test;

void runFast(const std::vector<std::vector<int>>& values, int gap, unsigned long capacity) {
  KARVO::Matrix<int> S(values.size(), values[0].size());
  for (unsigned long i = 0; i < values.size(); ++i)
    for (unsigned long c = 0; c < values[i].size(); ++c) S[i][c] = values[i][c];
  Alignment aln(capacity);
  zemtra::DpWorkspace ws;
  zemtra::fredmanFast(gap, S, aln, ws);
}

TEST_F(FredmanFastDeathTest, FullRecordExitsWithTheReferencesMessage) {
  EXPECT_EXIT(runFast({{-5}}, 40, 2), testing::ExitedWithCode(1), "gap A");        // in the tail of B
  EXPECT_EXIT(runFast({{5}}, 40, 1), testing::ExitedWithCode(1), "gap0 B");        // in the main loop
  EXPECT_EXIT(runFast({{5, 1}}, 0, 0), testing::ExitedWithCode(1), "gap0 B");      // at the first entry
  EXPECT_EXIT(runFast({{-5}, {10}}, 40, 2), testing::ExitedWithCode(1), "gap B");  // in the tail of A
}

// pair_kv's inputs: summed comparison cells over a number of pairs.
struct SummedCase {
  unsigned long lenJ, lenK;
  int pairs;
  std::unique_ptr<KARVO::Matrix<int>> cmp;
};

SummedCase randomSummed(std::mt19937& rng, unsigned long lenJ, unsigned long lenK, int pairs, int lo, int hi) {
  const unsigned long w = lenJ + lenK + 2;
  SummedCase s{lenJ, lenK, pairs, std::make_unique<KARVO::Matrix<int>>(w, w)};
  for (unsigned long p = 0; p < w; ++p)
    for (unsigned long q = 0; q < w; ++q) (*s.cmp)[p][q] = randomInt(rng, lo * pairs, hi * pairs);
  // A clearly positive cell for the first position of J and the last of K:
  // pairing just these two is free of gaps, so the best alignment pairs
  // something and negative sums cannot end the process.
  (*s.cmp)[1][std::max(lenK, 1ul)] = 50 * pairs;
  return s;
}

void expectPairFastAsPairKv(const SummedCase& s, int gap, unsigned long pathWidth, zemtra::DpWorkspace& ws) {
  auto expectedPath = fastfix::patternPath(pathWidth);
  int expectedLen = -1;
  const int expectedScore = pair_kv(s.lenJ, s.lenK, gap, &expectedLen, s.pairs, *s.cmp, *expectedPath);
  for (const auto level : runnableLevels()) {
    auto actualPath = fastfix::patternPath(pathWidth);
    int actualLen = -1;
    const int actualScore = zemtra::pairFast(s.lenJ, s.lenK, gap, &actualLen, s.pairs, *s.cmp, *actualPath, ws, level);
    ASSERT_EQ(expectedScore, actualScore) << "level " << static_cast<int>(level);
    ASSERT_EQ(expectedLen, actualLen);
    fastfix::expectSamePath(*expectedPath, *actualPath);
  }
}

TEST(PairFast, MatchesPairKvOnSummedMatricesOfSeveralPairs) {
  std::mt19937 rng(21);
  zemtra::DpWorkspace ws;
  for (int round = 0; round < 300; ++round) {
    const int pairs = std::vector<int>{1, 2, 3, 7, 12}[round % 5];
    const auto s = randomSummed(rng, randomInt(rng, 1, 35), randomInt(rng, 1, 35), pairs, round % 2 ? -33 : 0, 100);
    expectPairFastAsPairKv(s, std::vector<int>{0, 100, randomInt(rng, 0, 150)}[round % 3], s.lenJ + s.lenK + 1, ws);
  }
}

TEST(PairFast, RoundsHalfwayAveragesLikePairKv) {
  std::mt19937 rng(22);
  zemtra::DpWorkspace ws;
  // Sums of odd values over two pairs land on .5 averages, negative ones too.
  for (int round = 0; round < 100; ++round) {
    auto s = randomSummed(rng, randomInt(rng, 1, 20), randomInt(rng, 1, 20), 2, -3, 3);
    for (unsigned long p = 0; p < s.cmp->rows(); ++p)
      for (unsigned long q = 0; q < s.cmp->cols(); ++q) (*s.cmp)[p][q] |= 1;
    expectPairFastAsPairKv(s, randomInt(rng, 0, 4), s.lenJ + s.lenK + 1, ws);
  }
}

TEST(PairFast, LeavesAPathThatIsTooNarrowUntouched) {
  std::mt19937 rng(23);
  zemtra::DpWorkspace ws;
  for (unsigned long width = 1; width < 12; ++width) {
    const auto s = randomSummed(rng, 6, 5, 1, 0, 100);
    expectPairFastAsPairKv(s, 30, width, ws);
  }
}

TEST(PairFast, AlignsNothingWhenOneSideIsEmpty) {
  std::mt19937 rng(24);
  zemtra::DpWorkspace ws;
  for (const auto& [lenJ, lenK] : std::vector<std::pair<unsigned long, unsigned long>>{{4, 0}, {0, 4}, {0, 0}}) {
    const auto s = randomSummed(rng, lenJ, lenK, 1, 0, 100);
    auto path = fastfix::patternPath(12);
    int alen = -1;
    EXPECT_EQ(0, zemtra::pairFast(lenJ, lenK, 10, &alen, 1, *s.cmp, *path, ws));
    EXPECT_EQ(0, alen);
    fastfix::expectSamePath(*fastfix::patternPath(12), *path);
  }
}

TEST(PairFastDeathTest, AlignmentWithoutAPairExitsLikePairKv) {
  KARVO::Matrix<int> cmp(3, 3);
  cmp[1][1] = -7;
  KARVO::Matrix<long> path(2, 6);
  zemtra::DpWorkspace ws;
  int alen = 0;
  EXPECT_EXIT(zemtra::pairFast(1, 1, 0, &alen, 1, cmp, path, ws), testing::ExitedWithCode(1), "gap A");
}

}  // namespace
