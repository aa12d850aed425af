#include "tree/tree_kv.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "tree/cluster_steps.h"
#include "tree_fixture.h"

namespace {

using Joins = std::vector<std::pair<unsigned long, unsigned long>>;
using Row = std::vector<unsigned long>;

const std::string kStars(74, '*');
const std::string kBanner =
    "\n\n\n" + kStars + "\n****** Starting multiple alignment following tree construction ... *******\n" + kStars;
const std::string kRule(75, '_');

bool endsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

int count(const std::string& text, const std::string& part) {
  int n = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

std::string ungapped(std::string row) {
  row.erase(std::remove(row.begin(), row.end(), '-'), row.end());
  return row;
}

// Distances as a small pro table: index 0 unused, joined pairs marked.
struct ProTable {
  explicit ProTable(const KARVO::Matrix<float>& fscore) : ns(fscore.rows()), pro(ns + 1) {
    for (unsigned long i = 1; i <= ns; ++i)
      for (unsigned long j = 1; j <= ns; ++j) pro[i][j] = fscore[i - 1][j - 1];
  }
  void join(unsigned long a, unsigned long b) {
    pro[a][b] = kJoinedMark;
    pro[b][a] = kJoinedMark;
  }
  unsigned long ns;
  KARVO::Matrix<float> pro;
};

// Four sequences whose input distances have exact float means.
struct FourSequences : ::testing::Test {
  FourSequences() : in({"MKVL", "MKVI", "MRVL", "MKAL"}) {
    in.setDistance(1, 2, 0.5f);
    in.setDistance(1, 3, 1.5f);
    in.setDistance(2, 3, 2.25f);
    in.setDistance(1, 4, 3.0f);
    in.setDistance(2, 4, 4.75f);
    in.setDistance(3, 4, 7.0f);
    std::fill(in.family[0], in.family[0] + 25, 0UL);
  }
  TreeInput in;
};

TEST_F(FourSequences, RefreshGivesSingleSequenceTheMeanDistanceToTheFamily) {
  ProTable t(in.fscore);
  t.join(1, 2);
  in.family[0][0] = 1;
  in.family[0][1] = 2;

  refreshClusterDistances(4, in.fscore, in.family, t.pro);

  EXPECT_EQ(t.pro[1][3], 1.875f);
  EXPECT_EQ(t.pro[3][1], 1.875f);
  EXPECT_EQ(t.pro[2][3], 1.875f);
  EXPECT_EQ(t.pro[1][4], 3.875f);
  EXPECT_EQ(t.pro[4][2], 3.875f);
  EXPECT_EQ(t.pro[3][4], 7.0f) << "two single sequences keep their input distance";
  EXPECT_EQ(t.pro[1][2], kJoinedMark);
}

TEST_F(FourSequences, RefreshGivesEveryPairOfTwoFamiliesTheMeanOverAllMemberPairs) {
  ProTable t(in.fscore);
  t.join(1, 2);
  t.join(3, 4);
  in.family[0][0] = 1;
  in.family[0][1] = 2;
  in.family[1][0] = 3;
  in.family[1][1] = 4;

  refreshClusterDistances(4, in.fscore, in.family, t.pro);

  for (unsigned long a : {1UL, 2UL}) {
    for (unsigned long b : {3UL, 4UL}) {
      EXPECT_EQ(t.pro[a][b], 2.875f) << a << "," << b;
      EXPECT_EQ(t.pro[b][a], 2.875f) << b << "," << a;
    }
  }
  EXPECT_EQ(t.pro[1][2], kJoinedMark);
  EXPECT_EQ(t.pro[3][4], kJoinedMark);
}

TEST_F(FourSequences, RefreshLeavesPairsAbove999Alone) {
  ProTable t(in.fscore);
  t.join(1, 2);
  t.pro[1][3] = t.pro[3][1] = 999.5f;
  in.family[0][0] = 1;
  in.family[0][1] = 2;

  refreshClusterDistances(4, in.fscore, in.family, t.pro);

  EXPECT_EQ(t.pro[1][3], 999.5f);
  EXPECT_EQ(t.pro[2][3], 1.875f);
}

TEST(ClosestPair, TiesGoToTheEarliestPairInRowMajorOrder) {
  KARVO::Matrix<float> pro(5);
  for (unsigned long i = 1; i <= 4; ++i) std::fill(pro[i], pro[i] + 5, 3.0f);
  EXPECT_EQ(findClosestPair(4, pro).other, 2UL);
  pro[2][3] = pro[3][2] = 1.0f;
  pro[1][4] = pro[4][1] = 1.0f;
  const ClosestPair p = findClosestPair(4, pro);
  EXPECT_EQ(p.first, 1UL);
  EXPECT_EQ(p.other, 4UL);
}

TEST(TreeKv, WritesTheBranchingOrderOfTheJoins) {
  TreeInput in({"MKVLAG", "MKVLSG", "MKVIAG", "MRVLSG"});
  in.setDistance(2, 4, 1.0f);
  in.setDistance(1, 3, 2.0f);
  JoinHistory history;

  const std::string log = in.run(0, &history);

  EXPECT_TRUE(endsWith(log, "\n\n\nBranching order: [N2 N4] N1] N3] \nSub    Clusters: [N1 N3] \n")) << log;
  EXPECT_EQ(in.familyRow(0), (Row{2, 4, 1, 3}));
  EXPECT_EQ(in.familyRow(1), (Row{1, 3}));
  EXPECT_EQ(in.familyRow(2), Row{});
  EXPECT_EQ(history.joins, (Joins{{1, 3}, {0, 2}, {1, 0}}));
  EXPECT_EQ(history.families, (std::vector<Row>{{2, 4, 1, 3}, {1, 3}}));
}

TEST(TreeKv, StartsWithTheBannerAndThePairJoin) {
  TreeInput in({"MKVLAG", "MKVLSG", "MKVIAG"});
  in.setDistance(2, 3, 1.0f);

  const std::string log = in.run(0);

  EXPECT_EQ(log.rfind(kBanner + "\n" + kRule + "\n\nCluster: [N2 N3]\n\n\nSimilarity score: ", 0), 0UL) << log;
  EXPECT_EQ(count(log, kRule), 2) << "ns = 3: one join before the loop and one in it";
}

TEST(TreeKv, AverageLinkageChoosesTheNextJoin) {
  // Family {1, 2} lies at 6.0 from 3 and 5.5 from 4, and 3-4 at 5.75: single
  // linkage would add 3, complete linkage would pair 3 with 4.
  TreeInput in({"MKVL", "MKVI", "MRVL", "MKAL"});
  in.setDistance(1, 2, 1.0f);
  in.setDistance(1, 3, 2.0f);
  in.setDistance(2, 3, 10.0f);
  in.setDistance(1, 4, 4.0f);
  in.setDistance(2, 4, 7.0f);
  in.setDistance(3, 4, 5.75f);
  JoinHistory history;

  in.run(0, &history);

  EXPECT_EQ(history.joins, (Joins{{0, 1}, {0, 3}, {0, 2}}));
  EXPECT_EQ(in.familyRow(0), (Row{1, 2, 4, 3}));
}

struct FiveSequences {
  FiveSequences() : in({"MKVLAGW", "MKVLSGW", "MKVIAG", "MRVLSGY", "KVLAGW"}) {
    in.setDistance(1, 2, 3.0f);
    in.setDistance(3, 5, 1.5f);
    in.setDistance(2, 3, 12.0f);
    in.setDistance(4, 5, 9.0f);
  }
  TreeInput in;
};

TEST(TreeKv, FixedZeroAndOneGiveTheSameRun) {
  FiveSequences zero;
  FiveSequences one;
  const std::string logZero = zero.in.run(0);
  const std::string logOne = one.in.run(1);

  EXPECT_EQ(logZero, logOne);
  EXPECT_EQ(logZero.rfind(kBanner, 0), 0UL);
  EXPECT_EQ(zero.in.alen, one.in.alen);
  for (unsigned long r = 0; r < 5; ++r) {
    EXPECT_EQ(zero.in.row(r), one.in.row(r));
    EXPECT_EQ(zero.in.familyRow(r), one.in.familyRow(r));
  }
}

TEST(TreeKv, PrealignedBlockJoinsWithoutBannerOrBlock) {
  FiveSequences f;
  JoinHistory history;

  const std::string log = f.in.run(3, &history);

  EXPECT_EQ(log.find('*'), std::string::npos);
  EXPECT_EQ(count(log, kRule), 2);
  const Row row0 = f.in.familyRow(0);
  ASSERT_EQ(row0.size(), 5UL);
  EXPECT_EQ((Row{row0[0], row0[1], row0[2]}), (Row{1, 2, 3}));
  ASSERT_EQ(history.joins.size(), 4UL);
  EXPECT_EQ((Joins{history.joins[0], history.joins[1]}), (Joins{{0, 1}, {0, 2}}));
}

TEST(TreeKv, AllPrealignedKeepsTheBlockAsTheAlignment) {
  TreeInput in({"MKV-LA", "MKVILA", "MRV-LA"});
  JoinHistory history;

  const std::string log = in.run(3, &history);

  EXPECT_EQ(log, "\n\n\nBranching order: [N1 N2] N3] \n");
  EXPECT_EQ(in.alen, 6);
  EXPECT_EQ(in.row(0), "MKV-LA");
  EXPECT_EQ(in.row(1), "MKVILA");
  EXPECT_EQ(history.joins, (Joins{{0, 1}, {0, 2}}));
  EXPECT_EQ(history.families, (std::vector<Row>{{1, 2, 3}}));
}

TEST(TreeKv, BranchingOrderWrapsAfterEveryFifthColumnFromSixSequencesOn) {
  TreeInput six({"MK", "MK", "MK", "MK", "MK", "MK"});
  EXPECT_EQ(six.run(6), "\n\n\nBranching order: [N1 N2] N3] N4] N5] N6] \n                  \n");

  TreeInput five({"MK", "MK", "MK", "MK", "MK"});
  EXPECT_EQ(five.run(5), "\n\n\nBranching order: [N1 N2] N3] N4] N5] \n");
}

TEST(TreeKv, SubClusterRowsWrapToo) {
  // Two tight groups of six: 1..6 and 7..12.
  TreeInput in(std::vector<std::string>(12, "YWY"));
  for (unsigned long a = 1; a <= 12; ++a) {
    for (unsigned long b = a + 1; b <= 12; ++b) {
      if (b <= 6) in.setDistance(a, b, 1.0f);
      if (a >= 7) in.setDistance(a, b, 2.0f);
    }
  }

  const std::string log = in.run(0);

  const std::string wrap = "\n                  ";
  EXPECT_TRUE(endsWith(log, "\n\n\nBranching order: [N1 N2] N3] N4] N5] N6] " + wrap + "N7] N8] N9] N10] N11] " + wrap +
                                "N12] \nSub    Clusters: [N7 N8] N9] N10] N11] N12] " + wrap + "\n"))
      << log;
}

TEST(TreeKv, FullRunLeavesOneAlignedClusterAndNestedSubClusters) {
  SixSequences in;
  JoinHistory history;

  in.run(0, &history);

  Row row0 = in.familyRow(0);
  Row sorted = row0;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(sorted, (Row{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(history.joins.size(), 5UL);
  for (std::size_t k = 1; k < history.families.size(); ++k) {
    const Row& sub = history.families[k];
    EXPECT_GE(sub.size(), 2UL);
    EXPECT_NE(std::search(row0.begin(), row0.end(), sub.begin(), sub.end()), row0.end())
        << "sub-cluster " << k << " is a run of the branching order";
  }
  for (unsigned long r = 0; r < 6; ++r) {
    EXPECT_EQ(in.len[r], static_cast<unsigned long>(in.alen));
    EXPECT_EQ(ungapped(in.row(r)), SixSequences::kRows[r]);
  }
}

TEST(TreeKvDeathTest, TwoSequencesOfOneFamilyAreRefused) {
  // Distances of 1000 make the search pick a pair that is already joined.
  TreeInput in({"MKVL", "MKVI", "MRVL"});
  in.setDistance(1, 2, 1000.0f);
  in.setDistance(1, 3, 1000.0f);
  in.setDistance(2, 3, 1000.0f);
  EXPECT_DEATH(in.run(0), literal("( singleFirst || singleOther ) || ( familyFirst != familyOther )"));
}

}  // namespace
