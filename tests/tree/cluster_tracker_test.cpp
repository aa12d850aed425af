#include "tree/cluster_tracker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "tree/cluster_steps.h"

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();

std::unique_ptr<KARVO::Matrix<float>> distances(unsigned long ns, float fill) {
  auto d = std::make_unique<KARVO::Matrix<float>>(ns, ns);
  for (unsigned long r = 0; r < ns; ++r)
    for (unsigned long c = 0; c < ns; ++c) (*d)[r][c] = r == c ? 0.0f : fill;
  return d;
}

TEST(ClusterTrackerApplies, AcceptsNumbersUpTo999AndAnyDiagonal) {
  const auto d = distances(3, 999.0f);
  (*d)[0][1] = (*d)[1][0] = -kInf;
  (*d)[2][2] = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(ClusterTracker::applies(*d, 3));
}

TEST(ClusterTrackerApplies, RefusesNotANumberAndAnythingAbove999) {
  for (float bad : {999.01f, 1000.0f, kInf, std::numeric_limits<float>::quiet_NaN()}) {
    const auto d = distances(4, 10.0f);
    (*d)[3][1] = bad;  // one triangle is enough
    EXPECT_FALSE(ClusterTracker::applies(*d, 4)) << bad;
  }
}

// The reference's bookkeeping around one join, without aligning anything:
// the family table, the joined marks in pro, and what the tracker is told.
struct Simulation {
  explicit Simulation(const KARVO::Matrix<float>& fscore)
      : ns(fscore.rows()), fscore(fscore), family(ns + 1, ns + 1), pro(ns + 1), tracker(fscore, ns) {
    for (unsigned long r = 0; r <= ns; ++r)
      for (unsigned long c = 0; c <= ns; ++c) family[r][c] = 0;
    for (unsigned long r = 1; r <= ns; ++r)
      for (unsigned long c = r + 1; c <= ns; ++c) pro[r][c] = pro[c][r] = fscore[r - 1][c - 1];
  }

  unsigned long members(unsigned long row) const {
    unsigned long n = 0;
    while (family[row][n] != 0) ++n;
    return n;
  }
  unsigned long live(unsigned long s) const {
    for (unsigned long row = 0; family[row][0] != 0; ++row)
      for (unsigned long c = 0; family[row][c] != 0; ++c)
        if (family[row][c] == s) return row;
    return ClusterTracker::kSingle;
  }
  void mark(unsigned long row) {
    const unsigned long n = members(row);
    for (unsigned long a = 0; a < n; ++a)
      for (unsigned long b = 0; b < n; ++b)
        if (a != b) pro[family[row][a]][family[row][b]] = kJoinedMark;
  }

  void join(const ClosestPair& pair) {
    const unsigned long rowFirst = live(pair.first);
    const unsigned long rowOther = live(pair.other);
    if (rowFirst == ClusterTracker::kSingle && rowOther == ClusterTracker::kSingle) {
      family[nfam][0] = pair.first;
      family[nfam][1] = pair.other;
      mark(nfam);
      tracker.rowGrew(family, nfam, 0, 2, ClusterTracker::kSingle);
      ++nfam;
    } else if (rowFirst == ClusterTracker::kSingle || rowOther == ClusterTracker::kSingle) {
      const unsigned long row = rowFirst == ClusterTracker::kSingle ? rowOther : rowFirst;
      const unsigned long n = members(row);
      family[row][n] = rowFirst == ClusterTracker::kSingle ? pair.first : pair.other;
      mark(row);
      tracker.rowGrew(family, row, n, n + 1, ClusterTracker::kSingle);
    } else {
      const unsigned long lower = std::min(rowFirst, rowOther);
      const unsigned long higher = std::max(rowFirst, rowOther);
      const unsigned long n = members(lower);
      const unsigned long added = members(higher);
      for (unsigned long p = 0; p < added; ++p) family[lower][n + p] = family[higher][p];
      mark(lower);
      tracker.rowGrew(family, lower, n, n + added, higher);
    }
  }

