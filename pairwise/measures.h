// Similarity score, normalised score, identities, differences and distances
// of pairwise alignments. mode 0 reads two rows of seqs column by column; any
// other mode reads the pair through the alignment path.
#pragma once

#include "core/matrix.h"

int score_kv(unsigned long j, unsigned long k, int alen, int matNo, int gap, int mode, const KARVO::Matrix<char>& seqs,
             const KARVO::Matrix<long>& path);

float norm_kv(unsigned long j, unsigned long k, int alen, int score, int matNo, int mode,
              const KARVO::Matrix<char>& seqs, const KARVO::Matrix<long>& path);

float pids_kv(unsigned long j, unsigned long k, int alen, const KARVO::Matrix<char>& seqs, const unsigned long* nres,
              const KARVO::Matrix<long>& path);

float pidf_kv(unsigned long j, unsigned long k, int alen, const KARVO::Matrix<char>& seqs, const unsigned long* nres);

float pdif_kv(unsigned long j, unsigned long k, int alen, const KARVO::Matrix<char>& seqs, KARVO::Matrix<int>& alilen);

void dist_kv(KARVO::Matrix<float>& values);

namespace zemtra {

// pids_kv's and pidf_kv's arithmetic: identities * 100 / the residue count
// of the shorter sequence, 0 when that count is 0.
float percentOfShorter(int identities, unsigned long nresJ, unsigned long nresK);

}  // namespace zemtra
