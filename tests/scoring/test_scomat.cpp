#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "scoring/scomat.h"

namespace {

int entry(int matNo, int a, int b) { return ScoMat::mats[matNo * 441 + a * 21 + b]; }

// Reads the committed data file the table was generated from.
std::vector<std::array<int, 441>> readDataFile() {
  std::ifstream in(std::string(ZEMTRA_SOURCE_DIR) + "/scoring/data/substitution-matrices.tsv");
  std::vector<std::array<int, 441>> result;
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind("# ", 0) != 0) continue;
    std::getline(in, line);  // column letters
    std::array<int, 441> values{};
    for (int r = 0; r < 21; ++r) {
      std::getline(in, line);
      std::istringstream row(line);
      for (int c = 0; c < 21; ++c) row >> values[r * 21 + c];
    }
    result.push_back(values);
  }
  return result;
}

TEST(ScoMatTest, TablesEqualTheDataFileInFull) {
  const auto data = readDataFile();
  ASSERT_EQ(data.size(), 15u);
  for (int k = 0; k < 15; ++k)
    for (int i = 0; i < 441; ++i) ASSERT_EQ(ScoMat::mats[k * 441 + i], data[k][i]) << "matrix " << k << " cell " << i;
}

TEST(ScoMatTest, NamesInDialogOrder) {
  const char* names[] = {"STRMAT110", "DAYHOFF", "DOOLITTLE", "FITCH",    "GRANTHAM", "LEVIN",  "MCLACHLAN",  "MIYATA",
                         "RAO",       "RISLER",  "GONNET",    "HENIKOFF", "JONES",    "PAM120", "TEST MATRIX"};
  for (int k = 0; k < 15; ++k) EXPECT_STREQ(ScoMat::m_names[k], names[k]);
}

TEST(ScoMatTest, EveryMatrixSymmetricWithZeroNeutralRow) {
  for (int k = 0; k < 15; ++k)
    for (int a = 0; a < 21; ++a) {
      EXPECT_EQ(entry(k, a, 20), 0);
      EXPECT_EQ(entry(k, 20, a), 0);
      for (int b = 0; b < 21; ++b) ASSERT_EQ(entry(k, a, b), entry(k, b, a)) << k;
    }
}

TEST(ScoMatTest, DiagonalsAsPublished) {
  const int diagonals[15][20] = {
      {65, 100, 72, 72, 77, 71, 83, 72, 68, 68, 79, 70, 77, 74, 76, 66, 68, 68, 91, 78},
      {40, 80, 48, 48, 68, 52, 56, 52, 52, 56, 56, 40, 56, 48, 56, 40, 44, 48, 100, 72},
      {100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100},
      {100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100},
      {100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100},
      {50, 75, 75, 75, 75, 75, 75, 75, 75, 75, 75, 100, 100, 75, 75, 75, 75, 75, 75, 75},
      {89, 100, 89, 89, 100, 89, 89, 89, 89, 89, 89, 89, 89, 89, 89, 89, 89, 89, 100, 100},
      {100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100},
      {100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100},
      {100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100},
      {39, 86, 51, 45, 63, 61, 58, 47, 43, 47, 49, 46, 66, 41, 51, 38, 40, 44, 100, 67},
      {53, 87, 67, 60, 67, 67, 80, 53, 60, 53, 60, 67, 73, 60, 60, 53, 60, 53, 100, 73},
      {35, 80, 50, 50, 65, 50, 55, 45, 50, 50, 55, 40, 55, 50, 50, 35, 35, 45, 100, 70},
      {55, 85, 65, 65, 80, 65, 75, 70, 65, 65, 80, 60, 70, 70, 70, 55, 60, 65, 100, 80},
      {20, 0, 28, 19, 14, 19, 30, 11, 15, 11, -3, 28, 26, 19, 22, 24, 20, 7, 5, 18},
  };
  for (int k = 0; k < 15; ++k)
    for (int a = 0; a < 20; ++a) EXPECT_EQ(entry(k, a, a), diagonals[k][a]) << "matrix " << k << " residue " << a;
}

// Off-diagonal cells of the rescaled published matrices (the diagonals are
// checked above).
TEST(ScoMatTest, RescaledPublishedMatricesFollowTheirRules) {
  auto score = [](int k, char a, char b) { return ScoMat::pairScore(k, a, b); };
  EXPECT_EQ(score(1, 'C', 'W'), 0);
  EXPECT_EQ(score(1, 'A', 'F'), 16);
  EXPECT_EQ(score(1, 'N', 'F'), 16);
  EXPECT_EQ(score(1, 'G', 'P'), 28);
  EXPECT_EQ(score(1, 'N', 'P'), 28);
  EXPECT_EQ(score(13, 'C', 'W'), 0);
  EXPECT_EQ(score(0, 'C', 'P'), 0);
  EXPECT_EQ(score(14, 'C', 'W'), -33);
}

TEST(ScoMatTest, AmbiguityLettersScoreAsTheirResidueOrNeutral) {
  for (int k = 0; k < 15; ++k)
    for (char x = 'A'; x <= 'Z'; ++x) {
      EXPECT_EQ(ScoMat::pairScore(k, 'B', x), ScoMat::pairScore(k, 'D', x));
      EXPECT_EQ(ScoMat::pairScore(k, 'Z', x), ScoMat::pairScore(k, 'E', x));
      for (char neutral : {'J', 'O', 'U', 'X'}) EXPECT_EQ(ScoMat::pairScore(k, neutral, x), 0);
    }
}

TEST(ScoMatTest, CharactersOutsideTheAlphabetScoreNeutral) {
  for (int k = 0; k < 15; ++k)
    for (char other : {'a', 'z', '0', '*', '.', '?', static_cast<char>(0xC3)}) {
      EXPECT_EQ(ScoMat::residueIndex(other), 20);
      EXPECT_EQ(ScoMat::pairScore(k, other, 'W'), 0);
      EXPECT_EQ(ScoMat::pairScore(k, 'W', other), 0);
    }
}

}  // namespace
