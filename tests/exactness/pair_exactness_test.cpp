// Pair by pair, the fast routines against the reference ones: score, alignment
// length and every path column of each pairwise alignment, the measures taken
// through the path and over finished rows, and the alignment of two groups,
// under every matrix with gap 0 and gap 100, on random and tie-heavy rows.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <memory>

#include "exactness_fixtures.h"
#include "pairwise/comp_kv.h"
#include "pairwise/fast_dp.h"
#include "pairwise/fast_measures.h"
#include "pairwise/group_profile.h"
#include "pairwise/measures.h"
#include "pairwise/pair_kv.h"

namespace {

// Rows of a working alignment, text from column 1, room for width columns.
struct Rows {
  Rows(const std::vector<std::string>& text, unsigned long width)
      : seqs(text.size(), width), len(text.size()), nres(text.size(), 0) {
    for (unsigned long r = 0; r < text.size(); ++r) {
      for (unsigned long c = 0; c < width; ++c) seqs[r][c] = c <= text[r].size() && c > 0 ? text[r][c - 1] : '.';
      len[r] = text[r].size();
      for (char ch : text[r]) nres[r] += ch != '-';
    }
  }
  KARVO::Matrix<char> seqs;
  std::vector<unsigned long> len;
  std::vector<unsigned long> nres;
};

std::unique_ptr<KARVO::Matrix<long>> markedPath(unsigned long width) {
  auto p = std::make_unique<KARVO::Matrix<long>>(2, width);
  for (unsigned long c = 0; c < width; ++c) (*p)[0][c] = (*p)[1][c] = 7000 + static_cast<long>(c);
  return p;
}

void expectSamePath(const KARVO::Matrix<long>& expected, const KARVO::Matrix<long>& actual) {
  for (unsigned long r = 0; r < 2; ++r)
    for (unsigned long c = 0; c < expected.cols(); ++c) ASSERT_EQ(expected[r][c], actual[r][c]) << "path column " << c;
}

std::vector<std::string> randomRows(std::mt19937& rng, int count, int maxLength) {
  const std::string& alphabet = exact::kAlphabets[static_cast<std::size_t>(exact::uniform(rng, 0, 5))];
  const double gapShare = exact::uniform(rng, 0, 40) / 100.0;
  std::vector<std::string> rows;
  for (int r = 0; r < count; ++r)
    rows.push_back(exact::randomRow(rng, exact::uniform(rng, 1, maxLength), alphabet, gapShare));
  return rows;
}

// Every pair of row j with the later rows: the pairwise phase's chain of the
// fast engine against comp_kv, pair_kv, score_kv, norm_kv and pids_kv.
void expectRowMatches(const Rows& rows, unsigned long j, int matNo, int gap) {
  const unsigned long width = rows.seqs.cols();
  const unsigned long ns = rows.len.size();
  std::vector<unsigned long> ks;
  for (unsigned long k = j + 1; k < ns; ++k) ks.push_back(k);
  auto fastPath = markedPath(width);
  auto refPath = markedPath(width);
  KARVO::Matrix<int> cmp(width, width);
  zemtra::DpWorkspace ws;
  const zemtra::ScoreLookup scores(matNo);
  zemtra::RowPairs request{rows.seqs, rows.len.data(), j, ks.data(), ks.size(), matNo, gap};
  request.reportPairless = true;
  zemtra::alignRowPairs(request, *fastPath, ws, [&](const zemtra::PairOutcome& got) {
    const unsigned long k = got.k;
    SCOPED_TRACE("pair " + std::to_string(j) + "-" + std::to_string(k) + ", matrix " + std::to_string(matNo) +
                 ", gap " + std::to_string(gap));
    bool first = true;
    unsigned long lenJ = 0, lenK = 0;
    comp_kv(j, k, matNo, &lenJ, &lenK, cmp, rows.seqs, rows.len.data(), first);
    if (got.pairless != nullptr) {
      // The reference ends the process on this pair, with the same message.
      int alen = 0;
      EXPECT_EXIT(pair_kv(lenJ, lenK, gap, &alen, 1, cmp, *refPath), testing::ExitedWithCode(1), got.pairless);
      return;
    }
    int alen = 0;
    const int score = pair_kv(lenJ, lenK, gap, &alen, 1, cmp, *refPath);
    ASSERT_EQ(score, got.score);
    ASSERT_EQ(alen, got.alen);
    expectSamePath(*refPath, *fastPath);
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
}

TEST(PairExactness, PairwisePhasePairsMatchUnderEveryMatrixWithGapZeroAndHundred) {
  std::mt19937 rng(5150);
  for (int matNo = 0; matNo < 15; ++matNo) {
    for (int gap : {0, 100}) {
      for (int round = 0; round < 3; ++round) {
        const Rows rows(randomRows(rng, 12, 50), 2 * 50 + 2);
        for (unsigned long j = 0; j < 11; j += 5) expectRowMatches(rows, j, matNo, gap);
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST(PairExactness, TieHeavyPairsMatchWithAnyGap) {
  std::mt19937 rng(6160);
  for (const std::string alphabet : {"A", "AC", "A-", "AAC--"}) {
    std::vector<std::string> text;
    for (int r = 0; r < 10; ++r) text.push_back(exact::randomRow(rng, exact::uniform(rng, 1, 40), alphabet, 0.0));
    const Rows rows(text, 82);
    for (int matNo : {0, 5, 14}) {
      for (int gap : {0, 1, 37, 100}) expectRowMatches(rows, 0, matNo, gap);
      if (HasFatalFailure()) return;
    }
  }
}

// Two groups: the comp_kv series and pair_kv against GroupProfile and
// pairFast, on rows of one length per group.
TEST(PairExactness, GroupAlignmentsMatchUnderEveryMatrixWithGapZeroAndHundred) {
  std::mt19937 rng(7170);
  exact::ScratchDir scratch;
  zemtra::GroupProfile profile;
  zemtra::DpWorkspace ws;
  for (int matNo = 0; matNo < 15; ++matNo) {
    for (int gap : {0, 100}) {
      const int lenJ = exact::uniform(rng, 1, 40);
      const int lenK = exact::uniform(rng, 1, 40);
      const int countJ = exact::uniform(rng, 1, 6);
      const int countK = exact::uniform(rng, 1, 6);
      const std::string& alphabet = exact::kAlphabets[static_cast<std::size_t>(exact::uniform(rng, 0, 5))];
      std::vector<std::string> text;
      for (int r = 0; r < countJ; ++r) text.push_back(exact::randomRow(rng, lenJ, alphabet, 0.3));
      for (int r = 0; r < countK; ++r) text.push_back(exact::randomRow(rng, lenK, alphabet, 0.3));
      const Rows rows(text, 2 * 40 + 2);
      std::vector<unsigned long> groupJ, groupK;
      for (int r = 0; r < countJ; ++r) groupJ.push_back(static_cast<unsigned long>(r));
      for (int r = 0; r < countK; ++r) groupK.push_back(static_cast<unsigned long>(countJ + r));
      const unsigned long width = rows.seqs.cols();

      KARVO::Matrix<int> refCmp(width, width);
      unsigned long refLenJ = 0, refLenK = 0;
      bool first = true;
      for (unsigned long a : groupJ)
        for (unsigned long b : groupK)
          comp_kv(a, b, matNo, &refLenJ, &refLenK, refCmp, rows.seqs, rows.len.data(), first);
      KARVO::Matrix<int> fastCmp(width, width);
      unsigned long fastLenJ = 0, fastLenK = 0;
      profile.compare({rows.seqs, rows.len.data(), groupJ.data(), countJ, groupK.data(), countK, matNo}, fastCmp,
                      &fastLenJ, &fastLenK);
      ASSERT_EQ(refLenJ, fastLenJ);
      ASSERT_EQ(refLenK, fastLenK);
      for (unsigned long p = 1; p <= refLenJ; ++p)
        for (unsigned long q = 1; q <= refLenK; ++q) ASSERT_EQ(refCmp[p][q], fastCmp[p][q]) << p << "," << q;

      // Under matrix 14 the averaged matrix can leave nothing worth pairing,
      // and the reference ends the process; each side therefore aligns in a
      // child process, and the two must end alike.
      const int pairs = countJ * countK;
      auto align = [&](bool fast) {
        return exact::inChild(scratch.fresh(), [&](const std::string&) {
          auto path = markedPath(width);
          int alen = 0;
          const int score = fast ? zemtra::pairFast(fastLenJ, fastLenK, gap, &alen, pairs, fastCmp, *path, ws)
                                 : pair_kv(refLenJ, refLenK, gap, &alen, pairs, refCmp, *path);
          std::string text = std::to_string(score) + " " + std::to_string(alen) + ":";
          for (unsigned long r = 0; r < 2; ++r)
            for (unsigned long c = 0; c < width; ++c) text += " " + std::to_string((*path)[r][c]);
          return text;
        });
      };
      const exact::ChildResult reference = align(false);
      const exact::ChildResult fast = align(true);
      ASSERT_EQ(reference.status, fast.status) << "matrix " << matNo << ", gap " << gap;
      ASSERT_EQ(reference.errors, fast.errors);
      ASSERT_EQ(reference.text, fast.text) << "matrix " << matNo << ", gap " << gap;
    }
  }
}

TEST(PairExactness, ColumnMeasuresOfFinishedRowsMatch) {
  std::mt19937 rng(8180);
  for (int matNo = 0; matNo < 15; ++matNo) {
    const zemtra::ScoreLookup scores(matNo);
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

}  // namespace
