// The pair measures (score_kv, norm_kv, pids_kv, pidf_kv, pdif_kv) computed
// together in one pass per pair, with the same integer sums and the same
// single/double precision steps, so that every result is the same bit for
// bit.
#pragma once

#include <cstdint>

#include "core/matrix.h"

namespace zemtra {

// Residue pair values of one substitution matrix, looked up by character.
class ScoreLookup {
 public:
  explicit ScoreLookup(int matNo);
  int pair(char a, char b) const {
    return values_[index_[static_cast<unsigned char>(a)] * kStride + index_[static_cast<unsigned char>(b)]];
  }
  int self(char a) const { return pair(a, a); }

 private:
  static constexpr int kStride = 21;
  std::uint8_t index_[256];
  const int* values_;
};

// norm_kv's arithmetic: score * 200 / (selfJ + selfK), the self scores
// added as integers, the quotient formed in double and rounded to float.
float normalisedScore(int score, int selfJ, int selfK);

// score_kv, norm_kv and pids_kv of rows j and k through path columns
// 1..alen, as the pairwise phase takes them.
struct PathMeasures {
  int score;
  float nas;
  float pid;
};

struct PathPair {
  const KARVO::Matrix<char>& seqs;
  const unsigned long* nres;
  unsigned long j;
  unsigned long k;
  int alen;
  const KARVO::Matrix<long>& path;
  const ScoreLookup& scores;
  int gap;
};

PathMeasures measurePath(const PathPair& pair);

// What the column mode sees of two rows over columns 1..alen: score_kv,
// pidf_kv's identities, pdif_kv's differences and counted columns.
struct ColumnMeasures {
  int score;
  int identities;
  int differences;
  int counted;
};

ColumnMeasures measureColumns(const char* rowJ, const char* rowK, int alen, const ScoreLookup& scores, int gap);

// norm_kv's self score of one row in column mode: the self values of its
// residues in columns 1..alen.
int columnSelfScore(const char* row, int alen, const ScoreLookup& scores);

}  // namespace zemtra
