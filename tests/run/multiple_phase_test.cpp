#include "run/multiple_phase.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "run_fixtures.h"
#include "table_fixtures.h"

using run_test::RunInputs;
using run_test::setTable;

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// --- distances handed to the tree phase --------------------------------------

TEST(CapDistancesTest, OnlyUnusableDistancesOffTheDiagonalBecomeTheLargestDistance) {
  KARVO::Matrix<float> d(3, 3);
  setTable<float>(d, {{kInf, kInf, kNaN}, {999.5f, 1000.0f, 1000.0f}, {kNaN, -12.5f, 0.0f}});
  capDistances(d);
  EXPECT_EQ(d[0][1], 999.0f);
  EXPECT_EQ(d[0][2], 999.0f);
  EXPECT_EQ(d[2][0], 999.0f);
  EXPECT_EQ(d[1][2], 999.0f);
  EXPECT_EQ(d[1][0], 999.5f);
  EXPECT_EQ(d[2][1], -12.5f);
  EXPECT_EQ(d[0][0], kInf);
  EXPECT_EQ(d[1][1], 1000.0f);
}

// --- measurements of the finished alignment ----------------------------------

// Two identical rows and a third that shares only the A; under matrix 0
// A/A scores 65, C/C 100 and G/G 71, and the gap costs 40.
class FinalMeasurementTest : public ::testing::Test {
 protected:
  FinalMeasurementTest() : in({"a", "b", "c"}, {"AC-", "AC-", "A-G"}), storage(3, in.seqs.cols()) {
    storage.alen = 3;
    total = measureFinalAlignment(RunInput{in.len.data(), in.nres.data(), in.names, in.seqs, 0, 0, 40}, storage);
  }

  RunInputs in;
  RunStorage storage;
  float total = 0.0f;
};

TEST_F(FinalMeasurementTest, IdenticalRowsDifferNowhere) {
  EXPECT_EQ(storage.dif[0][1], 0.0f);
  EXPECT_EQ(storage.alilen[0][1], 2);
  EXPECT_EQ(storage.pid[0][1], 100.0f);
}

TEST_F(FinalMeasurementTest, ResidueAgainstGapCountsAsDifference) {
  EXPECT_EQ(storage.dif[0][2], 2.0f);
  EXPECT_EQ(storage.dif[2][0], 2.0f);
  EXPECT_EQ(storage.alilen[2][0], 3);
  EXPECT_EQ(storage.pid[2][0], 50.0f);
}

TEST_F(FinalMeasurementTest, TotalSumsEachOffDiagonalScoreOnce) {
  // 165 for the identical pair, 65 for each pair with the third row (its
  // interior gap is given back at the last column).
  EXPECT_EQ(total, 295.0f);
  EXPECT_EQ(storage.sco[1][2], 65.0f);
}

TEST_F(FinalMeasurementTest, ScoreDiagonalHoldsSelfScores) {
  EXPECT_EQ(storage.sco[0][0], 165.0f);
  EXPECT_EQ(storage.sco[2][2], 136.0f);
}

TEST_F(FinalMeasurementTest, DiagonalsAreFixedAfterMeasuring) {
  for (unsigned long d = 0; d < 3; ++d) {
    EXPECT_EQ(storage.pid[d][d], 100.0f);
    EXPECT_EQ(storage.dif[d][d], 0.0f);
    EXPECT_EQ(storage.fscore[d][d], 100.0f);
  }
}

}  // namespace
