// Pair by pair, the fast routines against the reference ones, on every
// kernel level, lane width and row kernel (multi-pair, within-pair) this CPU
// runs: fredmanFast against
// DPA::fredman (score and every record entry), pairFast against pair_kv,
// each pair of alignRowPairs against comp_kv + pair_kv (score, length, the
// whole path, the measures taken through it and the process exits), and the
// group profile against the comp_kv series. Then the measures of finished
// rows and the engine's choices of level and options.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <tuple>

#include "exactness_fixtures.h"
#include "pairwise/comp_kv.h"
#include "pairwise/engine_options.h"
#include "pairwise/fast_dp.h"
#include "pairwise/fast_measures.h"
#include "pairwise/group_profile.h"
#include "pairwise/measures.h"
#include "pairwise/pair_kv.h"
#include "pairwise/simd/dispatch.h"
#include "plugin/zemtra_plugin.h"
#include "scoring/scomat.h"
#include "tests/support/working_rows.h"

namespace {

using zemtra::LaneWidth;
using zemtra::PairKernel;
using zemtra::SimdLevel;

using Rows = ztest::WorkingRows;

// A path filled with a recognisable pattern, so that untouched columns are
// compared too.
std::unique_ptr<KARVO::Matrix<long>> markedPath(unsigned long width) {
  auto p = std::make_unique<KARVO::Matrix<long>>(2, width);
  for (unsigned long c = 0; c < width; ++c) (*p)[0][c] = (*p)[1][c] = 7000 + static_cast<long>(c);
  return p;
}

void expectSamePath(const KARVO::Matrix<long>& expected, const KARVO::Matrix<long>& actual) {
  for (unsigned long r = 0; r < 2; ++r)
    for (unsigned long c = 0; c < expected.cols(); ++c) ASSERT_EQ(expected[r][c], actual[r][c]) << "path column " << c;
}

std::unique_ptr<KARVO::Matrix<int>> randomTable(std::mt19937& rng, unsigned long n, unsigned long m, int lo, int hi) {
  auto s = std::make_unique<KARVO::Matrix<int>>(n, m);
  for (unsigned long i = 0; i < n; ++i)
    for (unsigned long c = 0; c < m; ++c) (*s)[i][c] = exact::uniform(rng, lo, hi);
  return s;
}

// Every entry of the two records, including those past the length.
void expectSameRecord(const Alignment& expected, const Alignment& actual) {
  ASSERT_EQ(expected.length, actual.length);
  ASSERT_EQ(expected.nmatch, actual.nmatch);
  for (unsigned long o = 0; o < expected.capacity; ++o) {
    ASSERT_EQ(expected.posA[o], actual.posA[o]) << "column " << o;
    ASSERT_EQ(expected.posB[o], actual.posB[o]) << "column " << o;
    ASSERT_EQ(expected.paired[o], actual.paired[o]) << "column " << o;
  }
}

// All residue letters, the letters without a residue of their own, and gaps.
const std::string kMixedAlphabet = "ACDEFGHIKLMNPQRSTVWYBZJOUX-----";

std::string levelName(SimdLevel level) {
  const char* names[] = {"Portable", "Sse2", "Avx2", "Avx512"};
  return names[static_cast<int>(level)];
}

// One kernel level and lane width; those this CPU cannot run are skipped.
// The workspace is shared by all calls of a test on purpose: warmed-up
// buffers of other shapes must not leak into a result.
class Kernel : public ::testing::TestWithParam<std::tuple<SimdLevel, LaneWidth, PairKernel>> {
 protected:
  void SetUp() override {
    if (!zemtra::simdLevelSupported(level())) GTEST_SKIP() << levelName(level()) << " is not available here";
  }
  SimdLevel level() const { return std::get<0>(GetParam()); }
  LaneWidth width() const { return std::get<1>(GetParam()); }
  PairKernel rowKernel() const { return std::get<2>(GetParam()); }
  // The single-pair routines have no lane width and no row kernel: they run
  // once per level.
  bool singlePairRunDone() const { return width() != LaneWidth::kAuto || rowKernel() != PairKernel::kMultiPair; }

