#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "fast_fixtures.h"
#include "pairwise/engine_options.h"
#include "pairwise/fast_dp.h"
#include "pairwise/fast_measures.h"
#include "pairwise/measures.h"
#include "scoring/scomat.h"

namespace {

using zemtra::ScoreLookup;

// --- the one-pass measures ---------------------------------------------------

// Rows in seqs from column 1 and a path given as 1-based positions, 0 for a gap.
struct PathCase {
  PathCase(const std::string& a, const std::string& b, const std::vector<std::pair<long, long>>& columns)
      : rows({a, b}, 16), path(2, 16), alen(static_cast<int>(columns.size())) {
    for (int s = 0; s < alen; ++s) {
      const auto& [pa, pb] = columns[static_cast<std::size_t>(s)];
      path[0][s + 1] = pa == 0 ? -99 : pa;
      path[1][s + 1] = pb == 0 ? -99 : pb;
    }
    for (const std::string& r : {a, b}) {
      unsigned long residues = 0;
      for (char c : r) residues += c != '-';
      nres.push_back(residues);
    }
  }
  zemtra::PathMeasures measure(int matNo, int gap) const {
    const ScoreLookup scores(matNo);
    return zemtra::measurePath({rows.seqs, nres.data(), 0, 1, alen, path, scores, gap});
  }
  fastfix::Rows rows;
  KARVO::Matrix<long> path;
  int alen;
  std::vector<unsigned long> nres;
};

TEST(FastMeasures, PathGapsBetweenPairsCostOnceAndEndGapsAreFree) {
  const int v = ScoMat::pairScore(0, 'A', 'A');
  // A-A, then B's position 2 against a gap, then A-A, then a trailing gap.
  const PathCase c("AAW", "ACA", {{1, 1}, {0, 2}, {2, 3}, {3, 0}});
  EXPECT_EQ(2 * v - 40, c.measure(0, 40).score);
  // A leading gap is free as well.
  const PathCase leading("AA", "CAA", {{0, 1}, {1, 2}, {2, 3}});
  EXPECT_EQ(2 * v, leading.measure(0, 40).score);
}

TEST(FastMeasures, PathPairOfAResidueAndAGapCharacterIsAGapColumn) {
  // Column 2 pairs two positions, one of which holds '-': a gap column
  // between two pairs, charged once, and no self score for the '-'.
  const PathCase c("A-A", "AAA", {{1, 1}, {2, 2}, {3, 3}});
  const zemtra::PathMeasures m = c.measure(0, 30);
  EXPECT_EQ(2 * ScoMat::pairScore(0, 'A', 'A') - 30, m.score);
  EXPECT_EQ(score_kv(0, 1, 3, 0, 30, 1, c.rows.seqs, c.path), m.score);
  EXPECT_EQ(norm_kv(0, 1, 3, m.score, 0, 1, c.rows.seqs, c.path), m.nas);
}

TEST(FastMeasures, PathColumnOfAGapCharacterAgainstAGapIsDropped) {
  // B's '-' against a path gap is dropped, so the run of gap columns is
  // one: the pair before and after it are separated by one charged gap.
  const PathCase c("AWA", "A-A", {{1, 1}, {2, 0}, {0, 2}, {3, 3}});
  EXPECT_EQ(score_kv(0, 1, 4, 0, 25, 1, c.rows.seqs, c.path), c.measure(0, 25).score);
}

TEST(FastMeasures, IdentityCountsEqualLettersOnlyNotEqualIndices) {
  // 'B' scores like 'D' but is not identical to it.
  const PathCase c("BD", "DD", {{1, 1}, {2, 2}});
  EXPECT_FLOAT_EQ(50.0f, c.measure(0, 10).pid);
}

TEST(FastMeasures, EmptyAlignmentGivesTheReferencesNotANumber) {
  const PathCase c("A", "A", {});
  const zemtra::PathMeasures m = c.measure(0, 10);
  EXPECT_EQ(0, m.score);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(norm_kv(0, 1, 0, 0, 0, 1, c.rows.seqs, c.path)),
            std::bit_cast<std::uint32_t>(m.nas));
}

