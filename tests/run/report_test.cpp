// The run log's tables, byte for byte: every printer on small inputs that
// reach its edge cases (wrapping after ten columns, long names, values too
// wide for their cell, precision 0, infinities and NaN, the statistics
// block), compared with tests/data/run/report_tables.txt. Then the direct
// cell formatting against the stream's own on awkward values.
#include "run/report.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <iomanip>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/golden.h"

using KARVO::Matrix;

namespace {

void setUpLog(std::ostream& os) { os << std::fixed << std::right << std::setprecision(1); }

// n names (as given, cut to the name width), an n x n table of
// value(row, column) and a family whose row 0 is the joining order.
struct Tables {
  Tables(const std::vector<std::string>& nameList, float (*value)(unsigned long, unsigned long),
         const std::vector<unsigned long>& order = {})
      : n(nameList.size()), names(n, 12), values(n, n), lengths(n, n), family(n + 1, n + 1), nres(n) {
    for (unsigned long r = 0; r < n; ++r) {
      std::snprintf(names[r], names.cols(), "%s", nameList[r].c_str());
      nres[r] = 5 + r * 100000UL;
      for (unsigned long c = 0; c < n; ++c) {
        values[r][c] = value(r, c);
        lengths[r][c] = static_cast<int>(r * 1000) - static_cast<int>(c * 999);
      }
    }
    for (unsigned long c = 0; c < n + 1; ++c)
      family[0][c] = c < order.size() ? static_cast<std::uint32_t>(order[c]) : 0;
  }
  // Every printer once, into os.
  void printAll(std::ostream& os) {
    printMatrix(os, n, names, values);
    printMatrix(os, 0, names, values, family, "Precision 0:");
    printMatrix(os, 1, names, values, family, "Precision 1:");
    printMatrix(os, names, values, family, "Distances:", PID_dist{});
    printMatrix(os, names, values, family, "Hundredths:", Div100{});
    printLens(os, names, lengths, nres.data(), family, "Lengths:");
    printStats(os, names, family, values, values, values, values, nres.data(), lengths, 1015.0f);
  }
  unsigned long n;
  Matrix<char> names;
  Matrix<float> values;
  Matrix<int> lengths;
  FamilyTable family;
  std::vector<unsigned long> nres;
};

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kMax = std::numeric_limits<float>::max();

// Halves that round to even, values that are not what they look like in
// binary, signed zeros, huge and tiny numbers, infinities and NaNs.
const std::vector<float> kAwkward = {0.0f,   -0.0f,     0.05f,    0.15f, 0.25f,       0.35f,  2.5f,  -2.5f,
                                     99.95f, 100.0f,    -999.95f, 1e10f, 1e-40f,      kInf,   -kInf, kNaN,
                                     -kNaN,  123456.7f, -0.04f,   0.45f, 1.0f / 3.0f, 66.65f, kMax};

float identities(unsigned long r, unsigned long c) { return r == c ? 100.0f : r + c == 1 ? 50.0f : 0.0f; }
float wideValues(unsigned long r, unsigned long c) {
  return static_cast<float>(static_cast<double>(r) * 37.3 - static_cast<double>(c) * 11.1);
}
float awkward(unsigned long r, unsigned long c) { return kAwkward[(r * 5 + c) % kAwkward.size()]; }
float mixed(unsigned long r, unsigned long c) {
  const float cells[] = {100.0f, 1234.5f, -5.0f, 2005.0f, -123.4f, 0.0f, 1015.0f, 45.5f, 0.0f};
  return cells[(r * 3 + c) % 9];
}

TEST(ReportTest, TablesAreWrittenByteForByteAsTheGoldenFile) {
  std::ostringstream os;
  setUpLog(os);
  printIndices(os, 10, "Ten columns:");
  printIndices(os, 11, "Eleven columns:");
  Tables({"first", "second"}, identities, {2, 1}).printAll(os);
  Tables({"one", "two", "ABCDEFGHIJK"}, mixed, {3, 1, 2}).printAll(os);
  std::vector<std::string> many;
  std::vector<unsigned long> reversed;
  for (unsigned long r = 0; r < 12; ++r) many.push_back("s" + std::to_string(r + 1)), reversed.push_back(12 - r);
  Tables(many, wideValues, reversed).printAll(os);
  os << 2.0f;  // the stream's precision is back to 1
  ztest::expectGolden("run/report_tables.txt", os.str());
}

// The run's log stream formats table cells itself; a stream in any other
// locale goes through the stream's own formatting. The same bytes must come
// out either way.
TEST(ReportTest, DirectFormattingWritesWhatTheStreamWrites) {
  std::ostringstream direct, streamed;
  setUpLog(direct);
  setUpLog(streamed);
  // Same punctuation as the classic locale, but another locale object.
  streamed.imbue(std::locale(std::locale::classic(), new std::numpunct<char>));
  Tables awkwardTables({"a", "bb", "ccccccc", "", "e%x"}, awkward, {3, 1, 5, 2, 4});
  std::vector<std::string> many;
  std::vector<unsigned long> reversed;
  for (unsigned long r = 0; r < 23; ++r) many.push_back("n" + std::to_string(r)), reversed.push_back(23 - r);
  Tables wide(many, wideValues, reversed);
  for (std::ostringstream* os : {&direct, &streamed}) {
    awkwardTables.printAll(*os);
    wide.printAll(*os);
  }
  EXPECT_EQ(streamed.str(), direct.str());
}

}  // namespace
