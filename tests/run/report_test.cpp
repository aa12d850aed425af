#include "run/report.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <locale>
#include <string>
#include <vector>

#include "table_fixtures.h"

using KARVO::Matrix;
using run_test::setFamily;
using run_test::setNames;
using run_test::setTable;
using run_test::setUpLog;

namespace {

class ReportTest : public ::testing::Test {
 protected:
  void SetUp() override { setUpLog(os); }
  std::ostringstream os;
};

// --- header line -----------------------------------------------------------

TEST_F(ReportTest, HeaderLineWrapsAfterTenColumns) {
  const std::string ten = "             [  1] [  2] [  3] [  4] [  5] [  6] [  7] [  8] [  9] [ 10]\n";
  printIndices(os, 10, "Heading:");
  EXPECT_EQ(os.str(), "\n\nHeading:\n\n" + ten);
  os.str("");
  printIndices(os, 11, "Heading:");
  EXPECT_EQ(os.str(), "\n\nHeading:\n\n" + ten + "             [ 11]\n");
}

// --- rows ------------------------------------------------------------------

TEST_F(ReportTest, InputOrderRowsPadNamesAndEndWithoutNewline) {
  Matrix<char> names(2, 8);
  setNames(names, {"alpha", "b"});
  Matrix<float> values(2, 2);
  setTable<float>(values, {{100.0f, 50.0f}, {50.0f, 100.0f}});
  printMatrix(os, 2, names, values);
  EXPECT_EQ(os.str(),
            "\n  1-alpha    100.0  50.0"
            "\n  2-b         50.0 100.0");
}

TEST_F(ReportTest, LongNameShowsItsFirstEightCharacters) {
  Matrix<char> names(1, 12);
  setNames(names, {"ABCDEFGHIJK"});
  Matrix<float> values(1, 1);
  values[0][0] = 1.0f;
  printMatrix(os, 1, names, values);
  EXPECT_EQ(os.str(), "\n  1-ABCDEFGH   1.0");
}

TEST_F(ReportTest, WideValuesLoseTheirSeparatingBlankButAreNotCut) {
  Matrix<char> names(2, 8);
  setNames(names, {"a", "b"});
  Matrix<float> values(2, 2);
  setTable<float>(values, {{1234.5f, -123.4f}, {0.0f, 0.0f}});
  printMatrix(os, 2, names, values);
  EXPECT_EQ(os.str(),
            "\n  1-a       1234.5-123.4"
            "\n  2-b          0.0   0.0");
}

TEST_F(ReportTest, RowsBreakBeforeTheEleventhCell) {
  Matrix<char> names(11, 8);
  setNames(names, {"s1", "s2", "s3", "s4", "s5", "s6", "s7", "s8", "s9", "s10", "s11"});
  Matrix<float> values(11, 11);
  for (unsigned long r = 0; r < 11; ++r) {
    for (unsigned long c = 0; c < 11; ++c) values[r][c] = static_cast<float>(c + 1);
  }
  printMatrix(os, 11, names, values);
  const std::string firstRow =
      "\n  1-s1         1.0   2.0   3.0   4.0   5.0   6.0   7.0   8.0   9.0  10.0"
      "\n              11.0"
      "\n  2-s2 ";
  EXPECT_EQ(os.str().substr(0, firstRow.size()), firstRow);
}

TEST_F(ReportTest, FamilyOrderTableFollowsTheJoiningOrder) {
  Matrix<char> names(3, 8);
  setNames(names, {"one", "two", "three"});
  Matrix<float> values(3, 3);
  for (unsigned long r = 0; r < 3; ++r) {
    for (unsigned long c = 0; c < 3; ++c) values[r][c] = static_cast<float>(10 * r + c);
  }
  Matrix<unsigned long> family(4, 4);
  setFamily(family, {3, 1, 2});
  printMatrix(os, 1, names, values, family, "Heading:");
  EXPECT_EQ(os.str(),
            "\n\nHeading:\n\n"
            "             [  1] [  2] [  3]\n"
            "\n  1-three     22.0  20.0  21.0"
            "\n  2-one        2.0   0.0   1.0"
            "\n  3-two       12.0  10.0  11.0"
            "\n");
}

TEST_F(ReportTest, PrecisionZeroTablePrintsIntegersAndRestoresPrecision) {
  Matrix<char> names(2, 8);
  setNames(names, {"a", "b"});
  Matrix<float> values(2, 2);
  setTable<float>(values, {{0.0f, 3.0f}, {3.0f, 0.0f}});
  Matrix<unsigned long> family(3, 3);
  setFamily(family, {1, 2});
  printMatrix(os, 0, names, values, family, "D:");
  os << 2.0f;
  EXPECT_EQ(os.str(),
            "\n\nD:\n\n"
            "             [  1] [  2]\n"
            "\n  1-a            0     3"
            "\n  2-b            3     0"
            "\n2.0");
}

// --- transforms ------------------------------------------------------------

TEST_F(ReportTest, DistanceTableShowsInfinityNotANumberAndZeroDiagonal) {
  Matrix<char> names(2, 8);
  setNames(names, {"a", "b"});
  Matrix<float> values(2, 2);
  setTable<float>(values, {{100.0f, 0.0f}, {-5.0f, 100.0f}});
  Matrix<unsigned long> family(3, 3);
  setFamily(family, {1, 2});
  printMatrix(os, names, values, family, "D:", PID_dist{});
  EXPECT_EQ(os.str(),
            "\n\nD:\n\n"
            "             [  1] [  2]\n"
            "\n  1-a          0.0   inf"
            "\n  2-b          nan   0.0"
            "\n");
}

TEST_F(ReportTest, HundredthsTableKeepsTheStreamPrecision) {
  Matrix<char> names(2, 8);
  setNames(names, {"a", "b"});
  Matrix<float> values(2, 2);
  setTable<float>(values, {{105.0f, 2005.0f}, {2005.0f, 1015.0f}});
  Matrix<unsigned long> family(3, 3);
  setFamily(family, {1, 2});
  printMatrix(os, names, values, family, "S:", Div100{});
  EXPECT_EQ(os.str(),
            "\n\nS:\n\n"
            "             [  1] [  2]\n"
            "\n  1-a          1.0  20.0"
            "\n  2-b         20.0  10.1"
            "\n");
}

// --- lengths ---------------------------------------------------------------

TEST_F(ReportTest, LengthTableShowsResidueCountsOnTheDiagonal) {
  Matrix<char> names(3, 8);
  setNames(names, {"a", "b", "c"});
  Matrix<int> alilen(3, 3);
  setTable<int>(alilen, {{-7, 10, 20}, {10, -7, 12}, {20, 12, -7}});
  unsigned long nres[] = {5, 6, 7};
  Matrix<unsigned long> family(4, 4);
  setFamily(family, {2, 3, 1});
  printLens(os, names, alilen, nres, family, "L:");
  EXPECT_EQ(os.str(),
            "\n\nL:\n\n"
            "             [  1] [  2] [  3]\n"
            "\n  1-b            6    12    10"
            "\n  2-c           12     7    20"
            "\n  3-a           10    20     5"
            "\n");
}

// --- the statistics block --------------------------------------------------

TEST_F(ReportTest, StatisticsBlockOfTwoSequences) {
  Matrix<char> names(2, 8);
  setNames(names, {"first", "second"});
  Matrix<unsigned long> family(3, 3);
  setFamily(family, {2, 1});
  Matrix<float> pid(2, 2), dif(2, 2), sco(2, 2), fscore(2, 2);
  setTable<float>(pid, {{100.0f, 50.0f}, {50.0f, 100.0f}});
  setTable<float>(dif, {{0.0f, 3.0f}, {3.0f, 0.0f}});
  setTable<float>(sco, {{500.0f, 105.0f}, {105.0f, 600.0f}});
  setTable<float>(fscore, {{100.0f, 45.5f}, {45.5f, 100.0f}});
  Matrix<int> alilen(2, 2);
  setTable<int>(alilen, {{0, 10}, {10, 0}});
  unsigned long nres[] = {8, 9};

  printStats(os, names, family, pid, dif, sco, fscore, nres, alilen, 1015.0f);

  const std::string stars(76, '*');
  const std::string header = "\n\n             [  1] [  2]\n\n";
  EXPECT_EQ(os.str(),
            "\n\n" + stars + "\n************************ Multiple comparison statistics: *******************\n" +
                stars + "\n\nPercentage identities:" + header + "  1-second   100.0  50.0\n  2-first     50.0 100.0\n" +
                "\n\nDifferences: 100 * Normalized differences:" + header +
                "  1-second       0     3\n  2-first        3     0\n" +
                "\n\nLengths of alignment including overhangs, gaps:" + header +
                "  1-second       9    10\n  2-first       10     8\n" +
                "\n\nDistances from identities (D = -100.0 ln pids/100):" + header +
                "  1-second     0.0  69.3\n  2-first     69.3   0.0\n" +
                "\n\nOverall (sum of off-diagonal elements):     10.1" + header +
                "  1-second     6.0   1.0\n  2-first      1.0   5.0\n" +
                "\n\nNormalized alignment scores (NAS = 100.0 * Sreal/Smax):" + header +
                "  1-second   100.0  45.5\n  2-first     45.5 100.0\n" +
                "\n\nDistances based on NAS scores [-100.0 * ln(NAS/100.0)]:" + header +
                "  1-second     0.0  78.7\n  2-first     78.7   0.0\n" + "\n\n" + stars + "\n\n");
}

// --- the direct formatting of large tables -----------------------------------

// The run's log stream formats table cells itself; a stream in any other
// locale goes through the stream's own formatting. The same numbers must
// come out byte for byte either way.
class FormattingTest : public ::testing::Test {
 protected:
  FormattingTest() {
    setUpLog(direct);
    setUpLog(streamed);
    // Same punctuation as the classic locale, but another locale object.
    streamed.imbue(std::locale(std::locale::classic(), new std::numpunct<char>));
  }
  std::ostringstream direct;
  std::ostringstream streamed;
};

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// Halves that round to even, values that are not what they look like in
// binary, signed zeros, huge and tiny numbers, infinities and NaNs.
const std::vector<float> kAwkwardValues = {0.0f,
                                           -0.0f,
                                           0.05f,
                                           0.15f,
                                           0.25f,
                                           0.35f,
                                           2.5f,
                                           -2.5f,
                                           99.95f,
                                           100.0f,
                                           -999.95f,
                                           1e10f,
                                           1e-40f,
                                           kInfinity,
                                           -kInfinity,
                                           kNaN,
                                           -kNaN,
                                           123456.7f,
                                           -0.04f,
                                           0.45f,
                                           1.0f / 3.0f,
                                           66.65f,
                                           std::numeric_limits<float>::max()};

TEST_F(FormattingTest, TablesOfAwkwardValuesLookTheSameAsTheStreamWritesThem) {
  const unsigned long n = 5;
  Matrix<char> names(n, 8);
  setNames(names, {"a", "bb", "ccccccc", "", "e%x"});
  Matrix<float> values(n, n);
  for (unsigned long i = 0; i < n * n; ++i) values[i / n][i % n] = kAwkwardValues[i % kAwkwardValues.size()];
  Matrix<unsigned long> family(n + 1, n + 1);
  setFamily(family, {3, 1, 5, 2, 4});
  for (std::ostringstream* os : {&direct, &streamed}) {
    printMatrix(*os, n, names, values);
    printMatrix(*os, 0, names, values, family, "Precision 0:");
    printMatrix(*os, 1, names, values, family, "Precision 1:");
    printMatrix(*os, names, values, family, "Distances:", PID_dist{});
    printMatrix(*os, names, values, family, "Hundredths:", Div100{});
  }
  EXPECT_EQ(streamed.str(), direct.str());
}

TEST_F(FormattingTest, WideTablesLookTheSameAsTheStreamWritesThem) {
  const unsigned long n = 23;
  Matrix<char> names(n, 8);
  for (unsigned long r = 0; r < n; ++r) std::snprintf(names[r], 8, "n%lu", r % 100);
  Matrix<float> values(n, n);
  Matrix<int> lengths(n, n);
  std::vector<unsigned long> residues(n);
  for (unsigned long r = 0; r < n; ++r) {
    residues[r] = r * 100000UL;
    for (unsigned long c = 0; c < n; ++c) {
      values[r][c] = static_cast<float>(r * 37.3 - c * 11.1);
      lengths[r][c] = static_cast<int>(r * 1000) - static_cast<int>(c * 999);
    }
  }
  Matrix<unsigned long> family(n + 1, n + 1);
  std::vector<unsigned long> order;
  for (unsigned long r = n; r >= 1; --r) order.push_back(r);
  setFamily(family, order);
  for (std::ostringstream* os : {&direct, &streamed}) {
    printMatrix(*os, n, names, values);
    printLens(*os, names, lengths, residues.data(), family, "Lengths:");
    printStats(*os, names, family, values, values, values, values, residues.data(), lengths, 1.0e7f);
  }
  EXPECT_EQ(streamed.str(), direct.str());
}

}  // namespace
