#include "tree/cluster_tracker.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tree_fixture.h"

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

// The random tables of the exactness tests stay small; these are larger than
// any of them, and full of ties.
TEST(ClusterTrackerTest, LargeTiedTablesJoinAsTheReferenceRescans) {
  std::mt19937 rng(91);
  std::uniform_int_distribution<int> pick(0, 3);
  const float values[] = {1.0f, 2.0f, 2.0f, 3.0f};
  for (unsigned long ns : {40ul, 75ul}) {
    TreeInput reference(std::vector<std::string>(ns, "MK"));
    TreeInput fast(std::vector<std::string>(ns, "MK"));
    for (unsigned long a = 1; a <= ns; ++a) {
      for (unsigned long b = a + 1; b <= ns; ++b) {
        const float d = values[pick(rng)];
        reference.setDistance(a, b, d);
        fast.setDistance(a, b, d);
      }
    }
    JoinHistory expected, got;
    EXPECT_EQ(reference.run({true, 0}, expected), fast.run({false, 0}, got)) << ns;
    EXPECT_EQ(expected.joins, got.joins) << ns;
    EXPECT_EQ(expected.families, got.families) << ns;
  }
}

}  // namespace