  void expectFredman(const KARVO::Matrix<int>& S, int gap, unsigned long capacity) {
    Alignment expected(capacity), actual(capacity);
    const int score = DPA::fredman<int>(gap, S, expected);
    ASSERT_EQ(score, zemtra::fredmanFast(gap, S, actual, ws_, level()))
        << S.rows() << " x " << S.cols() << ", gap " << gap;
    expectSameRecord(expected, actual);
  }

  void expectPair(unsigned long lenJ, unsigned long lenK, int gap, int pairs, const KARVO::Matrix<int>& cmp,
                  unsigned long pathWidth) {
    auto expectedPath = markedPath(pathWidth), actualPath = markedPath(pathWidth);
    int expectedLen = -1, actualLen = -1;
    ASSERT_EQ(pair_kv(lenJ, lenK, gap, &expectedLen, pairs, cmp, *expectedPath),
              zemtra::pairFast(lenJ, lenK, gap, &actualLen, pairs, cmp, *actualPath, ws_, level()));
    ASSERT_EQ(expectedLen, actualLen);
    expectSamePath(*expectedPath, *actualPath);
  }

  // Row j against ks (default: every later row) with alignRowPairs, each
  // reported pair against comp_kv + pair_kv and the measures through the
  // path against score_kv, norm_kv and pids_kv. A pair that pairs nothing
  // must be one on which pair_kv ends the process with the same message, and
  // must leave the path alone. Returns the number of such pairs.
  int expectRow(const Rows& rows, unsigned long j, int matNo, int gap, std::vector<unsigned long> ks = {}) {
    const unsigned long cols = rows.seqs.cols();
    if (ks.empty())
      for (unsigned long k = j + 1; k < rows.len.size(); ++k) ks.push_back(k);
    auto fastPath = markedPath(cols), refPath = markedPath(cols);
    KARVO::Matrix<int> cmp(cols, cols);
    const zemtra::ScoreLookup scores(matNo);
    zemtra::RowPairs request{rows.seqs, rows.len.data(), j, ks.data(), ks.size(), matNo, gap, level(), width()};
    request.reportPairless = true;
    request.kernel = rowKernel();
    std::size_t reported = 0;
    int pairless = 0;
    zemtra::alignRowPairs(request, *fastPath, ws_, [&](const zemtra::PairOutcome& got) {
      ASSERT_LT(reported, ks.size());
      const unsigned long k = ks[reported++];
      ASSERT_EQ(j, got.j);
      ASSERT_EQ(k, got.k);
      SCOPED_TRACE("pair " + std::to_string(j) + "-" + std::to_string(k) + ", matrix " + std::to_string(matNo) +
                   ", gap " + std::to_string(gap));
      bool first = true;
      unsigned long lenJ = 0, lenK = 0;
      comp_kv(j, k, matNo, &lenJ, &lenK, cmp, rows.seqs, rows.len.data(), first);
      if (got.pairless != nullptr) {
        ++pairless;
        int alen = 0;
        EXPECT_EXIT(pair_kv(lenJ, lenK, gap, &alen, 1, cmp, *refPath), testing::ExitedWithCode(1), got.pairless);
        EXPECT_EQ(0, got.alen);
        expectSamePath(*refPath, *fastPath);
        return;
      }
      // An empty second row gives the empty alignment with the path
      // untouched; pair_kv is not asked, its averaging loop would walk the
      // rows of the empty matrix.
      int alen = 0, score = 0;
      if (lenK > 0) score = pair_kv(lenJ, lenK, gap, &alen, 1, cmp, *refPath);
      ASSERT_EQ(score, got.score);
      ASSERT_EQ(alen, got.alen);
      expectSamePath(*refPath, *fastPath);
      if (alen == 0) return;
      const zemtra::PathMeasures m =
          zemtra::measurePath({rows.seqs, rows.nres.data(), j, k, alen, *fastPath, scores, gap});
      const int refScore = score_kv(j, k, alen, matNo, gap, 1, rows.seqs, *refPath);
      EXPECT_EQ(refScore, m.score);
      // Bit patterns, so that NaN and signed zeros count too.
      EXPECT_EQ(std::bit_cast<std::uint32_t>(norm_kv(j, k, alen, refScore, matNo, 1, rows.seqs, *refPath)),
                std::bit_cast<std::uint32_t>(m.nas));
      EXPECT_EQ(std::bit_cast<std::uint32_t>(pids_kv(j, k, alen, rows.seqs, rows.nres.data(), *refPath)),
                std::bit_cast<std::uint32_t>(m.pid));
    });
    EXPECT_EQ(ks.size(), reported);
    return pairless;
  }