TEST(FastMeasures, ColumnModeMatchesTheReferenceOnRandomRows) {
  std::mt19937 rng(11);
  for (int round = 0; round < 200; ++round) {
    const int width = fastfix::randomInt(rng, 0, 30);
    const fastfix::Rows rows({fastfix::randomRow(rng, static_cast<unsigned long>(width), fastfix::kMixedAlphabet),
                              fastfix::randomRow(rng, static_cast<unsigned long>(width), fastfix::kMixedAlphabet)},
                             40);
    const int matNo = round % 15;
    const int gap = fastfix::randomInt(rng, 0, 100);
    const ScoreLookup scores(matNo);
    const zemtra::ColumnMeasures m = zemtra::measureColumns(rows.seqs[0], rows.seqs[1], width, scores, gap);
    KARVO::Matrix<long> unused(2, 2);
    KARVO::Matrix<int> alilen(2, 2);
    ASSERT_EQ(score_kv(0, 1, width, matNo, gap, 0, rows.seqs, unused), m.score);
    ASSERT_EQ(pdif_kv(0, 1, width, rows.seqs, alilen), static_cast<float>(m.differences));
    ASSERT_EQ(alilen[0][1], m.counted);
  }
}

TEST(FastMeasures, ArithmeticStepsMatchTheReference) {
  // 1 identity of 3 residues: the float and double steps give 33.333332.
  EXPECT_EQ(std::bit_cast<std::uint32_t>(static_cast<float>(100.0 / 3.0)),
            std::bit_cast<std::uint32_t>(zemtra::percentOfShorter(1, 3, 7)));
  EXPECT_EQ(0.0f, zemtra::percentOfShorter(5, 0, 7));
  EXPECT_TRUE(std::isinf(zemtra::normalisedScore(5, 0, 0)));
  EXPECT_FLOAT_EQ(50.0f, zemtra::normalisedScore(50, 100, 100));
}

TEST(ScoreLookupTable, GivesScoMatValuesForEveryCharacter) {
  for (int matNo = 0; matNo < 15; ++matNo) {
    const ScoreLookup scores(matNo);
    for (int a = 1; a < 256; a += 7)
      for (int b = 1; b < 256; b += 5)
        ASSERT_EQ(ScoMat::pairScore(matNo, static_cast<char>(a), static_cast<char>(b)),
                  scores.pair(static_cast<char>(a), static_cast<char>(b)));
  }
}

// --- pairs that align nothing --------------------------------------------------

TEST(PairlessReport, PairIsReportedWithTheExitMessageAndTheRowGoesOn) {
  // 'A' against 'W' scores -25 under matrix 14: that pair cannot be paired.
  const fastfix::Rows rows({"A", "A", "W", "A"}, 8);
  const std::vector<unsigned long> ks = {1, 2, 3};
  auto path = fastfix::patternPath(8);
  zemtra::DpWorkspace ws;
  zemtra::RowPairs request{rows.seqs, rows.len.data(), 0, ks.data(), ks.size(), 14, 10};
  request.reportPairless = true;
  std::vector<std::string> seen;
  zemtra::alignRowPairs(request, *path, ws, [&](const zemtra::PairOutcome& got) {
    seen.push_back(std::to_string(got.k) + (got.pairless ? std::string(" ") + got.pairless : "") + " " +
                   std::to_string(got.alen));
    // Its two columns would reach column 2, which the first pair left alone.
    if (got.pairless) {
      EXPECT_EQ(1002, (*path)[0][2]) << "path written for a pairless pair";
    }
  });
  EXPECT_EQ((std::vector<std::string>{"1 1", "2 gap A 0", "3 1"}), seen);
}

// --- engine options --------------------------------------------------------------

TEST(EngineOptionsFrom, ReadsTheReferenceSwitchAndAThreadCount) {
  EXPECT_TRUE(zemtra::engineOptionsFrom("1", nullptr).reference);
  EXPECT_FALSE(zemtra::engineOptionsFrom("0", nullptr).reference);
  EXPECT_FALSE(zemtra::engineOptionsFrom("yes", nullptr).reference);
  EXPECT_FALSE(zemtra::engineOptionsFrom(nullptr, nullptr).reference);
  EXPECT_EQ(3u, zemtra::engineOptionsFrom(nullptr, "3").threads);
}

TEST(EngineOptionsFrom, IgnoresThreadCountsThatAreNotPlainPositiveNumbers) {
  for (const char* bad : {"0", "-2", "2x", "", " 2", "100000"})
    EXPECT_EQ(0u, zemtra::engineOptionsFrom(nullptr, bad).threads) << bad;
}

TEST(EngineOptionsFrom, ThreadCountDefaultsToAtLeastOne) {
  EXPECT_GE(zemtra::threadCount({}), 1u);
  EXPECT_EQ(5u, zemtra::threadCount({false, 5}));
}

}  // namespace
