#include "pairwise/measures.h"

#include <algorithm>
#include <cmath>

#include "pairwise/dpa.h"
#include "scoring/scomat.h"

namespace {

inline bool isGap(char c) { return c == '-'; }

// The columns an alignment of rows j and k consists of, gap-only columns dropped.
unsigned long collectColumns(unsigned long j, unsigned long k, int alen, int mode, const KARVO::Matrix<char>& seqs,
                             const KARVO::Matrix<long>& path, KARVO::Matrix<char>& table) {
  const char* rowJ = seqs[j];
  const char* rowK = seqs[k];
  unsigned long n = 0;
  auto append = [&](char a, char b) {
    ++n;
    table[0][n] = a;
    table[1][n] = b;
  };
  for (int s = 1; s <= alen; ++s) {
    if (mode == 0) {
      const char a = rowJ[s];
      const char b = rowK[s];
      if (!(isGap(a) && isGap(b))) append(a, b);
      continue;
    }
    const long pa = path[0][s];
    const long pb = path[1][s];
    if (pa == kGapMark && pb == kGapMark) continue;
    if (pa == kGapMark) {
      if (!isGap(rowK[pb])) append('-', rowK[pb]);
    } else if (pb == kGapMark) {
      if (!isGap(rowJ[pa])) append(rowJ[pa], '-');
    } else {
      append(rowJ[pa], rowK[pb]);
    }
  }
  return n;
}

// Sum of the self scores of the residues of one side of the alignment.
int selfSum(unsigned long row, int side, int alen, int matNo, int mode, const KARVO::Matrix<char>& seqs,
            const KARVO::Matrix<long>& path) {
  const char* chars = seqs[row];
  int sum = 0;
  for (int s = 1; s <= alen; ++s) {
    char c;
    if (mode == 0) {
      c = chars[s];
    } else {
      const long p = path[static_cast<unsigned long>(side)][static_cast<unsigned long>(s)];
      if (p == kGapMark) continue;
      c = chars[p];
    }
    if (!isGap(c)) sum += ScoMat::selfScore(matNo, c);
  }
  return sum;
}

inline bool identical(char a, char b) { return !isGap(a) && !isGap(b) && a == b; }

}  // namespace

int score_kv(unsigned long j, unsigned long k, int alen, int matNo, int gap, int mode, const KARVO::Matrix<char>& seqs,
             const KARVO::Matrix<long>& path) {
  KARVO::Matrix<char> table(2, seqs.cols());
  const unsigned long n = collectColumns(j, k, alen, mode, seqs, path, table);
  if (n == 0) return 0;

  int sum = 0;
  bool inGap = false;
  bool leading = false;
  for (unsigned long s = 1; s <= n; ++s) {
    const char a = table[0][s];
    const char b = table[1][s];
    if (!isGap(a) && !isGap(b)) {
      sum += ScoMat::pairScore(matNo, a, b);
      inGap = false;
      leading = false;
    } else if (s == n) {
      if (inGap) sum += gap;  // a gap that runs to the end is free
    } else if (inGap || leading) {
      // the gap goes on
    } else if (s == 1) {
      leading = true;  // so is a gap at the start
    } else {
      sum -= gap;
      inGap = true;
    }
  }
  return sum;
}

float norm_kv(unsigned long j, unsigned long k, int alen, int score, int matNo, int mode,
              const KARVO::Matrix<char>& seqs, const KARVO::Matrix<long>& path) {
  const int selfJ = selfSum(j, 0, alen, matNo, mode, seqs, path);
  const int selfK = selfSum(k, 1, alen, matNo, mode, seqs, path);
  const float sumSelf = static_cast<float>(selfJ + selfK);
  return static_cast<float>(static_cast<double>(static_cast<float>(score)) * 200.0 / static_cast<double>(sumSelf));
}

float pids_kv(unsigned long j, unsigned long k, int alen, const KARVO::Matrix<char>& seqs, const unsigned long* nres,
              const KARVO::Matrix<long>& path) {
  int identities = 0;
  for (int s = 1; s <= alen; ++s) {
    const long pa = path[0][s];
    const long pb = path[1][s];
    if (pa == kGapMark || pb == kGapMark) continue;
    if (identical(seqs[j][pa], seqs[k][pb])) ++identities;
  }
  return zemtra::percentOfShorter(identities, nres[j], nres[k]);
}

float pidf_kv(unsigned long j, unsigned long k, int alen, const KARVO::Matrix<char>& seqs, const unsigned long* nres) {
  int identities = 0;
  const char* rowJ = seqs[j];
  const char* rowK = seqs[k];
  for (int s = 1; s <= alen; ++s)
    if (identical(rowJ[s], rowK[s])) ++identities;
  return zemtra::percentOfShorter(identities, nres[j], nres[k]);
}

float pdif_kv(unsigned long j, unsigned long k, int alen, const KARVO::Matrix<char>& seqs, KARVO::Matrix<int>& alilen) {
  int counted = 0;
  int differences = 0;
  const char* rowJ = seqs[j];
  const char* rowK = seqs[k];
  for (int s = 1; s <= alen; ++s) {
    const char a = rowJ[s];
    const char b = rowK[s];
    if (isGap(a) && isGap(b)) continue;
    ++counted;
    if (a != b) ++differences;
  }
  alilen[j][k] = counted;
  alilen[k][j] = counted;
  return static_cast<float>(differences);
}

void dist_kv(KARVO::Matrix<float>& values) {
  if (values.cols() != values.rows()) return;
  const unsigned long n = values.rows();
  for (unsigned long i = 0; i < n; ++i) {
    for (unsigned long c = i; c < n; ++c) {
      if (i == c) {
        values[i][c] = 0.0f;
      } else {
        const float fraction = values[i][c] / 100.0f;
        values[i][c] = static_cast<float>(-100.0 * std::log(static_cast<double>(fraction)));
      }
      values[c][i] = values[i][c];
    }
  }
}

float zemtra::percentOfShorter(int identities, unsigned long nresJ, unsigned long nresK) {
  const unsigned long m = std::min(nresJ, nresK);
  if (m == 0) return 0.0f;
  return static_cast<float>(static_cast<double>(static_cast<float>(identities)) * 100.0 /
                            static_cast<double>(static_cast<float>(m)));
}
