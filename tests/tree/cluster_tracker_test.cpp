#include "tree/cluster_tracker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <random>

namespace {

using KARVO::Matrix;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

std::unique_ptr<Matrix<float>> distances(unsigned long ns, float fill) {
  auto d = std::make_unique<Matrix<float>>(ns, ns);
  for (unsigned long r = 0; r < ns; ++r)
    for (unsigned long c = 0; c < ns; ++c) (*d)[r][c] = r == c ? 0.0f : fill;
  return d;
}

TEST(ClusterTrackerApplies, AcceptsNumbersUpTo999OffTheDiagonalOnly) {
  const auto d = distances(3, 999.0f);
  (*d)[0][1] = (*d)[1][0] = -kInf;
  (*d)[2][2] = kNaN;
  EXPECT_TRUE(ClusterTracker::applies(*d, 3));
  // One bad cell anywhere off the diagonal refuses, in either triangle, in
  // the first and the last row and column.
  const struct { unsigned long row, column; } cells[] = {{0, 1}, {1, 0}, {0, 3}, {3, 0}, {3, 1}, {2, 3}};
  for (const auto cell : cells) {
    for (float bad : {999.01f, 1000.0f, kInf, kNaN}) {
      const auto refused = distances(4, 10.0f);
      (*refused)[cell.row][cell.column] = bad;
      EXPECT_FALSE(ClusterTracker::applies(*refused, 4)) << cell.row << "," << cell.column << " " << bad;
    }
  }
  // Only the first ns rows and columns count; a smaller table never applies.
  const auto wider = distances(4, 10.0f);
  (*wider)[3][0] = kNaN;
  EXPECT_TRUE(ClusterTracker::applies(*wider, 3));
  EXPECT_FALSE(ClusterTracker::applies(*distances(2, 10.0f), 3));
}

// The clustering as the full rescan does it: the family table, the joined
// marks and the cluster distances refreshed before every search.
class RescanClustering {
 public:
  explicit RescanClustering(const Matrix<float>& fscore)
      : fscore_(fscore), ns_(fscore.rows()), family_(ns_ + 1, ns_ + 1), pro_(ns_ + 1) {
    for (unsigned long r = 0; r <= ns_; ++r) std::fill(family_[r], family_[r] + ns_ + 1, 0UL);
    for (unsigned long r = 1; r <= ns_; ++r)
      for (unsigned long c = r + 1; c <= ns_; ++c) pro_[r][c] = pro_[c][r] = fscore[r - 1][c - 1];
  }

  ClosestPair next() {
    refreshClusterDistances(ns_, fscore_, family_, pro_);
    return findClosestPair(ns_, pro_);
  }

  // Joins the two clusters of a pair and tells the tracker, as the tree
  // phase does.
  void join(const ClosestPair& pair, ClusterTracker& tracker) {
    const unsigned long rowFirst = liveFamily(family_, pair.first);
    const unsigned long rowOther = liveFamily(family_, pair.other);
    const unsigned long lower = std::min(rowFirst, rowOther);
    const unsigned long higher = std::max(rowFirst, rowOther);
    const unsigned long members = lower == kNoFamily ? 0 : familySize(family_, lower, ns_);
    unsigned long grown = 0;
    if (lower == kNoFamily) {
      family_[rows_][0] = pair.first;
      family_[rows_][1] = pair.other;
      tracker.rowGrew(family_, rows_, 0, 2, ClusterTracker::kSingle);
      grown = rows_++;
    } else if (higher == kNoFamily) {
      family_[lower][members] = rowFirst == kNoFamily ? pair.first : pair.other;
      tracker.rowGrew(family_, lower, members, members + 1, ClusterTracker::kSingle);
      grown = lower;
    } else {
      const unsigned long added = familySize(family_, higher, ns_);
      for (unsigned long p = 0; p < added; ++p) family_[lower][members + p] = family_[higher][p];
      tracker.rowGrew(family_, lower, members, members + added, higher);
      grown = lower;
    }
    const unsigned long size = familySize(family_, grown, ns_);
    for (unsigned long p = 0; p < size; ++p)
      for (unsigned long q = 0; q < size; ++q)
        if (p != q) pro_[family_[grown][p]][family_[grown][q]] = kJoinedMark;
  }

 private:
  const Matrix<float>& fscore_;
  unsigned long ns_;
  Matrix<unsigned long> family_;
  Matrix<float> pro_;
  unsigned long rows_ = 0;
};

// Join by join, the tracker picks the pair the full rescan picks, at the
// same float distance: single sequences, a family and a sequence, and two
// families of different sizes, with ties from a few distinct values and
// asymmetric input distances.
TEST(ClusterTracker, ChoosesTheRescansPairAtEveryJoin) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    std::mt19937 random(seed);
    const unsigned long ns = 4 + seed % 9;
    Matrix<float> fscore(ns, ns);
    std::uniform_int_distribution<int> value(1, seed % 2 == 0 ? 6 : 400);
    for (unsigned long r = 0; r < ns; ++r)
      for (unsigned long c = 0; c < ns; ++c) fscore[r][c] = r == c ? 0.0f : static_cast<float>(value(random)) / 3.0f;
    ASSERT_TRUE(ClusterTracker::applies(fscore, ns));

    ClusterTracker tracker(fscore, ns);
    RescanClustering rescan(fscore);
    for (unsigned long join = 0; join + 1 < ns; ++join) {
      const ClosestPair expected = rescan.next();
      const ClosestPair chosen = tracker.closest();
      ASSERT_EQ(chosen.first, expected.first) << "seed " << seed << " join " << join;
      ASSERT_EQ(chosen.other, expected.other) << "seed " << seed << " join " << join;
      ASSERT_EQ(chosen.distance, expected.distance) << "seed " << seed << " join " << join;
      rescan.join(chosen, tracker);
    }
  }
}

}  // namespace
