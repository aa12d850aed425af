// The row kernels of the pair model, the consistency transformation, the
// expected accuracy and the group alignment against their cell-by-cell references, bit for bit, on
// related and unrelated sequences whose lengths hit every vector tail.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "consistency/groups.h"
#include "consistency/pair_hmm.h"
#include "consistency/posterior_set.h"

namespace zc = zemtra::consistency;

namespace {

struct Lcg {
  std::uint32_t state;
  std::uint32_t next(std::uint32_t bound) {
    state = state * 1103515245u + 12345u;
    return (state >> 16) % bound;
  }
};

// A copy of base with substitutions, insertions and deletions, about one
// edit in `every` residues; codes 0..20, so the neutral code occurs too.
std::vector<std::uint8_t> mutate(const std::vector<std::uint8_t>& base, std::uint32_t every, Lcg& r) {
  std::vector<std::uint8_t> out;
  for (std::uint8_t c : base) {
    switch (r.next(every)) {
      case 0:
        out.push_back(static_cast<std::uint8_t>(r.next(21)));
        break;
      case 1:
        break;
      case 2:
        out.push_back(c);
        out.push_back(static_cast<std::uint8_t>(r.next(20)));
        break;
      default:
        out.push_back(c);
    }
  }
  return out;
}

std::vector<std::uint8_t> randomSeq(std::size_t n, Lcg& r) {
  std::vector<std::uint8_t> s(n);
  for (auto& c : s) c = static_cast<std::uint8_t>(r.next(20));
  return s;
}

void expectSame(const zc::SparsePosterior& got, const zc::SparsePosterior& want) {
  ASSERT_EQ(got.cols, want.cols);
  ASSERT_EQ(got.rowStart, want.rowStart);
  ASSERT_EQ(got.entries.size(), want.entries.size());
  for (std::size_t k = 0; k < got.entries.size(); ++k) {
    ASSERT_EQ(got.entries[k].col, want.entries[k].col) << "entry " << k;
    ASSERT_EQ(std::memcmp(&got.entries[k].p, &want.entries[k].p, sizeof(float)), 0)
        << "entry " << k << ": " << got.entries[k].p << " vs " << want.entries[k].p;
  }
}

struct Model {
  const char* name;
  zc::PairHmmParams params;
  zc::MatchOdds odds;
};

std::vector<Model> models() {
  zc::MatchOdds flat{}, skewed{};
  Lcg r{7};
  for (std::size_t k = 0; k < flat.size(); ++k) {
    flat[k] = 1.0;
    skewed[k] = 0.05 + static_cast<double>(r.next(1000)) / 50.0;
  }
  return {{"trained", zc::defaultPairHmmParams(), zc::blosum62MatchOdds()},
          {"gappy", {0.5, 0.1, 0.15, 0.05, 0.03, 0.4, 0.8}, zc::blosum62MatchOdds()},
          {"flat odds", zc::defaultPairHmmParams(), flat},
          {"skewed odds", {0.3, 0.2, 0.15, 0.08, 0.01, 0.7, 0.95}, skewed}};
}

TEST(ExactKernels, PairPosteriorsByRowsEqualTheReference) {
  Lcg r{2024};
  const std::vector<std::pair<std::size_t, std::size_t>> lengths = {{1, 1}, {1, 9},   {9, 1},   {2, 3},   {5, 4},
                                                                    {7, 8}, {16, 17}, {31, 33}, {64, 63}, {257, 190}};
  zc::PairHmmWorkspace rowsWork, plainWork;
  for (const Model& model : models()) {
    for (const auto& [n, m] : lengths) {
      const auto x = randomSeq(n, r);
      for (bool related : {true, false}) {
        SCOPED_TRACE(std::string(model.name) + (related ? " related " : " unrelated ") + std::to_string(n) + " x " +
                     std::to_string(m));
        auto y = related ? mutate(x, 6, r) : randomSeq(m, r);
        if (y.empty()) y.push_back(3);
        const auto want = zc::pairPosteriorsPlain(x, y, model.params, model.odds, plainWork);
        expectSame(zc::pairPosteriors(x, y, model.params, model.odds, rowsWork), want);
        expectSame(zc::pairPosteriors(y, x, model.params, model.odds, rowsWork),
                   zc::pairPosteriorsPlain(y, x, model.params, model.odds, plainWork));
      }
    }
  }
}

// Positions of x mixed from one to four codes (weights summing to 1), a
// third of them plain, so the rows take both the shared and the summed path.
zc::ResidueProfile mixedProfile(const std::vector<std::uint8_t>& x, Lcg& r) {
  zc::ResidueProfile p;
  p.start.push_back(0);
  for (std::uint8_t c : x) {
    const std::uint32_t terms = r.next(3) == 0 ? 1 : 1 + r.next(4);
    double left = 1.0;
    for (std::uint32_t k = 0; k < terms; ++k) {
      const double w = k + 1 == terms ? left : left * (0.3 + 0.1 * r.next(5));
      p.code.push_back(static_cast<std::uint8_t>(k == 0 ? c : (c + 1 + 5 * k) % 21));
      p.weight.push_back(w);
      left -= w;
    }
    p.start.push_back(static_cast<std::uint32_t>(p.code.size()));
  }
  return p;
}

TEST(ExactKernels, ProfilePosteriorsByRowsEqualTheReference) {
  Lcg r{77};
  zc::PairHmmWorkspace rowsWork, plainWork;
  for (const Model& model : models()) {
    for (const auto& [n, m] : std::vector<std::pair<std::size_t, std::size_t>>{{1, 1}, {3, 7}, {17, 16}, {65, 70}}) {
      SCOPED_TRACE(std::string(model.name) + " " + std::to_string(n) + " x " + std::to_string(m));
      const auto x = randomSeq(n, r);
      auto y = mutate(x, 5, r);
      if (y.empty()) y.push_back(2);
      const zc::ResidueProfile px = mixedProfile(x, r), py = mixedProfile(y, r);
      expectSame(zc::profilePosteriors(px, py, model.params, model.odds, rowsWork),
                 zc::profilePosteriorsPlain(px, py, model.params, model.odds, plainWork));
      expectSame(zc::profilePosteriors(py, zc::plainProfile(x), model.params, model.odds, rowsWork),
                 zc::profilePosteriorsPlain(py, zc::plainProfile(x), model.params, model.odds, plainWork));
    }
  }
}

// A family of related sequences: every pair's posteriors, then one round of
// the transformation through all third sequences, and the expected
// accuracies before and after.
TEST(ExactKernels, TransformationAndAccuracyEqualTheReference) {
  Lcg r{99};
  const auto root = randomSeq(120, r);
  std::vector<std::vector<std::uint8_t>> seqs = {root};
  for (std::uint32_t every : {4u, 5u, 8u, 12u, 30u}) seqs.push_back(mutate(root, every, r));
  seqs.push_back(randomSeq(70, r));
  const std::size_t n = seqs.size();
  zc::PosteriorSet set(n);
  zc::PairHmmWorkspace work;
  for (std::size_t a = 0; a < n; ++a) {
    for (std::size_t b = a + 1; b < n; ++b)
      set.at(a, b) = zc::pairPosteriors(seqs[a], seqs[b], zc::defaultPairHmmParams(), zc::blosum62MatchOdds(), work);
  }
  set.mirrorUpper();
  std::vector<float> dense, densePlain;
  for (std::size_t a = 0; a < n; ++a) {
    for (std::size_t b = 0; b < n; ++b) {
      if (a == b) continue;
      SCOPED_TRACE(std::to_string(a) + " / " + std::to_string(b));
      std::vector<std::uint32_t> thirds;
      for (std::uint32_t z = 0; z < n; ++z) {
        if (z != a && z != b) thirds.push_back(z);
      }
      const auto got = zc::transformPair(set, a, b, thirds, dense);
      expectSame(got, zc::transformPairPlain(set, a, b, thirds, densePlain));
      std::vector<float> weights(n);
      for (std::size_t z = 0; z < n; ++z) weights[z] = 0.25f + 0.5f * static_cast<float>(z % 3);
      expectSame(zc::transformPair(set, a, b, thirds, dense, weights),
                 zc::transformPairPlain(set, a, b, thirds, densePlain, weights));
      EXPECT_GT(got.entries.size(), 0u);
      EXPECT_EQ(zc::expectedAccuracy(set.get(a, b)), zc::expectedAccuracyPlain(set.get(a, b)));
      EXPECT_EQ(zc::expectedAccuracy(got), zc::expectedAccuracyPlain(got));
    }
  }
}

}  // namespace

