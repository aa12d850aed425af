// The tree phase with the incremental cluster distances against the
// reference's full rescans: the log, the family table, the join history and
// the re-aligned rows, for random distance tables full of ties, prealigned
// blocks, and values that only the rescan treats correctly.
#include <gtest/gtest.h>

#include <cmath>
#include <iomanip>
#include <limits>
#include <memory>
#include <sstream>

#include "exactness_fixtures.h"
#include "tests/support/working_rows.h"
#include "tree/tree_kv.h"

namespace {

struct TreeCase {
  std::vector<std::string> rows;
  std::vector<float> distances;  // ns x ns, row-major
  unsigned fixed = 0;
  int matNo = 0;
  int gap = 10;
};

// Runs the tree phase and describes everything it leaves behind. The rows
// get room for every possible join, so no run ends the process.
std::string treeAndDescribe(const TreeCase& c, const zemtra::EngineOptions& engine) {
  const unsigned long ns = c.rows.size();
  unsigned long total = 0;
  for (const std::string& r : c.rows) total += r.size();
  const unsigned long width = total + 2;
  ztest::WorkingRows rows(c.rows, width);
  KARVO::Matrix<char> names(ns, 8);
  KARVO::Matrix<float> fscore(ns, ns);
  FamilyTable family(ns + 1, ns + 1);
  KARVO::Matrix<int> cmp(width, width);
  KARVO::Matrix<long> path(2, width);
  for (unsigned long r = 0; r < ns; ++r) {
    const std::string name = "T" + std::to_string(r + 1);
    std::snprintf(names[r], 8, "%s", name.c_str());
    for (unsigned long k = 0; k < ns; ++k) fscore[r][k] = c.distances[r * ns + k];
  }
  std::ostringstream log;
  log << std::fixed << std::right << std::setprecision(1);
  int alen = -1;
  JoinHistory history;
  tree_kv(log, c.matNo, c.gap, &alen, names, fscore, family, cmp, rows.seqs, rows.len.data(), path, c.fixed, &history,
          engine);

  std::ostringstream out;
  out << "alen " << alen << "\nfamily\n";
  for (unsigned long r = 0; r <= ns; ++r) {
    for (unsigned long k = 0; k <= ns; ++k) out << family[r][k] << ' ';
    out << '\n';
  }
  out << "joins";
  for (const auto& [a, b] : history.joins) out << ' ' << a << '-' << b;
  out << "\ndistances" << std::hexfloat;
  for (const float d : history.distances) out << ' ' << d;
  out << std::defaultfloat << "\nrows\n";
  for (unsigned long r = 0; r < ns; ++r) out << rows.len[r] << ' ' << std::string(rows.seqs[r], width) << '\n';
  out << "log\n" << log.str();
  return out.str();
}

// Prealigned rows must share one length; the others are free.
TreeCase randomCase(std::mt19937& rng, const std::vector<float>& values) {
  TreeCase c;
  const int ns = exact::uniform(rng, 2, 24);
  c.fixed = exact::chance(rng, 0.3) ? static_cast<unsigned>(exact::uniform(rng, 0, ns)) : 0;
  const int blockWidth = exact::uniform(rng, 1, 12);
  for (int r = 0; r < ns; ++r) {
    const int width = static_cast<unsigned>(r) < c.fixed ? blockWidth : exact::uniform(rng, 1, 12);
    c.rows.push_back(exact::randomRow(rng, width, "ACDEFGHIKLMNPQRSTVWY", 0.2));
  }
  c.distances.assign(static_cast<std::size_t>(ns * ns), 0.0f);
  for (int a = 0; a < ns; ++a) {
    for (int b = a + 1; b < ns; ++b) {
      const float d = values[static_cast<std::size_t>(exact::uniform(rng, 0, int(values.size()) - 1))];
      c.distances[static_cast<std::size_t>(a * ns + b)] = d;
      c.distances[static_cast<std::size_t>(b * ns + a)] = d;
    }
  }
  c.matNo = exact::uniform(rng, 0, 13);
  c.gap = exact::chance(rng, 0.5) ? 0 : exact::uniform(rng, 1, 100);
  return c;
}

// Random tables drawn from value sets: ties; thirds and tenths, which do not
// add up exactly in single precision, so the summation order decides the
// last bit of every mean; negative and infinite values; and values just
// below the joined mark, which the reference never refreshes.
TEST(TreeExactness, RandomTablesGiveTheReferenceJoins) {
  const float inf = std::numeric_limits<float>::infinity();
  const struct {
    unsigned seed;
    std::vector<float> values;
    int cases;
  } sets[] = {{404, {10.0f, 20.0f, 20.0f, 30.0f}, 150},
              {405, {0.1f, 0.2f, 0.3f, 1.0f / 3.0f, 2.0f / 3.0f, 33.3f, 998.9f}, 150},
              {406, {-inf, -5.5f, 0.0f, -0.0f, 12.25f, 999.0f}, 100},
              {407, {5.0f, 999.25f, 999.5f, 40.0f}, 100}};
  for (const auto& set : sets) {
    std::mt19937 rng(set.seed);
    for (int n = 0; n < set.cases; ++n) {
      const TreeCase c = randomCase(rng, set.values);
      ASSERT_EQ(treeAndDescribe(c, {true, 0}), treeAndDescribe(c, {false, 0})) << "seed " << set.seed << ", case " << n;
    }
  }
}

TEST(TreeExactness, LargeTiedTablesGiveTheReferenceJoins) {
  // Larger than any random case above, and full of ties.
  std::mt19937 rng(91);
  for (unsigned long ns : {40ul, 75ul}) {
    TreeCase c;
    c.rows.assign(ns, "MK");
    c.distances.assign(ns * ns, 0.0f);
    for (unsigned long a = 0; a < ns; ++a)
      for (unsigned long b = a + 1; b < ns; ++b)
        c.distances[a * ns + b] = c.distances[b * ns + a] = std::vector<float>{1.0f, 2.0f, 2.0f, 3.0f}[rng() % 4];
    ASSERT_EQ(treeAndDescribe(c, {true, 0}), treeAndDescribe(c, {false, 0})) << ns << " rows";
  }
}

}  // namespace
