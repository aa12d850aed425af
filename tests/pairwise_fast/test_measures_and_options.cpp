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

// Paths through gap characters, letters that score alike but differ, and
// the empty alignment: score, NAS and identity bit for bit as the reference.
TEST(FastMeasures, AwkwardPathsMeasureAsTheReference) {
  struct Case {
    const char *a, *b;
    std::vector<std::pair<long, long>> columns;
  };
  const Case cases[] = {
      {"A-A", "AAA", {{1, 1}, {2, 2}, {3, 3}}},          // a residue paired with '-': a gap column
      {"AWA", "A-A", {{1, 1}, {2, 0}, {0, 2}, {3, 3}}},  // '-' against a path gap is dropped
      {"BD", "DD", {{1, 1}, {2, 2}}},                    // 'B' scores like 'D' but is not identical
      {"A", "A", {}},                                    // nothing aligned: NaN
  };
  for (const Case& k : cases) {
    const PathCase c(k.a, k.b, k.columns);
    const zemtra::PathMeasures m = c.measure(0, 30);
    const int score = score_kv(0, 1, c.alen, 0, 30, 1, c.rows.seqs, c.path);
    EXPECT_EQ(score, m.score) << k.a;
    EXPECT_EQ(std::bit_cast<std::uint32_t>(norm_kv(0, 1, c.alen, score, 0, 1, c.rows.seqs, c.path)),
              std::bit_cast<std::uint32_t>(m.nas))
        << k.a;
    EXPECT_EQ(std::bit_cast<std::uint32_t>(pids_kv(0, 1, c.alen, c.rows.seqs, c.nres.data(), c.path)),
              std::bit_cast<std::uint32_t>(m.pid))
        << k.a;
  }
  EXPECT_FLOAT_EQ(50.0f, PathCase("BD", "DD", {{1, 1}, {2, 2}}).measure(0, 10).pid);
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

TEST(EngineOptionsFrom, ReadsTheReferenceSwitchAndPlainPositiveThreadCounts) {
  EXPECT_TRUE(zemtra::engineOptionsFrom("1", nullptr).reference);
  for (const char* off : {"0", "yes", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(zemtra::engineOptionsFrom(off, nullptr).reference);
  EXPECT_EQ(3u, zemtra::engineOptionsFrom(nullptr, "3").threads);
  for (const char* bad : {"0", "-2", "2x", "", " 2", "100000"})
    EXPECT_EQ(0u, zemtra::engineOptionsFrom(nullptr, bad).threads) << bad;
}

TEST(EngineOptionsFrom, ThreadCountDefaultsToAtLeastOne) {
  EXPECT_GE(zemtra::threadCount({}), 1u);
  EXPECT_EQ(5u, zemtra::threadCount({false, 5}));
}

}  // namespace