namespace {

// Rows first .. first + count - 1 of lengths up to `width`, each row's
// residues in random ascending columns of a group of that width.
zc::Group randomGroup(std::uint32_t first, std::uint32_t count, std::uint32_t width, Lcg& r,
                      std::vector<std::uint32_t>& lengths) {
  zc::Group g;
  g.width = width;
  for (std::uint32_t k = 0; k < count; ++k) {
    g.members.push_back(first + k);
    std::vector<std::uint32_t>& cols = g.columns.emplace_back();
    for (std::uint32_t c = 0; c < width; ++c) {
      if (r.next(3) != 0) cols.push_back(c);
    }
    lengths[first + k] = static_cast<std::uint32_t>(cols.size());
  }
  return g;
}

}  // namespace

// Scores in quarters, so ties between pairing and either gap are common;
// widths across the vector tails; one workspace for every merge, so a
// table left dirty by one merge would show in the next.
TEST(ExactKernels, GroupMergeByRowsEqualsTheReference) {
  Lcg r{4242};
  zc::MergeWork work;
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    const std::uint32_t ka = 1 + r.next(4), kb = 1 + r.next(4);
    std::vector<std::uint32_t> lengths(ka + kb);
    const zc::Group a = randomGroup(0, ka, 1 + r.next(round < 30 ? 12 : 70), r, lengths);
    const zc::Group b = randomGroup(ka, kb, 1 + r.next(round < 30 ? 12 : 70), r, lengths);
    zc::PosteriorSet post(ka + kb);
    for (std::uint32_t x = 0; x < ka; ++x) {
      for (std::uint32_t y = ka; y < ka + kb; ++y) {
        zc::SparsePosterior& p = post.at(x, y);
        p.cols = lengths[y];
        p.rowStart.assign(lengths[x] + 1, 0);
        for (std::uint32_t i = 0; i < lengths[x]; ++i) {
          for (std::uint32_t j = 0; j < lengths[y]; ++j) {
            if (r.next(4) == 0) p.entries.push_back({j, 0.25f * static_cast<float>(1 + r.next(4))});
          }
          p.rowStart[i + 1] = static_cast<std::uint32_t>(p.entries.size());
        }
      }
    }
    post.mirrorUpper();
    zc::columnPairScores(a, b, post, work);
    const std::vector<double> dense(work.score.begin(),
                                    work.score.begin() + static_cast<std::ptrdiff_t>(std::size_t{a.width} * b.width));
    double fast = -1, plain = -1;
    const zc::Group got = zc::mergeGroups(a, b, work, fast);
    const zc::Group want = zc::mergeGroupsPlain(a, b, dense, plain);
    EXPECT_EQ(fast, plain);
    EXPECT_EQ(got.width, want.width);
    EXPECT_EQ(got.members, want.members);
    EXPECT_EQ(got.columns, want.columns);
    EXPECT_TRUE(std::all_of(work.score.begin(), work.score.end(), [](double v) { return v == 0.0; }));
  }
}
