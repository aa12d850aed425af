// Random inputs and side-by-side comparisons of the fast routines with the
// reference ones.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "core/matrix.h"
#include "pairwise/dpa.h"

namespace fastfix {

// Rows of a working alignment, text from column 1, room for width columns.
struct Rows {
  Rows(const std::vector<std::string>& text, unsigned long width) : seqs(text.size(), width), len(text.size()) {
    for (unsigned long r = 0; r < text.size(); ++r) {
      for (unsigned long c = 0; c < width; ++c) seqs[r][c] = '#';
      for (unsigned long c = 0; c < text[r].size(); ++c) seqs[r][c + 1] = text[r][c];
      len[r] = text[r].size();
    }
  }
  KARVO::Matrix<char> seqs;
  std::vector<unsigned long> len;
};

inline std::string randomRow(std::mt19937& rng, unsigned long length, const std::string& alphabet) {
  std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
  std::string s;
  for (unsigned long c = 0; c < length; ++c) s += alphabet[pick(rng)];
  return s;
}

// All residue letters, the letters without a residue of their own, and gaps.
inline const std::string kMixedAlphabet = "ACDEFGHIKLMNPQRSTVWYBZJOUX-----";

inline int randomInt(std::mt19937& rng, int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); }

inline std::unique_ptr<KARVO::Matrix<int>> randomScores(std::mt19937& rng, unsigned long n, unsigned long m, int lo,
                                                        int hi) {
  auto s = std::make_unique<KARVO::Matrix<int>>(n, m);
  for (unsigned long i = 0; i < s->rows(); ++i)
    for (unsigned long c = 0; c < s->cols(); ++c) (*s)[i][c] = randomInt(rng, lo, hi);
  return s;
}

// A path matrix of 2 rows filled with a recognisable pattern, so that
// untouched columns can be compared too.
inline std::unique_ptr<KARVO::Matrix<long>> patternPath(unsigned long width) {
  auto p = std::make_unique<KARVO::Matrix<long>>(2, width);
  for (unsigned long c = 0; c < width; ++c) (*p)[0][c] = (*p)[1][c] = 1000 + static_cast<long>(c);
  return p;
}

inline void expectSamePath(const KARVO::Matrix<long>& expected, const KARVO::Matrix<long>& actual) {
  ASSERT_EQ(expected.cols(), actual.cols());
  for (unsigned long r = 0; r < expected.rows(); ++r)
    for (unsigned long c = 0; c < expected.cols(); ++c)
      ASSERT_EQ(expected[r][c], actual[r][c]) << "path[" << r << "][" << c << "]";
}

// Every entry of the two records, including those past the length.
inline void expectSameRecord(const Alignment& expected, const Alignment& actual) {
  ASSERT_EQ(expected.length, actual.length);
  ASSERT_EQ(expected.nmatch, actual.nmatch);
  ASSERT_EQ(expected.capacity, actual.capacity);
  for (unsigned long o = 0; o < expected.capacity; ++o) {
    ASSERT_EQ(expected.posA[o], actual.posA[o]) << "column " << o;
    ASSERT_EQ(expected.posB[o], actual.posB[o]) << "column " << o;
    ASSERT_EQ(expected.paired[o], actual.paired[o]) << "column " << o;
  }
}

}  // namespace fastfix
