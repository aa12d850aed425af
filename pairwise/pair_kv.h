// Alignment of two groups from their summed comparison matrix, and the merge
// of the two groups into the working alignment along the resulting path.
#pragma once

#include <cstdint>

#include "core/matrix.h"

// Average of a summed cell of cmp over the member pairs, rounded half up for
// non-negative values (truncation toward zero after adding 0.5).
inline int averagedScore(int sum, int pairs) {
  const float quotient = static_cast<float>(sum) / static_cast<float>(pairs);
  return static_cast<int>(static_cast<double>(quotient) + 0.5);
}

int pair_kv(unsigned long lenJ, unsigned long lenK, int gap, int* alen, int pairs, const KARVO::Matrix<int>& cmp,
            KARVO::Matrix<long>& path);

// Bytes pair_kv allocates for sequences of those lengths.
std::uint64_t pairKvBytes(unsigned long lenJ, unsigned long lenK);

void copy_kv(const unsigned long* members1, int count1, const unsigned long* members2, int count2, int alen,
             KARVO::Matrix<char>& seqs, const KARVO::Matrix<long>& path, unsigned long* len);