  // Every join of a whole clustering, comparing the tracker's choice with
  // the reference's refresh and search before each one.
  void runAll() {
    for (unsigned long t = 0; t + 1 < ns; ++t) {
      if (t > 0) refreshClusterDistances(ns, fscore, family, pro);
      const ClosestPair expected = findClosestPair(ns, pro);
      const ClosestPair got = tracker.closest();
      ASSERT_EQ(expected.first, got.first) << "join " << t;
      ASSERT_EQ(expected.other, got.other) << "join " << t;
      join(got);
    }
  }

  unsigned long ns;
  const KARVO::Matrix<float>& fscore;
  KARVO::Matrix<unsigned long> family;
  KARVO::Matrix<float> pro;
  ClusterTracker tracker;
  unsigned long nfam = 0;
};

void randomSymmetric(KARVO::Matrix<float>& d, std::mt19937& rng, const std::vector<float>& values) {
  std::uniform_int_distribution<std::size_t> pick(0, values.size() - 1);
  for (unsigned long r = 0; r < d.rows(); ++r) {
    d[r][r] = 0.0f;
    for (unsigned long c = r + 1; c < d.rows(); ++c) d[r][c] = d[c][r] = values[pick(rng)];
  }
}

TEST(ClusterTrackerTest, ChoosesTheReferencesPairsThroughAWholeClusteringWithTies) {
  std::mt19937 rng(91);
  for (unsigned long ns : {2ul, 3ul, 9ul, 40ul, 75ul}) {
    KARVO::Matrix<float> d(ns, ns);
    randomSymmetric(d, rng, {1.0f, 2.0f, 2.0f, 3.0f});
    Simulation sim(d);
    sim.runAll();
    if (HasFatalFailure()) return;
  }
}

TEST(ClusterTrackerTest, ChoosesTheReferencesPairsWhenMeansDependOnSummationOrder) {
  std::mt19937 rng(92);
  for (int round = 0; round < 20; ++round) {
    KARVO::Matrix<float> d(30, 30);
    randomSymmetric(d, rng, {0.1f, 0.7f, 1.0f / 3.0f, 100.0f / 7.0f, 998.9f});
    Simulation sim(d);
    sim.runAll();
    if (HasFatalFailure()) return;
  }
}

TEST(ClusterTrackerTest, FollowsAPrealignedBlockThatStartsAsOneFamily) {
  std::mt19937 rng(93);
  KARVO::Matrix<float> d(12, 12);
  randomSymmetric(d, rng, {4.0f, 5.0f, 6.5f});
  Simulation sim(d);
  for (unsigned long m = 1; m <= 4; ++m) sim.family[0][m - 1] = m;
  sim.mark(0);
  sim.nfam = 1;
  sim.tracker.rowGrew(sim.family, 0, 0, 4, ClusterTracker::kSingle);
  for (unsigned long t = 0; t < 8; ++t) {
    refreshClusterDistances(12, d, sim.family, sim.pro);
    const ClosestPair expected = findClosestPair(12, sim.pro);
    const ClosestPair got = sim.tracker.closest();
    ASSERT_EQ(expected.first, got.first) << "join " << t;
    ASSERT_EQ(expected.other, got.other) << "join " << t;
    sim.join(got);
  }
}

TEST(ClusterTrackerTest, LiveRowFollowsEveryJoin) {
  KARVO::Matrix<float> d(4, 4);
  std::mt19937 rng(1);
  randomSymmetric(d, rng, {1.0f});
  d[1][3] = d[3][1] = 0.5f;  // sequences 2 and 4 first
  Simulation sim(d);
  EXPECT_EQ(ClusterTracker::kSingle, sim.tracker.liveRow(2));
  sim.join(sim.tracker.closest());
  EXPECT_EQ(0ul, sim.tracker.liveRow(2));
  EXPECT_EQ(0ul, sim.tracker.liveRow(4));
  EXPECT_EQ(ClusterTracker::kSingle, sim.tracker.liveRow(1));
}

}  // namespace
