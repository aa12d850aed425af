// The whole method on a small family: same bytes for any thread count,
// refinement that never lowers the objective, a prealigned block kept.
#include <gtest/gtest.h>

#include <algorithm>

#include "consistency/consistency.h"
#include "consistency/groups.h"

namespace zc = zemtra::consistency;

namespace {

const std::vector<std::string> kFamily = {
    "MKTAYIAKQRQISFVKSHFSRQLEERLGLIEVQAPILSRVGDGTQDNLSGAEKAVQVKVKALPDAQFEVVHSLAKWKRQTLGQHDFSAGEGLYTHMKALRPDEDRLSPLHSVYV"
    "DQWDWERVMGDGERQFSTLKSTVEAIWAGIKATEAAVSEEFGLAPFLPDQIHFVHSQELLSRYPDLDAKGRERAIAKDLGAVFLVGIGGKLSDGHRHDVRAPDYDDWSTPSELG"
    "HAGLNGDILVWNPVLEDAFELSSMGIRVDADTLKHQLALTGDEDRLELEWHQALLRGEMPQTIGGGIGQSRLTMLLLQLPHIGQVQCGVWPAACRESGRLRA",
    "MKTAYIAKQRQISFVKSHFSRQAEERLGLIEVQAPILSRVGDGTQDNLSGEEKAVQVKVKALPDAQFEVVHSLAKWKRQTLGQHDFSAGEGLYTHMKALRPDEDRLSPLHSVYV"
    "DQWDWERVMGDGERQFSTLKSTVEAIWAGIKATEAAVSEEFGLAPFLPDQIHFVHSQELLSRYPDLDAKGRERAIAKDLGAVFLVGIGGKLSDGHRHDVRAPDYDDWSTPSELG"
    "HAGLNGDILVWNPVLEDAFELSSMGIRVDADTLKHQLALTGDEDRLELEWHQALLRGEMPQTIGGGIGQSRLTMLLLQLPHIGQVQCGVWPAACRESGRLRA",
    "MSKAYVAKRRQISFVKSHFSRQLEERLGLVEVQAPILSRVGDGTQDNLSGAEKAVKVKVKALPDAQFEVVHSLAKWKRQTLGQHDFSAGEGLYTHMKALRPDEDRLSPLHSVYV"
    "DQWDWEKVMGDGDRQFSTLKSTVEAIWAGIKATEAAVSEEFGL",
    "MKTAYIAKQRQISFVKSHFSRQLEERLGLIEVQAPILSRVGDGTQDNLSGAEKAVQVKVKALPDAQFEVVHSLAKWKRQTLGQHDFSAGEGLYTHMKALRPDEDRLSPLHSVYV"
    "DQWDWERVMGDGERQFSTLKSTVEAIWAGIKATEAAVSEEF",
    "MKTAYIAKQRQISFVKSHFSRQLEERLGIEVQAPILSRVGDGTQDNLSGAEKAVQVKVKALPDAQFEVVHSLAKWKRQTLGQHDFSAGEGLYTHMKALRPDEDRLSPLHSVYVD"
    "QWDWERVMGDGERQFSTLKSTVEAIWAGIKATEAAVSEEFGLAPFLPDQIHFVHSQELL",
    "MQTAYIAKQRQISFVKSHFSRQLEERLGLIEVQAPILSRVGDGTQDNLSGAEKAVQVKVKALPDAQFEVVHSLAKWKRQTLGQHDFSAGEGLYTHMKALRPDEDRLSPLHSVYV"
    "DQWDWERVMGDGERQFSTL",
    "SRQLEERLGLIEVQAPILSRVGDGTQDNLSGAEKAVQVKVKALPDAQFEVVHSLAKWKRQTLGQHDFSAGEGLYTHMKALRPDEDRLSPLHSVYVDQWDWE",
    "",
};

std::string degap(const std::string& row) {
  std::string s;
  std::copy_if(row.begin(), row.end(), std::back_inserter(s), [](char c) { return c != '-' && c != '.'; });
  return s;
}

void expectWellFormed(const zc::Result& r, const std::vector<std::string>& input) {
  ASSERT_EQ(r.rows.size(), input.size());
  for (std::size_t k = 0; k < input.size(); ++k) {
    EXPECT_EQ(r.rows[k].size(), r.rows[0].size());
    EXPECT_EQ(degap(r.rows[k]), degap(input[k])) << "row " << k;
  }
  for (std::size_t c = 0; c < r.rows[0].size(); ++c) {
    EXPECT_TRUE(std::any_of(r.rows.begin(), r.rows.end(), [&](const std::string& row) { return row[c] != '-'; }));
  }
  ASSERT_EQ(r.columnConfidence.size(), r.rows[0].size());
  for (float c : r.columnConfidence) EXPECT_TRUE(c >= 0.0f && c <= 1.0f);
  EXPECT_EQ(r.tree.size(), input.size() - 1);
}

TEST(ConsistencyAlign, SameBytesForOneAndTwoThreadsAndRefinementNeverLosesObjective) {
  zc::Options one;
  one.seed = 7;
  zc::Options two = one;
  two.threads = 2;
  const zc::Result a = zc::align(kFamily, 0, one), b = zc::align(kFamily, 0, two);
  expectWellFormed(a, kFamily);
  EXPECT_EQ(a.rows, b.rows);
  EXPECT_EQ(a.columnConfidence, b.columnConfidence);
  EXPECT_EQ(a.objective, b.objective);
  ASSERT_EQ(a.tree.size(), b.tree.size());
  for (std::size_t k = 0; k < a.tree.size(); ++k) {
    EXPECT_EQ(a.tree[k].left, b.tree[k].left);
    EXPECT_EQ(a.tree[k].distance, b.tree[k].distance);
  }
  EXPECT_EQ(a.tree.back().right, 7);  // the empty row joins last, at distance 1
  EXPECT_EQ(a.tree.back().distance, 1.0f);
  EXPECT_EQ(a.rows[7], std::string(a.rows[0].size(), '-'));
  zc::Options few = one;  // seven rows with residues: each pair goes through the two nearest of each side
  few.thirdSequences = 4;
  zc::Options fewTwo = few;
  fewTwo.threads = 2;
  const zc::Result c = zc::align(kFamily, 0, few);
  expectWellFormed(c, kFamily);
  EXPECT_EQ(c.rows, zc::align(kFamily, 0, fewTwo).rows);
  EXPECT_NE(c.objective, a.objective);
  zc::Options single = one;  // one alignment, so both objectives use the same posteriors
  single.profilePasses = 0;
  zc::Options plain = single;
  plain.refineIterations = 0;
  EXPECT_GE(zc::align(kFamily, 0, single).objective, zc::align(kFamily, 0, plain).objective);
  EXPECT_EQ(a.alignments, 2);
  EXPECT_EQ(a.refinementTried, zc::Options{}.refineIterations + zc::Options{}.refineIterations / 4);
}

TEST(ConsistencyAlign, RefinementKeepsOnlyClearImprovements) {
  EXPECT_FALSE(zc::acceptRefinement(50.0, 50.0));
  EXPECT_FALSE(zc::acceptRefinement(50.0, 50.0 + 1e-9));
  EXPECT_FALSE(zc::acceptRefinement(50.0, 49.0));
  EXPECT_TRUE(zc::acceptRefinement(50.0, 50.01));
  EXPECT_TRUE(zc::acceptRefinement(0.0, 0.001));
}

// A residue keeps its own weight and shares the rest among the other
// residues of its column by their rows' weights, the pair's other row left
// out; alone, it is its own code.
TEST(ConsistencyAlign, ColumnProfilesShareEachColumnByRowWeightLeavingThePartnerOut) {
  zc::Group g;
  g.members = {0, 1, 2};
  g.columns = {{0, 1}, {0}, {0, 2}};
  g.width = 3;
  const std::vector<std::vector<std::uint8_t>> codes = {{0, 1}, {0}, {4, 2}, {}};
  const zc::ColumnProfiles profiles(g, codes, {1.0f, 1.0f, 2.0f, 0.0f}, 0.3);
  zc::ResidueProfile p;
  profiles.profileOf(3, 0, p);
  EXPECT_EQ(p.size(), 0u);
  profiles.profileOf(0, 3, p);  // row 3 has no residues: nothing left out
  EXPECT_EQ(p.start, (std::vector<std::uint32_t>{0, 2, 3}));
  EXPECT_EQ(p.code, (std::vector<std::uint8_t>{0, 4, 1}));
  EXPECT_DOUBLE_EQ(p.weight[0], 0.3 + 0.7 / 3.0);
  EXPECT_DOUBLE_EQ(p.weight[1], 0.7 * 2.0 / 3.0);
  EXPECT_EQ(p.weight[2], 1.0);
  profiles.profileOf(0, 2, p);
  EXPECT_EQ(p.code, (std::vector<std::uint8_t>{0, 1}));
  EXPECT_DOUBLE_EQ(p.weight[0], 1.0);
  profiles.profileOf(1, 0, p);
  EXPECT_EQ(p.code, (std::vector<std::uint8_t>{0, 4}));
  EXPECT_DOUBLE_EQ(p.weight[0], 0.3);
  EXPECT_DOUBLE_EQ(p.weight[1], 0.7);
  profiles.profileOf(2, 1, p);
  EXPECT_EQ(p.code, (std::vector<std::uint8_t>{0, 4, 2}));
  EXPECT_DOUBLE_EQ(p.weight[0], 0.7);
  EXPECT_DOUBLE_EQ(p.weight[1], 0.3);
  EXPECT_EQ(p.weight[2], 1.0);
}

// Every edge of the unrooted guide tree once: leaves last row first, then
// the inner edges from the root down; the prealigned block is one unit.
TEST(ConsistencyAlign, TreeSplitsVisitEachEdgeOnce) {
  using Splits = std::vector<std::vector<bool>>;
  const std::vector<zc::TreeJoin> balanced = {{0, 1, 0.1f}, {2, 3, 0.2f}, {4, 5, 0.5f}};
  EXPECT_EQ(zc::treeSplits(balanced, 4, 0), (Splits{{false, false, false, true},
                                                    {false, false, true, false},
                                                    {false, true, false, false},
                                                    {true, false, false, false},
                                                    {true, true, false, false}}));
  const std::vector<zc::TreeJoin> withBlock = {{0, 1, 0.0f}, {4, 2, 0.3f}, {5, 3, 0.6f}};
  EXPECT_EQ(zc::treeSplits(withBlock, 4, 2), (Splits{{false, true, false}, {true, true, false}, {true, false, false}}));
  const std::vector<zc::TreeJoin> chain = {{0, 1, 0.1f}, {5, 2, 0.2f}, {6, 3, 0.3f}, {7, 4, 0.4f}};
  EXPECT_EQ(zc::treeSplits(chain, 5, 0).size(), 7u);
}

TEST(ConsistencyAlign, PrealignedBlockKeepsItsColumns) {
  // A deliberately odd block: its gaps are not where a free alignment would
  // put them, and one column is empty in the block.
  std::vector<std::string> rows = {"MKTAYIAKQR--QISFVKSHFSRQ-", "MKTAY.IAKQRQISFVKSHFSRQ--",
                                   "MSKAY-VAKRRQISFVKSHFSR---"};
  rows.insert(rows.end(), kFamily.begin() + 2, kFamily.begin() + 7);
  const zc::Result r = zc::align(rows, 3, zc::Options{});
  expectWellFormed(r, rows);
  for (int k = 0; k < 2; ++k) EXPECT_EQ(r.tree[static_cast<std::size_t>(k)].distance, 0.0f);
  std::vector<std::string> block(3);
  for (std::size_t c = 0; c < r.rows[0].size(); ++c) {
    if (r.rows[0][c] == '-' && r.rows[1][c] == '-' && r.rows[2][c] == '-') continue;
    for (std::size_t k = 0; k < 3; ++k) block[k].push_back(r.rows[k][c]);
  }
  EXPECT_EQ(block, (std::vector<std::string>{"MKTAYIAKQR--QISFVKSHFSRQ", "MKTAY-IAKQRQISFVKSHFSRQ-",
                                             "MSKAY-VAKRRQISFVKSHFSR--"}));
}

}  // namespace

// The time bound follows what the run asks for: its rounds, its refinement
// attempts, its threads (which share only the all-pairs steps) and the
// longest row, whose group alignments the refinement repeats.
TEST(ConsistencyEstimate, FollowsRoundsRefinementThreadsAndTheLongestRow) {
  using zemtra::consistency::estimateSeconds;
  const double base = estimateSeconds(100, 300, 320, 2, 2, 400);
  EXPECT_GT(estimateSeconds(100, 300, 320, 2, 5, 400), base);
  EXPECT_GT(estimateSeconds(100, 300, 320, 2, 2, 1000), base);
  EXPECT_LT(estimateSeconds(100, 300, 320, 2, 0, 0), base);
  EXPECT_GT(estimateSeconds(100, 300, 2000, 2, 2, 400), base);
  const double one = estimateSeconds(100, 300, 320, 1, 2, 400);
  EXPECT_GT(one, base);
  EXPECT_LT(one, 2.0 * base);
}
