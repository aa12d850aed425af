#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "fast_fixtures.h"
#include "pairwise/comp_kv.h"
#include "pairwise/group_profile.h"

namespace {

constexpr int kSentinel = -123456;

struct GroupCase {
  std::vector<unsigned long> members1, members2;
};

// The comp_kv series the run makes for two groups.
void referenceSeries(const fastfix::Rows& rows, const GroupCase& g, int matNo, KARVO::Matrix<int>& cmp,
                     unsigned long* lenJ, unsigned long* lenK) {
  bool first = true;
  for (unsigned long a : g.members1)
    for (unsigned long b : g.members2) comp_kv(a, b, matNo, lenJ, lenK, cmp, rows.seqs, rows.len.data(), first);
}

void fill(KARVO::Matrix<int>& m) {
  for (unsigned long p = 0; p < m.rows(); ++p)
    for (unsigned long q = 0; q < m.cols(); ++q) m[p][q] = kSentinel;
}

void expectSameAsSeries(const fastfix::Rows& rows, const GroupCase& g, int matNo, zemtra::GroupProfile& profile) {
  const unsigned long w = rows.seqs.cols();
  KARVO::Matrix<int> expected(w, w), actual(w, w);
  fill(expected);
  fill(actual);
  unsigned long expJ = 99, expK = 99, gotJ = 99, gotK = 99;
  referenceSeries(rows, g, matNo, expected, &expJ, &expK);
  const zemtra::GroupComparison request{rows.seqs,
                                        rows.len.data(),
                                        g.members1.data(),
                                        static_cast<int>(g.members1.size()),
                                        g.members2.data(),
                                        static_cast<int>(g.members2.size()),
                                        matNo};
  profile.compare(request, actual, &gotJ, &gotK);
  ASSERT_EQ(expJ, gotJ);
  ASSERT_EQ(expK, gotK);
  for (unsigned long p = 0; p < w; ++p)
    for (unsigned long q = 0; q < w; ++q) ASSERT_EQ(expected[p][q], actual[p][q]) << "cmp[" << p << "][" << q << "]";
}

// Two groups of aligned rows: each group's rows share one length.
fastfix::Rows randomGroups(std::mt19937& rng, int size1, int size2, unsigned long len1, unsigned long len2) {
  std::vector<std::string> text;
  for (int r = 0; r < size1; ++r) text.push_back(fastfix::randomRow(rng, len1, fastfix::kMixedAlphabet));
  for (int r = 0; r < size2; ++r) text.push_back(fastfix::randomRow(rng, len2, fastfix::kMixedAlphabet));
  return fastfix::Rows(text, 2 * std::max(len1, len2) + 2);
}

GroupCase shuffledMembers(std::mt19937& rng, int size1, int size2) {
  GroupCase g;
  for (int r = 0; r < size1; ++r) g.members1.push_back(r);
  for (int r = 0; r < size2; ++r) g.members2.push_back(size1 + r);
  std::shuffle(g.members1.begin(), g.members1.end(), rng);
  std::shuffle(g.members2.begin(), g.members2.end(), rng);
  return g;
}

TEST(GroupProfile, SumsEqualTheSeriesForWideGroups) {
  std::mt19937 rng(42);
  zemtra::GroupProfile profile;
  const auto rows = randomGroups(rng, 30, 25, 120, 90);
  expectSameAsSeries(rows, shuffledMembers(rng, 30, 25), 14, profile);
}

TEST(GroupProfile, EmptyGroupTouchesNothing) {
  std::mt19937 rng(43);
  zemtra::GroupProfile profile;
  const auto rows = randomGroups(rng, 2, 2, 5, 5);
  expectSameAsSeries(rows, GroupCase{{0, 1}, {}}, 0, profile);
  expectSameAsSeries(rows, GroupCase{{}, {2}}, 0, profile);
}

TEST(GroupProfileDeathTest, MemberOfAnotherLengthFailsTheSeriesAssertion) {
  const fastfix::Rows rows({"ACD", "ACDE", "WW"}, 10);
  KARVO::Matrix<int> cmp(10, 10);
  unsigned long lenJ = 0, lenK = 0;
  const unsigned long members1[] = {0, 1}, members2[] = {2};
  zemtra::GroupProfile profile;
  const zemtra::GroupComparison request{rows.seqs, rows.len.data(), members1, 2, members2, 1, 0};
  EXPECT_DEATH(profile.compare(request, cmp, &lenJ, &lenK), "comp_kv.*\\*lenj == lenJ");
}

}  // namespace
