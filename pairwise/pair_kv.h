// Alignment of two groups from their summed comparison matrix, and the merge
// of the two groups into the working alignment along the resulting path.
#pragma once

#include "core/matrix.h"

int pair_kv(unsigned long lenJ, unsigned long lenK, int gap, int* alen, int pairs, const KARVO::Matrix<int>& cmp,
            KARVO::Matrix<long>& path);

void copy_kv(const unsigned long* members1, int count1, const unsigned long* members2, int count2, int alen,
             KARVO::Matrix<char>& seqs, const KARVO::Matrix<long>& path, unsigned long* len);
