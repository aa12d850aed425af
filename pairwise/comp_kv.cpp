#include "pairwise/comp_kv.h"

#include "core/diagnostics.h"
#include "scoring/scomat.h"

void comp_kv(unsigned long j, unsigned long k, int matNo, unsigned long* lenj, unsigned long* lenk,
             KARVO::Matrix<int>& cmp, const KARVO::Matrix<char>& seqs, const unsigned long* len, bool& first) {
  const unsigned long lenJ = len[j];
  const unsigned long lenK = len[k];
  const char* rowJ = seqs[j];
  const char* rowK = seqs[k];

  if (first) {
    first = false;
    for (unsigned long p = 1; p <= lenJ; ++p) {
      int* out = cmp[p];
      const char a = rowJ[p];
      for (unsigned long q = 1; q <= lenK; ++q) {
        const char b = rowK[q];
        out[q] = (a != '-' && b != '-') ? ScoMat::pairScore(matNo, a, b) : 0;
      }
    }
    *lenj = lenJ;
    *lenk = lenK;
    return;
  }

  for (unsigned long p = 1; p <= lenJ; ++p) {
    int* out = cmp[p];
    const char a = rowJ[p];
    if (a == '-') continue;
    for (unsigned long q = 1; q <= lenK; ++q) {
      const char b = rowK[q];
      if (b != '-') out[q] += ScoMat::pairScore(matNo, a, b);
    }
  }
  ZEMTRA_ASSERT(*lenj == lenJ);
  ZEMTRA_ASSERT(*lenk == lenK);
}
