#include "tree/cluster_tracker.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();

std::unique_ptr<KARVO::Matrix<float>> distances(unsigned long ns, float fill) {
  auto d = std::make_unique<KARVO::Matrix<float>>(ns, ns);
  for (unsigned long r = 0; r < ns; ++r)
    for (unsigned long c = 0; c < ns; ++c) (*d)[r][c] = r == c ? 0.0f : fill;
  return d;
}

TEST(ClusterTrackerApplies, AcceptsNumbersUpTo999AndAnyDiagonalOnly) {
  const auto d = distances(3, 999.0f);
  (*d)[0][1] = (*d)[1][0] = -kInf;
  (*d)[2][2] = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(ClusterTracker::applies(*d, 3));
  // Refused: not a number and anything above 999.
  for (float bad : {999.01f, 1000.0f, kInf, std::numeric_limits<float>::quiet_NaN()}) {
    const auto refused = distances(4, 10.0f);
    (*refused)[3][1] = bad;  // one triangle is enough
    EXPECT_FALSE(ClusterTracker::applies(*refused, 4)) << bad;
  }
}

}  // namespace
