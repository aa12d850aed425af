#include "run/multiple_phase.h"

#include <gtest/gtest.h>

#include <limits>

#include "run_fixtures.h"

using run_test::RunInputs;

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

TEST(CapDistancesTest, OnlyUnusableDistancesOffTheDiagonalBecomeTheLargestDistance) {
  KARVO::Matrix<float> d(3, 3);
  const float cells[3][3] = {{kInf, kInf, kNaN}, {999.5f, 1000.0f, 1000.0f}, {kNaN, -12.5f, 0.0f}};
  for (unsigned long r = 0; r < 3; ++r)
    for (unsigned long c = 0; c < 3; ++c) d[r][c] = cells[r][c];
  capDistances(d);
  const float expected[3][3] = {{kInf, 999.0f, 999.0f}, {999.5f, 1000.0f, 999.0f}, {999.0f, -12.5f, 0.0f}};
  for (unsigned long r = 0; r < 3; ++r)
    for (unsigned long c = 0; c < 3; ++c) EXPECT_EQ(expected[r][c], d[r][c]) << r << "," << c;
}

// Two identical rows and a third that shares only the A; under matrix 0
// A/A scores 65, C/C 100 and G/G 71, and the gap costs 40.
TEST(FinalMeasurementTest, DifferencesLengthsIdentitiesScoresAndDiagonals) {
  RunInputs in({"a", "b", "c"}, {"AC-", "AC-", "A-G"});
  RunStorage storage(3, in.seqs.cols());
  storage.makeFinalTables();
  storage.alen = 3;
  const float total =
      measureFinalAlignment(RunInput{in.len.data(), in.nres.data(), in.names, in.seqs, 0, 0, 40}, storage);
  // Identical rows differ nowhere; a residue against a gap is a difference.
  EXPECT_EQ(storage.dif[0][1], 0.0f);
  EXPECT_EQ(storage.alilen[0][1], 2);
  EXPECT_EQ(storage.pid[0][1], 100.0f);
  EXPECT_EQ(storage.dif[0][2], 2.0f);
  EXPECT_EQ(storage.dif[2][0], 2.0f);
  EXPECT_EQ(storage.alilen[2][0], 3);
  EXPECT_EQ(storage.pid[2][0], 50.0f);
  // 165 for the identical pair, 65 for each pair with the third row (its
  // interior gap is given back at the last column), each pair once.
  EXPECT_EQ(total, 295.0f);
  EXPECT_EQ(storage.sco[1][2], 65.0f);
  EXPECT_EQ(storage.sco[0][0], 165.0f);  // self scores on the diagonal
  EXPECT_EQ(storage.sco[2][2], 136.0f);
  for (unsigned long d = 0; d < 3; ++d) {
    EXPECT_EQ(storage.pid[d][d], 100.0f);
    EXPECT_EQ(storage.dif[d][d], 0.0f);
    EXPECT_EQ(storage.fscore[d][d], 100.0f);
  }
}

}  // namespace
