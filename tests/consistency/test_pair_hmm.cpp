// The pair model against a brute-force sum over every state path of tiny
// pairs, and the consistency transformation on a case worked by hand.
#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "consistency/pair_hmm.h"
#include "consistency/posterior_set.h"

namespace zc = zemtra::consistency;

namespace {

// Every path of the model over x and y: total weight, weight of the paths
// that match residue pair (i, j), and weighted transition counts.
struct Brute {
  const std::vector<std::uint8_t>& x;
  const std::vector<std::uint8_t>& y;
  const zc::PairHmmParams& p;
  const zc::MatchOdds& odds;
  double total = 0;
  std::map<std::pair<std::size_t, std::size_t>, double> match;
  zc::TransitionCounts counts;

  // State 0 match, 1/2 short insert in x/y, 3/4 long insert in x/y, 5 begin.
  double trans(int from, int to) const {
    const double open[5] = {0, p.openShort, p.openShort, p.openLong, p.openLong};
    const double start[5] = {p.startMatch, p.startShort, p.startShort, p.startLong, p.startLong};
    if (from == 5) return start[to];
    if (from == 0) return to == 0 ? 1 - 2 * p.openShort - 2 * p.openLong : open[to];
    const double extend = from <= 2 ? p.extendShort : p.extendLong;
    return to == from ? extend : (to == 0 ? 1 - extend : 0.0);
  }
  void walk(std::size_t i, std::size_t j, int state, double weight, std::vector<int>& path,
            std::vector<std::pair<std::size_t, std::size_t>>& matched) {
    if (i == x.size() && j == y.size()) {
      total += weight;
      for (const auto& m : matched) match[m] += weight;
      for (std::size_t k = 0; k + 1 < path.size(); ++k) addCount(path[k], path[k + 1], weight);
      return;
    }
    for (int next = 0; next < 5; ++next) {
      const bool inX = next == 0 || next == 1 || next == 3, inY = next == 0 || next == 2 || next == 4;
      if ((inX && i == x.size()) || (inY && j == y.size()) || trans(state, next) == 0) continue;
      const double e = next == 0 ? odds[x[i] * 21u + y[j]] : 1.0;
      path.push_back(next);
      if (next == 0) matched.emplace_back(i, j);
      walk(i + inX, j + inY, next, weight * trans(state, next) * e, path, matched);
      if (next == 0) matched.pop_back();
      path.pop_back();
    }
  }
  void addCount(int from, int to, double w) {
    zc::TransitionCounts& c = counts;
    if (from == 5)
      (to == 0 ? c.startMatch : (to <= 2 ? c.startShort : c.startLong)) += w;
    else if (from == 0)
      (to == 0 ? c.matchMatch : (to <= 2 ? c.openShort : c.openLong)) += w;
    else if (from <= 2)
      (to == 0 ? c.shortClose : c.shortStay) += w;
    else
      (to == 0 ? c.longClose : c.longStay) += w;
  }
};

// Both ways of computing posteriors: the row kernels and the cell-by-cell
// reference. Counts come from the reference path either way.
using PosteriorFn = zc::SparsePosterior (*)(const std::vector<std::uint8_t>&, const std::vector<std::uint8_t>&,
                                            const zc::PairHmmParams&, const zc::MatchOdds&, zc::PairHmmWorkspace&,
                                            zc::TransitionCounts*);

class PairHmmImpl : public testing::TestWithParam<PosteriorFn> {};

INSTANTIATE_TEST_SUITE_P(Kernels, PairHmmImpl, testing::Values(&zc::pairPosteriors, &zc::pairPosteriorsPlain),
                         [](const auto& param) { return std::string(param.index == 0 ? "Rows" : "Plain"); });

TEST_P(PairHmmImpl, PosteriorsAndCountsMatchEveryPathSummed) {
  const zc::PairHmmParams p{0.5, 0.1, 0.15, 0.05, 0.03, 0.4, 0.8};
  const auto& odds = zc::blosum62MatchOdds();
  const std::vector<std::pair<const char*, const char*>> cases = {
      {"W", "W"}, {"AC", "W"}, {"WCA", "WA"}, {"HKW", "KWHX"}, {"MWY", "MWY"}};
  zc::PairHmmWorkspace work;
  for (const auto& [a, b] : cases) {
    SCOPED_TRACE(std::string(a) + " / " + b);
    const auto x = zc::encodeResidues(a), y = zc::encodeResidues(b);
    Brute brute{x, y, p, odds, 0.0, {}, {}};
    std::vector<int> path{5};
    std::vector<std::pair<std::size_t, std::size_t>> matched;
    brute.walk(0, 0, 5, 1.0, path, matched);
    zc::TransitionCounts counts;
    zc::pairPosteriors(x, y, p, odds, work, &counts);
    const zc::SparsePosterior post = GetParam()(x, y, p, odds, work, nullptr);
    ASSERT_EQ(post.rows(), x.size());
    EXPECT_NEAR(counts.logLikelihood, std::log(brute.total), 1e-9);
    for (std::size_t i = 0; i < x.size(); ++i) {
      std::map<std::size_t, float> row;
      for (auto k = post.rowStart[i]; k < post.rowStart[i + 1]; ++k) row[post.entries[k].col] = post.entries[k].p;
      for (std::size_t j = 0; j < y.size(); ++j) {
        const double expected = brute.match[{i, j}] / brute.total;
        EXPECT_NEAR(row.count(j) ? row[j] : 0.0, expected >= zc::kPosteriorCutoff ? expected : 0.0, 1e-6);
      }
    }
    const auto& c = brute.counts;
    const double want[] = {c.startMatch, c.startShort, c.startLong,  c.matchMatch, c.openShort,
                           c.openLong,   c.shortStay,  c.shortClose, c.longStay,   c.longClose};
    const double got[] = {counts.startMatch, counts.startShort, counts.startLong,  counts.matchMatch, counts.openShort,
                          counts.openLong,   counts.shortStay,  counts.shortClose, counts.longStay,   counts.longClose};
    for (int k = 0; k < 10; ++k) EXPECT_NEAR(got[k], want[k] / brute.total, 1e-9) << "count " << k;
  }
}

TEST_P(PairHmmImpl, LongPairsStayFiniteAndRowsSumToAtMostOne) {
  std::string a;
  for (std::uint32_t k = 0, r = 12345; k < 1500; ++k, r = r * 1103515245u + 12345u) {
    a.push_back("ACDEFGHIKLMNPQRSTVWY"[(r >> 16) % 20]);
  }
  const std::string b = a.substr(100) + a.substr(0, 80);
  zc::PairHmmWorkspace work;
  const auto post = GetParam()(zc::encodeResidues(a), zc::encodeResidues(b), zc::defaultPairHmmParams(),
                               zc::blosum62MatchOdds(), work, nullptr);
  for (std::uint32_t i = 0; i < post.rows(); ++i) {
    double row = 0;
    for (auto k = post.rowStart[i]; k < post.rowStart[i + 1]; ++k) row += post.entries[k].p;
    ASSERT_LE(row, 1.0 + 1e-5) << "row " << i;
  }
  EXPECT_GT(post.sum(), 1000.0);  // the shared 1,400 residues align
}

// x = AB, y = CD, z = EF. P_xy pairs A-C at 0.5; P_xz pairs A-E at 0.8 and
// B-F at 1; P_zy pairs E-C at 1 and F-D at 0.6. Through z: A-C 0.8, B-D 0.6.
// Result (2 P_xy + P_xz P_zy) / 3: A-C (1 + 0.8) / 3 = 0.6, B-D 0.6 / 3 = 0.2.
TEST(Consistency, TransformThroughOneThirdSequence) {
  zc::PosteriorSet set(3);
  auto sparse = [](std::uint32_t cols, std::vector<std::vector<zc::SparsePosterior::Entry>> rows) {
    zc::SparsePosterior m;
    m.cols = cols;
    m.rowStart = {0};
    for (const auto& r : rows) {
      m.entries.insert(m.entries.end(), r.begin(), r.end());
      m.rowStart.push_back(static_cast<std::uint32_t>(m.entries.size()));
    }
    return m;
  };
  set.at(0, 1) = sparse(2, {{{0, 0.5f}}, {}});
  set.at(0, 2) = sparse(2, {{{0, 0.8f}}, {{1, 1.0f}}});
  set.at(2, 1) = sparse(2, {{{0, 1.0f}}, {{1, 0.6f}}});
  std::vector<float> dense;
  const auto out = zc::transformPair(set, 0, 1, {2}, dense);
  ASSERT_EQ(out.entries.size(), 2u);
  EXPECT_EQ(out.rowStart, (std::vector<std::uint32_t>{0, 1, 2}));
  EXPECT_EQ(out.entries[0].col, 0u);
  EXPECT_NEAR(out.entries[0].p, 0.6f, 1e-6);
  EXPECT_EQ(out.entries[1].col, 1u);
  EXPECT_NEAR(out.entries[1].p, 0.2f, 1e-6);
  // Weighted: z counts 0.5, so (2 P_xy + 0.5 P_xz P_zy) / 2.5.
  const auto weighted = zc::transformPair(set, 0, 1, {2}, dense, {1.0f, 1.0f, 0.5f});
  ASSERT_EQ(weighted.entries.size(), 2u);
  EXPECT_NEAR(weighted.entries[0].p, (1.0f + 0.4f) / 2.5f, 1e-6);
  EXPECT_NEAR(weighted.entries[1].p, 0.3f / 2.5f, 1e-6);
  const auto back = zc::transpose(zc::transpose(set.get(0, 2)));
  EXPECT_EQ(back.rowStart, set.get(0, 2).rowStart);
  EXPECT_EQ(back.entries.size(), 2u);
}

}  // namespace
