#include "tree/cluster_tracker.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

std::unique_ptr<KARVO::Matrix<float>> distances(unsigned long ns, float fill) {
  auto d = std::make_unique<KARVO::Matrix<float>>(ns, ns);
  for (unsigned long r = 0; r < ns; ++r)
    for (unsigned long c = 0; c < ns; ++c) (*d)[r][c] = r == c ? 0.0f : fill;
  return d;
}

// Which pairs the tracker joins, and at which distance, is compared with the
// full rescan join by join in tests/exactness/tree_exactness_test.cpp.
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

}  // namespace
