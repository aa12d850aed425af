// Position-by-position comparison matrix of two rows of the working alignment.
#pragma once

#include "core/matrix.h"

// fresh mode (first == true) writes cmp[1..lenJ][1..lenK]; accumulating mode adds.
void comp_kv(unsigned long j, unsigned long k, int matNo, unsigned long* lenj, unsigned long* lenk,
             KARVO::Matrix<int>& cmp, const KARVO::Matrix<char>& seqs, const unsigned long* len, bool& first);
