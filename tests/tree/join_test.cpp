#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "tree/cluster_steps.h"
#include "tree/tree_kv.h"
#include "tree_fixture.h"

namespace {

using Row = std::vector<unsigned long>;

const std::string kHead = "\n" + std::string(75, '_') + "\n\n";

// Five identical rows "YYYY": every join of them scores 4 x 78 = 312 under
// matrix 0 when the summed comparison matrix is divided by the right number
// of pairs.
struct JoinTest : ::testing::Test {
  JoinTest() : in(std::vector<std::string>(5, "YYYY")), pro(6), counters(6, 10, 0, &log) {
    for (unsigned long r = 0; r <= 5; ++r) std::fill(in.family[r], in.family[r] + 6, 0U);
    for (unsigned long r = 0; r <= 5; ++r) std::fill(pro[r], pro[r] + 6, 7.0f);
  }

  void setRow(unsigned long r, const Row& members) {
    for (std::size_t c = 0; c < members.size(); ++c) in.family[r][c] = static_cast<std::uint32_t>(members[c]);
  }

  // Ordered pairs of different members of the given sequences all carry the
  // joined mark, and every other pair kept its value.
  void expectJoinedExactly(const Row& members) {
    for (unsigned long a = 1; a <= 5; ++a) {
      for (unsigned long b = 1; b <= 5; ++b) {
        if (a == b) continue;
        const bool inside =
            std::count(members.begin(), members.end(), a) && std::count(members.begin(), members.end(), b);
        EXPECT_EQ(pro[a][b], inside ? kJoinedMark : 7.0f) << a << "," << b;
      }
    }
  }

  TreeInput in;
  KARVO::Matrix<float> pro;
  std::ostringstream log;
  Counters counters;
};

TEST_F(JoinTest, AlignPairOpensANewFamilyRow) {
  setRow(0, {1, 3});
  int nfam = 1;

  AlignPair(2, 4, in.names, in.family, pro, counters, in.cmp, in.seqs, in.len.data(), in.path, nfam);

  EXPECT_EQ(nfam, 2);
  EXPECT_EQ(in.familyRow(1), (Row{2, 4}));
  EXPECT_EQ(log.str(), kHead + "Cluster: [N2 N4]\n\n\nSimilarity score: 312\n");
  EXPECT_EQ(counters.step, 1);
  EXPECT_EQ(counters.alen, 4);
  EXPECT_EQ(counters.nJ, 1);
  EXPECT_EQ(counters.groupJ.data[0], 1UL);
  EXPECT_EQ(counters.nK, 1);
  EXPECT_EQ(counters.groupK.data[0], 3UL);
  expectJoinedExactly({2, 4});
}

// AddToFamily appends the sequence to the family row as the second group (FamFind's
// hand-over to it is in FamFindUsesTheLiveFamilyNotTheSubClusterRecord and every run).
TEST_F(JoinTest, AddToFamilyAppendsASingleSequenceToTheFamilyRow) {
  setRow(0, {4, 5});
  AddToFamily(1, 0, in.family, in.cmp, in.seqs, in.len.data(), in.names, in.path, pro, counters);
  EXPECT_EQ(in.familyRow(0), (Row{4, 5, 1}));
  EXPECT_EQ(log.str(), kHead + "Cluster: [N4 N5]\nCluster: [N1]\n\n\n\nSimilarity score: 312\n");
  EXPECT_EQ(counters.nJ, 2);
  EXPECT_EQ((Row{counters.groupJ.data[0], counters.groupJ.data[1]}), (Row{3, 4}));
  EXPECT_EQ(counters.nK, 1);
  EXPECT_EQ(counters.groupK.data[0], 0UL);
  expectJoinedExactly({1, 4, 5});
}

// AlignFamilies appends the higher row to the lower and keeps it.
TEST_F(JoinTest, AlignFamiliesJoinsTwoFamiliesLowerRowFirst) {
  setRow(0, {1, 2});
  setRow(1, {3, 4});
  AlignFamilies(0, 1, in.family, in.cmp, in.seqs, in.len.data(), in.names, in.path, pro, counters);
  EXPECT_EQ(in.familyRow(0), (Row{1, 2, 3, 4}));
  EXPECT_EQ(in.familyRow(1), (Row{3, 4}));
  EXPECT_EQ(log.str(), kHead + "Cluster: [N1 N2]\nCluster: [N3 N4]\n\n\n\nSimilarity score: 312\n");
  EXPECT_EQ(counters.nJ, 2);
  EXPECT_EQ(counters.nK, 2);
  expectJoinedExactly({1, 2, 3, 4});
}

TEST_F(JoinTest, FamFindUsesTheLiveFamilyNotTheSubClusterRecord) {
  setRow(0, {1, 2, 3, 4});
  setRow(1, {3, 4});
  int nfam = 2;
  FamFind(nfam, 3, 5, in.family, in.cmp, in.seqs, in.len.data(), in.names, in.path, pro, counters);
  EXPECT_EQ(in.familyRow(0), (Row{1, 2, 3, 4, 5}));
  EXPECT_EQ(in.familyRow(1), (Row{3, 4}));
}

using JoinDeathTest = JoinTest;

// Joins of a sequence with itself or its own family, empty rows and rows
// without a terminator are refused.
TEST_F(JoinDeathTest, JoinsRefuseSelfJoinsAndRowsWithoutRoom) {
  int nfam = 0;
  EXPECT_DEATH(FamFind(nfam, 2, 2, in.family, in.cmp, in.seqs, in.len.data(), in.names, in.path, pro, counters),
               "tree_kv.*FamFind.*" + literal("First != Other"));
  EXPECT_DEATH(FamFind(nfam, 3, 2, in.family, in.cmp, in.seqs, in.len.data(), in.names, in.path, pro, counters),
               literal("First < Other"));
  EXPECT_DEATH(AddToFamily(1, 2, in.family, in.cmp, in.seqs, in.len.data(), in.names, in.path, pro, counters),
               "tree_kv.*AddToFamily.*" + literal("0 < vacant"));
  setRow(0, {1, 2, 3});
  nfam = 1;
  EXPECT_DEATH(FamFind(nfam, 1, 3, in.family, in.cmp, in.seqs, in.len.data(), in.names, in.path, pro, counters),
               literal("( singleFirst || singleOther ) || ( familyFirst != familyOther )"));
  setRow(0, {1, 2, 3, 4, 5, 9});
  EXPECT_DEATH(AddToFamily(1, 0, in.family, in.cmp, in.seqs, in.len.data(), in.names, in.path, pro, counters),
               literal("0 == family[ familyOther ][vacant]"));
  setRow(1, {2, 4});
  EXPECT_DEATH(AlignFamilies(0, 1, in.family, in.cmp, in.seqs, in.len.data(), in.names, in.path, pro, counters),
               literal("0 == family[ familyFirst ][vacant]"));
}

}  // namespace
