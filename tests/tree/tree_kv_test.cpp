#include "tree/tree_kv.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/golden.h"
#include "tree/cluster_steps.h"
#include "tree_fixture.h"

namespace {

using Row = std::vector<unsigned long>;

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
    std::fill(in.family[0], in.family[0] + 25, 0U);
  }
  TreeInput in;
};

// Families {1, 2} (and {3, 4}) against the rest: a single sequence gets the
// mean distance to the family, two families the mean over all member pairs,
// two single sequences keep their input distance and pairs above 999 stay.
TEST_F(FourSequences, RefreshGivesEachPairTheMeanDistanceOverItsMembers) {
  for (const bool twoFamilies : {false, true}) {
    ProTable t(in.fscore);
    t.join(1, 2);
    in.family[0][0] = 1;
    in.family[0][1] = 2;
    in.family[1][0] = twoFamilies ? 3 : 0;
    in.family[1][1] = twoFamilies ? 4 : 0;
    if (twoFamilies)
      t.join(3, 4);
    else
      t.pro[1][4] = t.pro[4][1] = 999.5f;
    refreshClusterDistances(4, in.fscore, in.family, t.pro);
    const std::vector<std::tuple<unsigned long, unsigned long, float>> expected =
        twoFamilies ? std::vector<std::tuple<unsigned long, unsigned long, float>>{{1, 3, 2.875f},
                                                                                   {1, 4, 2.875f},
                                                                                   {2, 3, 2.875f},
                                                                                   {2, 4, 2.875f},
                                                                                   {3, 4, kJoinedMark}}
                    : std::vector<std::tuple<unsigned long, unsigned long, float>>{
                          {1, 3, 1.875f}, {2, 3, 1.875f}, {1, 4, 999.5f}, {2, 4, 3.875f}, {3, 4, 7.0f}};
    for (const auto& [a, b, d] : expected) {
      EXPECT_EQ(t.pro[a][b], d) << a << "," << b << (twoFamilies ? ", two families" : "");
      EXPECT_EQ(t.pro[b][a], d) << b << "," << a;
    }
    EXPECT_EQ(t.pro[1][2], kJoinedMark);
  }
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

// Everything a tree phase leaves behind, as text: the log, the family
// table, the join history and the re-aligned rows.
std::string describe(const std::string& title, TreeInput& in, unsigned fixed) {
  JoinHistory history;
  std::ostringstream out;
  out << "=== " << title << ", fixed " << fixed << "\nlog:" << in.run(fixed, &history) << "\nfamilies:";
  for (unsigned long r = 0; r < in.ns; ++r) {
    out << "\n ";
    for (unsigned long m : in.familyRow(r)) out << ' ' << m;
    if (in.familyRow(r).empty()) out << " -";
  }
  out << "\njoins:";
  for (const auto& [a, b] : history.joins) out << ' ' << a << '-' << b;
  out << "\nsub-clusters:";
  for (const Row& f : history.families) {
    out << " [";
    for (unsigned long m : f) out << ' ' << m;
    out << " ]";
  }
  out << "\nrows (" << in.alen << " columns):\n";
  for (unsigned long r = 0; r < in.ns; ++r) out << "  " << in.row(r) << '\n';
  return out.str();
}

struct FiveSequences : TreeInput {
  FiveSequences() : TreeInput({"MKVLAGW", "MKVLSGW", "MKVIAG", "MRVLSGY", "KVLAGW"}) {
    setDistance(1, 2, 3.0f);
    setDistance(3, 5, 1.5f);
    setDistance(2, 3, 12.0f);
    setDistance(4, 5, 9.0f);
  }
};

// Logs, families, join histories and rows of small tree phases, byte for
// byte as tests/data/tree/tree_phases.txt.
TEST(TreeKv, PhasesWriteTheGoldenLogsFamiliesJoinsAndRows) {
  std::string text;
  TreeInput three({"MKVLAG", "MKVLSG", "MKVIAG"});  // the banner, the pair join, one join in the loop
  three.setDistance(2, 3, 1.0f);
  text += describe("three sequences", three, 0);
  TreeInput four({"MKVLAG", "MKVLSG", "MKVIAG", "MRVLSG"});  // a sub-cluster besides the whole
  four.setDistance(2, 4, 1.0f);
  four.setDistance(1, 3, 2.0f);
  text += describe("four sequences", four, 0);
  // Family {1, 2} lies at 6.0 from 3 and 5.5 from 4, and 3-4 at 5.75: single
  // linkage would add 3, complete linkage would pair 3 with 4.
  TreeInput linkage({"MKVL", "MKVI", "MRVL", "MKAL"});
  const float d[] = {1.0f, 2.0f, 10.0f, 4.0f, 7.0f, 5.75f};
  for (unsigned long b = 2, n = 0; b <= 4; ++b)
    for (unsigned long a = 1; a < b; ++a) linkage.setDistance(a, b, d[n++]);
  text += describe("average linkage", linkage, 0);
  FiveSequences block;  // a prealigned block joins without banner or block
  text += describe("five sequences", block, 3);
  TreeInput all({"MKV-LA", "MKVILA", "MRV-LA"});  // all prealigned: the block is the alignment
  text += describe("all prealigned", all, 3);
  TreeInput six(std::vector<std::string>(6, "MK")), five(std::vector<std::string>(5, "MK"));
  text += describe("branching order wraps from six on", six, 6) + describe("no wrap for five", five, 5);
  TreeInput twelve(std::vector<std::string>(12, "YWY"));  // two tight groups of six: sub-cluster rows wrap too
  for (unsigned long a = 1; a <= 12; ++a)
    for (unsigned long b = a + 1; b <= 12; ++b) {
      if (b <= 6) twelve.setDistance(a, b, 1.0f);
      if (a >= 7) twelve.setDistance(a, b, 2.0f);
    }
  text += describe("twelve sequences", twelve, 0);
  SixSequences full;
  text += describe("six sequences", full, 0);
  ztest::expectGolden("tree/tree_phases.txt", text);
  FiveSequences noHistory;  // the history is optional, also with a block
  EXPECT_NE(text.find("log:" + noHistory.run(3) + "\nfamilies"), std::string::npos);

  // A block of zero or one rows is no block (and a run needs no history).
  FiveSequences zero, one;
  EXPECT_EQ(zero.run(0), one.run(1));
  EXPECT_EQ(zero.alen, one.alen);
  for (unsigned long r = 0; r < 5; ++r) {
    EXPECT_EQ(zero.row(r), one.row(r));
    EXPECT_EQ(zero.familyRow(r), one.familyRow(r));
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
