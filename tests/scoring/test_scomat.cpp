#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "scoring/scomat.h"

namespace {

int entry(int matNo, int a, int b) { return ScoMat::mats[matNo * 441 + a * 21 + b]; }

// Reads the committed data file the tables were generated from: each
// matrix's heading line "# <number> <name>", then its values.
std::vector<std::array<int, 441>> readDataFile(std::vector<std::string>& names) {
  std::ifstream in(std::string(ZEMTRA_SOURCE_DIR) + "/scoring/data/substitution-matrices.tsv");
  std::vector<std::array<int, 441>> result;
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind("# ", 0) != 0) continue;
    names.push_back(line.substr(line.find(' ', 2) + 1));
    std::getline(in, line);  // column letters
    std::array<int, 441> values{};
    for (int r = 0; r < 21; ++r) {
      std::getline(in, line);
      std::istringstream row(line);
      for (std::size_t c = 0; c < 21; ++c) row >> values[static_cast<std::size_t>(r) * 21 + c];
    }
    result.push_back(values);
  }
  return result;
}

TEST(ScoMatTest, TablesAndNamesEqualTheDataFileInFull) {
  std::vector<std::string> names;
  const auto data = readDataFile(names);
  ASSERT_EQ(data.size(), 15u);
  for (int k = 0; k < 15; ++k) {
    EXPECT_EQ(names[static_cast<std::size_t>(k)], ScoMat::m_names[k]);
    for (int i = 0; i < 441; ++i)
      ASSERT_EQ(ScoMat::mats[k * 441 + i], data[static_cast<std::size_t>(k)][static_cast<std::size_t>(i)])
          << "matrix " << k << " cell " << i;
  }
}

TEST(ScoMatTest, EveryMatrixSymmetricWithZeroNeutralRow) {
  for (int k = 0; k < 15; ++k)
    for (int a = 0; a < 21; ++a) {
      EXPECT_EQ(entry(k, a, 20), 0);
      EXPECT_EQ(entry(k, 20, a), 0);
      for (int b = 0; b < 21; ++b) ASSERT_EQ(entry(k, a, b), entry(k, b, a)) << k;
    }
}

// B and Z score as D and E; J, O, U, X and anything outside the alphabet are
// neutral.
TEST(ScoMatTest, AmbiguityLettersScoreAsTheirResidueAndOthersNeutral) {
  for (int k = 0; k < 15; ++k) {
    for (char x = 'A'; x <= 'Z'; ++x) {
      EXPECT_EQ(ScoMat::pairScore(k, 'B', x), ScoMat::pairScore(k, 'D', x));
      EXPECT_EQ(ScoMat::pairScore(k, 'Z', x), ScoMat::pairScore(k, 'E', x));
      for (char neutral : {'J', 'O', 'U', 'X', 'a', 'z', '0', '*', '.', '?', static_cast<char>(0xC3)}) {
        EXPECT_EQ(ScoMat::pairScore(k, neutral, x), 0);
        EXPECT_EQ(ScoMat::pairScore(k, x, neutral), 0);
      }
    }
    for (char other : {'a', 'z', '0', '*', '.', '?', static_cast<char>(0xC3)})
      EXPECT_EQ(ScoMat::residueIndex(other), 20);
  }
}

}  // namespace
