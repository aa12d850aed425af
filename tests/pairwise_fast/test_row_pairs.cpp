#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "fast_fixtures.h"
#include "pairwise/comp_kv.h"
#include "pairwise/fast_dp.h"
#include "pairwise/pair_kv.h"

namespace {

using zemtra::LaneWidth;
using zemtra::SimdLevel;

std::string levelName(SimdLevel level) {
  const char* names[] = {"Portable", "Sse2", "Avx2", "Avx512"};
  return names[static_cast<int>(level)];
}

// Every kernel, each lane width: the ones this CPU cannot run are skipped.
class RowPairs : public ::testing::TestWithParam<std::tuple<SimdLevel, LaneWidth>> {
 protected:
  void SetUp() override {
    if (!zemtra::simdLevelSupported(level())) GTEST_SKIP() << levelName(level()) << " is not available here";
  }
  SimdLevel level() const { return std::get<0>(GetParam()); }
  LaneWidth width() const { return std::get<1>(GetParam()); }

  // Aligns row j against every later row with the fast routine and checks
  // each reported pair against comp_kv + pair_kv on the same rows: score,
  // alen and the whole path matrix. Returns the number of pairs reported.
  int expectSameAsReference(const fastfix::Rows& rows, unsigned long j, int matNo, int gap) {
    const unsigned long width = rows.seqs.cols();
    auto fastPath = fastfix::patternPath(width);
    auto refPath = fastfix::patternPath(width);
    KARVO::Matrix<int> cmp(width, width);
    std::vector<unsigned long> ks;
    for (unsigned long k = j + 1; k < rows.len.size(); ++k) ks.push_back(k);

    int reported = 0;
    const zemtra::RowPairs request{rows.seqs, rows.len.data(), j, ks.data(), ks.size(), matNo, gap,
                                   level(),   this->width()};
    zemtra::alignRowPairs(request, *fastPath, ws_, [&](const zemtra::PairOutcome& got) {
      const unsigned long k = ks[reported++];
      ASSERT_EQ(j, got.j);
      ASSERT_EQ(k, got.k);
      unsigned long lenJ = 0, lenK = 0;
      bool first = true;
      comp_kv(j, k, matNo, &lenJ, &lenK, cmp, rows.seqs, rows.len.data(), first);
      int alen = 0, score = 0;
      // An empty second row gives the empty alignment: score 0, alen 0 and
      // the path untouched. pair_kv is not asked for it: its averaging loop
      // still walks the rows of the empty matrix it made.
      if (lenK > 0) score = pair_kv(lenJ, lenK, gap, &alen, 1, cmp, *refPath);
      ASSERT_EQ(score, got.score) << "pair " << j << ", " << k << ", matrix " << matNo << ", gap " << gap;
      ASSERT_EQ(alen, got.alen);
      fastfix::expectSamePath(*refPath, *fastPath);
    });
    return reported;
  }

