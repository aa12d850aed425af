// The run's substitution matrix as a parasail matrix, for the benchmarks
// that use parasail as a yardstick: the run's residue letters and the gap
// character, which the run scores 0 against anything.
#pragma once

#include <parasail.h>

#include "scoring/scomat.h"

namespace bench {

inline parasail_matrix_t* parasailMatrix(int matNo) {
  static const char kAlphabet[] = "ACDEFGHIKLMNPQRSTVWYBZX-";
  parasail_matrix_t* m = parasail_matrix_create(kAlphabet, 0, 0);
  const int n = static_cast<int>(sizeof(kAlphabet)) - 1;
  for (int a = 0; a < n; ++a) {
    for (int b = 0; b < n; ++b) {
      const bool gap = kAlphabet[a] == '-' || kAlphabet[b] == '-';
      parasail_matrix_set_value(m, a, b, gap ? 0 : ScoMat::pairScore(matNo, kAlphabet[a], kAlphabet[b]));
    }
  }
  return m;
}

}  // namespace bench