  zemtra::DpWorkspace ws_;
};

TEST_P(Kernel, FredmanFastMatchesOnRandomTiedAndLongTables) {
  if (singlePairRunDone()) GTEST_SKIP();
  std::mt19937 rng(11);
  for (int round = 0; round < 400; ++round) {
    const unsigned long n = exact::size(rng, 0, 40), m = exact::size(rng, 0, 40);
    const int gaps[] = {0, 100, exact::uniform(rng, -30, 250)};
    // With negative scores an alignment may pair nothing, which a record of
    // n + m entries does not survive; spare entries let it through.
    const bool negative = round % 2 == 1;
    auto S = randomTable(rng, n, m, negative ? -33 : 0, 100);
    expectFredman(*S, gaps[round % 3], n + m + (negative ? exact::size(rng, 1, 10) : 0));
    // Constant tables, two-valued tables and tables that are mostly zero.
    const unsigned long a = exact::size(rng, 1, 30), b = exact::size(rng, 1, 30);
    const int value = exact::uniform(rng, -3, 3);
    auto T = round % 3 == 0 ? randomTable(rng, a, b, value, value) : randomTable(rng, a, b, round % 3 == 1 ? 0 : -1, 1);
    expectFredman(*T, exact::uniform(rng, 0, 2), a + b + 1);
    if (HasFatalFailure()) return;
  }
  for (const int gap : {0, 40, 100}) expectFredman(*randomTable(rng, 300, 280, gap == 40 ? -33 : 0, 100), gap, 581);
  // A record used for a longer alignment keeps its entries past the length
  // of a shorter one as they were.
  Alignment expected(40), actual(40);
  for (auto* S : {randomTable(rng, 12, 15, 0, 100).release(), randomTable(rng, 3, 4, 0, 100).release()}) {
    DPA::fredman<int>(20, *S, expected);
    zemtra::fredmanFast(20, *S, actual, ws_, level());
    delete S;
  }
  expectSameRecord(expected, actual);
}

TEST_P(Kernel, FredmanFastEndsTheProcessWithTheReferencesMessage) {
  if (singlePairRunDone()) GTEST_SKIP();
  auto run = [this](std::vector<std::vector<int>> values, int gap, unsigned long capacity) {
    KARVO::Matrix<int> S(values.size(), values[0].size());
    for (unsigned long i = 0; i < values.size(); ++i)
      for (unsigned long c = 0; c < values[i].size(); ++c) S[i][c] = values[i][c];
    Alignment aln(capacity);
    zemtra::fredmanFast(gap, S, aln, ws_, level());
  };
  EXPECT_EXIT(run({{-5}}, 40, 2), testing::ExitedWithCode(1), "gap A");        // in the tail of B
  EXPECT_EXIT(run({{5}}, 40, 1), testing::ExitedWithCode(1), "gap0 B");        // in the main loop
  EXPECT_EXIT(run({{5, 1}}, 0, 0), testing::ExitedWithCode(1), "gap0 B");      // at the first entry
  EXPECT_EXIT(run({{-5}, {10}}, 40, 2), testing::ExitedWithCode(1), "gap B");  // in the tail of A
  KARVO::Matrix<int> cmp(3, 3);
  cmp[1][1] = -7;
  KARVO::Matrix<long> path(2, 6);
  int alen = 0;
  EXPECT_EXIT(zemtra::pairFast(1, 1, 0, &alen, 1, cmp, path, ws_, level()), testing::ExitedWithCode(1), "gap A");
}

// pair_kv's inputs: cells summed over several pairs, halfway averages that
// round, paths too narrow to be written, and empty sides.
TEST_P(Kernel, PairFastMatchesPairKv) {
  if (singlePairRunDone()) GTEST_SKIP();
  std::mt19937 rng(21);
  auto summed = [&](unsigned long lenJ, unsigned long lenK, int pairs, int lo, int hi) {
    const unsigned long w = lenJ + lenK + 2;
    auto cmp = randomTable(rng, w, w, lo * pairs, hi * pairs);
    // Pairing the first of J with the last of K is free of gaps; a clearly
    // positive cell there rules out alignments that pair nothing.
    (*cmp)[1][std::max(lenK, 1ul)] = 50 * pairs;
    return cmp;
  };
  for (unsigned round = 0; round < 300; ++round) {
    const int pairs = std::vector<int>{1, 2, 3, 7, 12}[round % 5];
    const unsigned long lenJ = exact::size(rng, 1, 35), lenK = exact::size(rng, 1, 35);
    const auto cmp = summed(lenJ, lenK, pairs, round % 2 ? -33 : 0, 100);
    expectPair(lenJ, lenK, std::vector<int>{0, 100, exact::uniform(rng, 0, 150)}[round % 3], pairs, *cmp,
               lenJ + lenK + 1);
    // Sums of odd values over two pairs land on .5 averages, negative ones too.
    const unsigned long a = exact::size(rng, 1, 20), b = exact::size(rng, 1, 20);
    auto odd = summed(a, b, 2, -3, 3);
    for (unsigned long p = 0; p < odd->rows(); ++p)
      for (unsigned long q = 0; q < odd->cols(); ++q) (*odd)[p][q] |= 1;
    expectPair(a, b, exact::uniform(rng, 0, 4), 2, *odd, a + b + 1);
    if (HasFatalFailure()) return;
  }
  for (unsigned long pathWidth = 1; pathWidth < 12; ++pathWidth)
    expectPair(6, 5, 30, 1, *summed(6, 5, 1, 0, 100), pathWidth);
  for (const auto& [lenJ, lenK] : std::vector<std::pair<unsigned long, unsigned long>>{{4, 0}, {0, 4}, {0, 0}}) {
    auto path = markedPath(12);
    int alen = -1;
    EXPECT_EQ(0, zemtra::pairFast(lenJ, lenK, 10, &alen, 1, *summed(lenJ, lenK, 1, 0, 100), *path, ws_, level()));
    EXPECT_EQ(0, alen);
    expectSamePath(*markedPath(12), *path);
  }
}

// More rows than the widest batch has lanes, so that batches fill and
// overflow, with every letter, gaps and empty rows, under every matrix.
TEST_P(Kernel, RowPairsMatchUnderEveryMatrix) {
  std::mt19937 rng(31);
  for (int matNo = 0; matNo < 15; ++matNo) {
    std::vector<std::string> text;
    for (int r = 0; r < 41; ++r) {
      const std::string row = exact::randomRow(rng, exact::uniform(rng, 1, 40), kMixedAlphabet, 0.0);
      // Rows that start and end with 'A' (A/A scores 20 under matrix 14)
      // always pair something; the tie-heavy test below covers the others.
      text.push_back(r % 5 == 0 ? "" : matNo != 14 ? row : "A" + row + "A");
    }
    const Rows rows(text, 2 * 41 + 2);
    for (unsigned long j : {0ul, 7ul, 39ul})
      for (int gap : {0, 100, exact::uniform(rng, 0, 150)}) EXPECT_EQ(0, expectRow(rows, j, matNo, gap));
    if (HasFatalFailure()) return;
  }
  // Any list of partners, repeats and row j itself included, in its order.
  std::vector<std::string> text;
  for (int r = 0; r < 12; ++r)
    text.push_back(exact::randomRow(rng, exact::uniform(rng, 1, 30), exact::kAlphabets[0], 0.1));
  expectRow(Rows(text, 64), 5, 2, 30, {9, 2, 2, 11, 0, 5});
}

// With one or two letters almost every cell has the same value; under the
// signed matrix some pairs align nothing.
TEST_P(Kernel, TieHeavyRowsAndRunsOfOneResidueMatch) {
  std::mt19937 rng(6160);
  int pairless = 0;
  for (const std::string alphabet : {"A", "AC", "A-", "AAC--", "AW", "WWC"}) {
    std::vector<std::string> text;
    for (int r = 0; r < 10; ++r) text.push_back(exact::randomRow(rng, exact::uniform(rng, 1, 40), alphabet, 0.0));
    const Rows rows(text, 82);
    for (int matNo : {0, 5, 14})
      for (int gap : {0, 1, 37, 100}) pairless += expectRow(rows, 0, matNo, gap);
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(pairless, 0);
  std::vector<std::string> runs;
  for (int r = 0; r < 20; ++r) {
    std::string row;
    for (int run = exact::uniform(rng, 1, 4); run > 0; --run)
      row += std::string(static_cast<std::size_t>(exact::uniform(rng, 0, 12)), "AWCLK"[r % 5]) + (run % 2 ? "" : "--");
    runs.push_back("A" + row + "A");
  }
  const Rows rows(runs, 120);
  for (int matNo : {0, 3, 5, 14})
    for (int gap : {0, 1, 100})
      for (unsigned long j = 0; j < 19; j += 6) expectRow(rows, j, matNo, gap);
}

TEST_P(Kernel, LongRowsOfARelatedFamilyAndScoresBeyondSixteenBitsMatch) {
  std::mt19937 rng(33);
  const std::string ancestor = exact::randomRow(rng, 300, exact::kAlphabets[0], 0.0);
  std::vector<std::string> text;
  for (int r = 0; r < 6; ++r) {
    std::string row;
    for (char c : ancestor) {
      const int event = exact::uniform(rng, 0, 19);
      if (event == 0) continue;  // deletion
      row += event == 1 ? exact::randomRow(rng, 1, exact::kAlphabets[0], 0.0)[0] : c;
      if (event == 2) row += "GS";  // insertion
    }
    text.push_back(row);
  }
  const Rows family(text, 700);
  for (int matNo : {0, 11, 14}) expectRow(family, 0, matNo, matNo == 14 ? 5 : 40);
  // 400 cysteines score 100 each under matrix 0: 40000 does not fit 16 bits;
  // 300 to 330 come near the end of the range, where 16-bit lanes must
  // either stay exact or give way to 32-bit ones.
  expectRow(Rows({std::string(400, 'C'), std::string(400, 'C'), std::string(390, 'C') + "WWW", std::string(300, 'C'),
                  std::string(321, 'C'), std::string(330, 'C')},
                 810),
            0, 0, 100);
  expectRow(Rows({std::string(330, 'C'), std::string(315, 'C'), std::string(322, 'C') + "W"}, 700), 0, 0, -3);
}

// Rows this long would take more than the trace budget in the widest lanes;
// the batch goes through narrower ones and gives the reference's result.
TEST_P(Kernel, LongRowsGoThroughNarrowerLanesWithTheSameResult) {
  if (level() != zemtra::bestSimdLevel() || width() != LaneWidth::kAuto) GTEST_SKIP() << "run once, at the default";
  constexpr unsigned long kLength = 2100;
  ASSERT_GT(kLength * kLength * zemtra::batchLanes(SimdLevel::kAvx2, LaneWidth::kAuto), zemtra::kBatchTraceBudget);
  std::mt19937 rng(47);
  std::vector<std::string> text;
  for (int r = 0; r < 3; ++r) text.push_back(exact::randomRow(rng, kLength, exact::kAlphabets[0], 0.0));
  expectRow(Rows(text, 2 * kLength + 2), 0, 0, 40);
}

TEST_P(Kernel, PairWithoutAnyMatchEndsTheProcessAfterReportingTheEarlierPairs) {
  // 'A' against 'W' scores -25 under matrix 14: that pair cannot be paired.
  const Rows rows({"A", "A", "V", "W", "A"}, 8);
  const std::vector<unsigned long> ks = {1, 2, 3, 4};
  auto path = markedPath(8);
  zemtra::RowPairs request{rows.seqs, rows.len.data(), 0, ks.data(), ks.size(), 14, 10, level(), width()};
  request.kernel = rowKernel();
  EXPECT_EXIT(zemtra::alignRowPairs(request, *path, ws_,
                                    [](const zemtra::PairOutcome& got) { std::fprintf(stderr, "pair %lu\n", got.k); }),
              testing::ExitedWithCode(1), "pair 1\npair 2\n(.|\n)*gap A");
}

// Two groups: the comp_kv series and pair_kv against GroupProfile and
// pairFast. Under matrix 14 the averaged matrix can leave nothing worth
// pairing and the reference ends the process; each side therefore aligns in
// a child process, and the two must end alike.
TEST_P(Kernel, GroupAlignmentsMatchUnderEveryMatrix) {
  if (singlePairRunDone()) GTEST_SKIP();
  std::mt19937 rng(7170);
  exact::ScratchDir scratch;
  zemtra::GroupProfile profile;
  for (int matNo = 0; matNo < 15; ++matNo) {
    for (int gap : {0, 100}) {
      const int lenJ = exact::uniform(rng, 1, 40), lenK = exact::uniform(rng, 1, 40);
      // Matrix 14 with gap 0 takes wide groups.
      const int most = matNo == 14 && gap == 0 ? 30 : 6;
      const int countJ = exact::uniform(rng, 1, most), countK = exact::uniform(rng, 1, most);
      const std::string& alphabet = exact::kAlphabets[static_cast<std::size_t>(exact::uniform(rng, 0, 5))];
      std::vector<std::string> text;
      std::vector<unsigned long> groupJ, groupK;
      for (int r = 0; r < countJ; ++r) text.push_back(exact::randomRow(rng, lenJ, alphabet, 0.3));
      for (int r = 0; r < countK; ++r) text.push_back(exact::randomRow(rng, lenK, alphabet, 0.3));
      for (int r = 0; r < countJ + countK; ++r) (r < countJ ? groupJ : groupK).push_back(static_cast<unsigned long>(r));
      std::shuffle(groupJ.begin(), groupJ.end(), rng);
      std::shuffle(groupK.begin(), groupK.end(), rng);
      const Rows rows(text, 2 * 40 + 2);
      const unsigned long width = rows.seqs.cols();
      KARVO::Matrix<int> refCmp(width, width), fastCmp(width, width);
      unsigned long refLenJ = 0, refLenK = 0, fastLenJ = 0, fastLenK = 0;
      bool first = true;
      for (unsigned long a : groupJ)
        for (unsigned long b : groupK)
          comp_kv(a, b, matNo, &refLenJ, &refLenK, refCmp, rows.seqs, rows.len.data(), first);
      profile.compare({rows.seqs, rows.len.data(), groupJ.data(), countJ, groupK.data(), countK, matNo}, fastCmp,
                      &fastLenJ, &fastLenK);
      ASSERT_EQ(refLenJ, fastLenJ);
      ASSERT_EQ(refLenK, fastLenK);
      for (unsigned long p = 1; p <= refLenJ; ++p)
        for (unsigned long q = 1; q <= refLenK; ++q) ASSERT_EQ(refCmp[p][q], fastCmp[p][q]) << p << "," << q;
      auto align = [&](bool fast) {
        return exact::inChild(scratch.fresh(), [&](const std::string&) {
          auto path = markedPath(width);
          int alen = 0;
          const int score =
              fast ? zemtra::pairFast(fastLenJ, fastLenK, gap, &alen, countJ * countK, fastCmp, *path, ws_, level())
                   : pair_kv(refLenJ, refLenK, gap, &alen, countJ * countK, refCmp, *path);
          std::string out = std::to_string(score) + " " + std::to_string(alen) + ":";
          for (unsigned long r = 0; r < 2; ++r)
            for (unsigned long c = 0; c < width; ++c) out += " " + std::to_string((*path)[r][c]);
          return out;
        });
      };
      const exact::ChildResult reference = align(false), fast = align(true);
      ASSERT_EQ(reference.status, fast.status) << "matrix " << matNo << ", gap " << gap;
      ASSERT_EQ(reference.errors, fast.errors);
      ASSERT_EQ(reference.text, fast.text) << "matrix " << matNo << ", gap " << gap;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Levels, Kernel,
                         ::testing::Combine(::testing::Values(SimdLevel::kPortable, SimdLevel::kSse2, SimdLevel::kAvx2,
                                                              SimdLevel::kAvx512),
                                            ::testing::Values(LaneWidth::kAuto, LaneWidth::kWide),
                                            ::testing::Values(PairKernel::kMultiPair, PairKernel::kWithinPair)),
                         [](const auto& test) {
                           return levelName(std::get<0>(test.param)) +
                                  (std::get<1>(test.param) == LaneWidth::kWide ? "Wide" : "Auto") +
                                  (std::get<2>(test.param) == PairKernel::kWithinPair ? "WithinPair" : "");
                         });

TEST(GroupProfileDeathTest, EmptyGroupsTouchNothingAndAMemberOfAnotherLengthFailsTheSeriesAssertion) {
  const Rows rows({"ACD", "ACDE", "WW"}, 10);
  KARVO::Matrix<int> cmp(10, 10);
  cmp[1][1] = 77;
  unsigned long lenJ = 0, lenK = 0;
  const unsigned long members1[] = {0, 1}, members2[] = {2};
  zemtra::GroupProfile profile;
  profile.compare({rows.seqs, rows.len.data(), members1, 1, members2, 0, 0}, cmp, &lenJ, &lenK);
  profile.compare({rows.seqs, rows.len.data(), members1, 0, members2, 1, 0}, cmp, &lenJ, &lenK);
  EXPECT_EQ(77, cmp[1][1]);
  const zemtra::GroupComparison mixed{rows.seqs, rows.len.data(), members1, 2, members2, 1, 0};
  EXPECT_DEATH(profile.compare(mixed, cmp, &lenJ, &lenK), "comp_kv.*\\*lenj == lenJ");
}

TEST(ColumnExactness, MeasuresOfFinishedRowsMatch) {
  std::mt19937 rng(8180);
  for (int matNo = 0; matNo < 15; ++matNo) {
    const zemtra::ScoreLookup scores(matNo);
    for (int a = 1; a < 256; a += 7)
      for (int b = 1; b < 256; b += 5)
        ASSERT_EQ(ScoMat::pairScore(matNo, static_cast<char>(a), static_cast<char>(b)),
                  scores.pair(static_cast<char>(a), static_cast<char>(b)));
    for (int gap : {0, 100}) {
      const int width = exact::uniform(rng, 1, 60);
      std::vector<std::string> text;
      for (int r = 0; r < 6; ++r)
        text.push_back(exact::randomRow(rng, width, exact::kAlphabets[static_cast<std::size_t>(r % 6)], 0.4));
      text.push_back(std::string(static_cast<std::size_t>(width), '-'));
      Rows rows(text, 2 * 60 + 2);
      KARVO::Matrix<int> alilen(7, 7);
      KARVO::Matrix<long> unusedPath(2, 2);
      for (unsigned long j = 0; j < 7; ++j) {
        for (unsigned long k = j; k < 7; ++k) {
          const zemtra::ColumnMeasures m = zemtra::measureColumns(rows.seqs[j], rows.seqs[k], width, scores, gap);
          const int refScore = score_kv(j, k, width, matNo, gap, 0, rows.seqs, unusedPath);
          ASSERT_EQ(refScore, m.score) << j << "," << k;
          EXPECT_EQ(std::bit_cast<std::uint32_t>(pidf_kv(j, k, width, rows.seqs, rows.nres.data())),
                    std::bit_cast<std::uint32_t>(zemtra::percentOfShorter(m.identities, rows.nres[j], rows.nres[k])));
          EXPECT_EQ(pdif_kv(j, k, width, rows.seqs, alilen), static_cast<float>(m.differences));
          EXPECT_EQ(alilen[j][k], m.counted);
          const float nas = zemtra::normalisedScore(m.score, zemtra::columnSelfScore(rows.seqs[j], width, scores),
                                                    zemtra::columnSelfScore(rows.seqs[k], width, scores));
          EXPECT_EQ(std::bit_cast<std::uint32_t>(norm_kv(j, k, width, refScore, matNo, 0, rows.seqs, unusedPath)),
                    std::bit_cast<std::uint32_t>(nas));
        }
      }
    }
  }
}

TEST(EngineChoices, LevelsAndOptions) {
  EXPECT_TRUE(zemtra::simdLevelSupported(zemtra::bestSimdLevel()));
  EXPECT_TRUE(zemtra::simdLevelSupported(SimdLevel::kPortable));
  EXPECT_EQ(zemtra::batchLevelFor(SimdLevel::kPortable, 5000, 5000), SimdLevel::kPortable);
  if (zemtra::simdLevelSupported(SimdLevel::kSse2)) {
    EXPECT_EQ(zemtra::batchLevelFor(SimdLevel::kSse2, 5000, 5000), SimdLevel::kSse2);
    if (zemtra::simdLevelSupported(SimdLevel::kAvx512)) {
      EXPECT_EQ(zemtra::batchLevelFor(SimdLevel::kAvx512, 300, 300), SimdLevel::kAvx512);
      EXPECT_EQ(zemtra::batchLevelFor(SimdLevel::kAvx512, 3000, 3000), SimdLevel::kSse2);
    }
    if (zemtra::simdLevelSupported(SimdLevel::kAvx2)) {
      EXPECT_EQ(zemtra::batchLevelFor(SimdLevel::kAvx2, 2000, 2000), SimdLevel::kAvx2);
      EXPECT_EQ(zemtra::batchLevelFor(SimdLevel::kAvx2, 2800, 2800), SimdLevel::kAvx2);
      EXPECT_EQ(zemtra::batchLevelFor(SimdLevel::kAvx2, 2900, 2900), SimdLevel::kSse2);
    }
  }
  // Rows of long sequences with a few pairs go one pair at a time; full
  // batches of short ones, and codes beyond the budget, stay in lanes.
  for (SimdLevel level : {SimdLevel::kPortable, SimdLevel::kAvx2}) {
    const unsigned long lanes = zemtra::batchLanes(level, LaneWidth::kAuto);
    EXPECT_TRUE(zemtra::simd::withinPairCheaper(level, {3, 1000, 1000, 3000, lanes / 2, true}));
    EXPECT_TRUE(zemtra::simd::withinPairCheaper(level, {2, 300, 300, 600, lanes, false}));
    EXPECT_FALSE(zemtra::simd::withinPairCheaper(level, {lanes, 300, 300, 300 * lanes, lanes, false}));
    EXPECT_FALSE(zemtra::simd::withinPairCheaper(level, {1, 9000, 9000, 9000, lanes, false}));
  }
  EXPECT_TRUE(zemtraEngineSettingsFrom("1", nullptr).reference);
  for (const char* off : {"0", "yes", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(zemtraEngineSettingsFrom(off, nullptr).reference);
  EXPECT_EQ(3u, zemtraEngineSettingsFrom(nullptr, "3").threads);
  for (const char* bad : {"0", "-2", "2x", "", " 2", "100000"})
    EXPECT_EQ(0u, zemtraEngineSettingsFrom(nullptr, bad).threads) << bad;
  EXPECT_GE(zemtra::threadCount({}), 1u);
  EXPECT_EQ(5u, zemtra::threadCount({false, 5}));
}

}  // namespace