  zemtra::DpWorkspace ws_;
};

// Rows this long would take more than the trace budget in the widest lanes;
// the batch goes through narrower ones and gives the reference's result.
TEST_P(RowPairs, LongRowsGoThroughNarrowerLanesWithTheSameResult) {
  if (level() != zemtra::bestSimdLevel() || width() != LaneWidth::kAuto) GTEST_SKIP() << "run once, at the default";
  constexpr unsigned long kLength = 2100;
  ASSERT_GT(kLength * kLength * zemtra::batchLanes(SimdLevel::kAvx2, LaneWidth::kAuto), zemtra::kBatchTraceBudget);
  std::mt19937 rng(47);
  std::vector<std::string> text;
  for (int r = 0; r < 3; ++r) text.push_back(fastfix::randomRow(rng, kLength, "ACDEFGHIKLMNPQRSTVWY"));
  const fastfix::Rows rows(text, 2 * kLength + 2);
  EXPECT_EQ(2, expectSameAsReference(rows, 0, 0, 40));
}

TEST(BatchLevel, NeverWiderThanAskedAndNarrowerForLongRows) {
  EXPECT_EQ(zemtra::batchLevelFor(SimdLevel::kPortable, 5000, 5000), SimdLevel::kPortable);
  if (!zemtra::simdLevelSupported(SimdLevel::kSse2)) GTEST_SKIP() << "no x86 kernels here";
  EXPECT_EQ(zemtra::batchLevelFor(SimdLevel::kSse2, 10, 10), SimdLevel::kSse2);
  EXPECT_EQ(zemtra::batchLevelFor(SimdLevel::kSse2, 5000, 5000), SimdLevel::kSse2);
  if (zemtra::simdLevelSupported(SimdLevel::kAvx512)) {
    EXPECT_EQ(zemtra::batchLevelFor(SimdLevel::kAvx512, 300, 300), SimdLevel::kAvx512);
    EXPECT_EQ(zemtra::batchLevelFor(SimdLevel::kAvx512, 3000, 3000), SimdLevel::kSse2);
  }
  if (zemtra::simdLevelSupported(SimdLevel::kAvx2)) {
    EXPECT_EQ(zemtra::batchLevelFor(SimdLevel::kAvx2, 2000, 2000), SimdLevel::kAvx2);
    EXPECT_EQ(zemtra::batchLevelFor(SimdLevel::kAvx2, 2100, 2100), SimdLevel::kSse2);
  }
}

TEST_P(RowPairs, MatchesReferenceOnRandomRowsUnderEveryMatrix) {
  std::mt19937 rng(31);
  for (int matNo = 0; matNo < 15; ++matNo) {
    std::vector<std::string> text;
    for (int r = 0; r < 41; ++r) {
      const std::string row = fastfix::randomRow(rng, fastfix::randomInt(rng, 0, 40), fastfix::kMixedAlphabet);
      // Under the signed matrix a pair might align nothing, which ends the
      // process. Rows that start and end with 'A' (A/A scores 20) rule that
      // out: pairing the first of one with the last of the other costs
      // nothing else. Empty rows stay possible.
      text.push_back(matNo != 14 ? row : (r % 5 == 0 ? "" : "A" + row + "A"));
    }
    const fastfix::Rows rows(text, 2 * 41 + 2);
    const int gaps[] = {0, 100, fastfix::randomInt(rng, 0, 150)};
    for (unsigned long j : {0ul, 7ul, 39ul}) {
      for (int gap : gaps) EXPECT_EQ(static_cast<int>(40 - j), expectSameAsReference(rows, j, matNo, gap));
      if (HasFatalFailure()) return;
    }
  }
}

TEST_P(RowPairs, MatchesReferenceOnRunsOfOneResidueAndNegativeScores) {
  std::mt19937 rng(32);
  std::vector<std::string> text;
  for (int r = 0; r < 20; ++r) {
    const std::string residue(1, "AWCLK"[r % 5]);
    std::string row;
    for (int run = fastfix::randomInt(rng, 1, 4); run > 0; --run)
      row += std::string(fastfix::randomInt(rng, 0, 12), residue[0]) + (run % 2 ? "" : "--");
    text.push_back("A" + row + "A");  // as above: matrix 14 always pairs something
  }
  const fastfix::Rows rows(text, 120);
  for (int matNo : {0, 3, 5, 14}) {
    for (int gap : {0, 1, 100}) {
      for (unsigned long j = 0; j < 19; j += 6) expectSameAsReference(rows, j, matNo, gap);
      if (HasFatalFailure()) return;
    }
  }
}

TEST_P(RowPairs, MatchesReferenceOnLongRowsOfARelatedFamily) {
  std::mt19937 rng(33);
  const std::string ancestor = fastfix::randomRow(rng, 300, "ACDEFGHIKLMNPQRSTVWY");
  std::vector<std::string> text;
  for (int r = 0; r < 6; ++r) {
    std::string row;
    for (char c : ancestor) {
      const int event = fastfix::randomInt(rng, 0, 19);
      if (event == 0) continue;  // deletion
      row += event == 1 ? fastfix::randomRow(rng, 1, "ACDEFGHIKLMNPQRSTVWY")[0] : c;
      if (event == 2) row += "GS";  // insertion
    }
    text.push_back(row);
  }
  const fastfix::Rows rows(text, 700);
  for (int matNo : {0, 11, 14}) expectSameAsReference(rows, 0, matNo, matNo == 14 ? 5 : 40);
}

TEST_P(RowPairs, MatchesReferenceWhenScoresOutgrowSixteenBits) {
  // 400 cysteines score 100 each under matrix 0: 40000 does not fit 16 bits.
  const fastfix::Rows rows({std::string(400, 'C'), std::string(400, 'C'), std::string(390, 'C') + "WWW"}, 810);
  expectSameAsReference(rows, 0, 0, 100);
}

TEST_P(RowPairs, AlignsAnyListOfPartnersInTheGivenOrder) {
  std::mt19937 rng(34);
  std::vector<std::string> text;
  for (int r = 0; r < 12; ++r)
    text.push_back(fastfix::randomRow(rng, fastfix::randomInt(rng, 1, 30), "ACDEFGHIKLMNPQRSTVWY-"));
  const fastfix::Rows rows(text, 64);
  const std::vector<unsigned long> ks = {9, 2, 2, 11, 0, 5};
  auto path = fastfix::patternPath(64);
  std::vector<unsigned long> seen;
  const zemtra::RowPairs request{rows.seqs, rows.len.data(), 5, ks.data(), ks.size(), 2, 30, level(), width()};
  zemtra::alignRowPairs(request, *path, ws_, [&](const zemtra::PairOutcome& got) { seen.push_back(got.k); });
  EXPECT_EQ(ks, seen);
}

TEST_P(RowPairs, PairWithoutAnyMatchExitsAfterReportingTheEarlierPairs) {
  // 'A' against 'W' scores -25 under matrix 14: that pair cannot be paired.
  const fastfix::Rows rows({"A", "A", "V", "W", "A"}, 8);
  const std::vector<unsigned long> ks = {1, 2, 3, 4};
  auto path = fastfix::patternPath(8);
  const zemtra::RowPairs request{rows.seqs, rows.len.data(), 0, ks.data(), ks.size(), 14, 10, level(), width()};
  EXPECT_EXIT(zemtra::alignRowPairs(request, *path, ws_,
                                    [](const zemtra::PairOutcome& got) { std::fprintf(stderr, "pair %lu\n", got.k); }),
              testing::ExitedWithCode(1), "pair 1\npair 2\n(.|\n)*gap A");
}

INSTANTIATE_TEST_SUITE_P(Kernels, RowPairs,
                         ::testing::Combine(::testing::Values(SimdLevel::kPortable, SimdLevel::kSse2, SimdLevel::kAvx2,
                                                              SimdLevel::kAvx512),
                                            ::testing::Values(LaneWidth::kAuto, LaneWidth::kWide)),
                         [](const auto& info) {
                           return levelName(std::get<0>(info.param)) +
                                  (std::get<1>(info.param) == LaneWidth::kWide ? "Wide" : "Auto");
                         });

TEST(SimdDispatch, BestLevelIsOneTheCpuRuns) {
  EXPECT_TRUE(zemtra::simdLevelSupported(zemtra::bestSimdLevel()));
  EXPECT_TRUE(zemtra::simdLevelSupported(SimdLevel::kPortable));
}

}  // namespace
