#include "pairwise/group_profile.h"

#include <algorithm>

#include "core/memory_size.h"
#include "pairwise/comp_kv.h"
#include "scoring/scomat.h"

namespace zemtra {

namespace {

constexpr int kIndices = ScoMat::kAlphabet;  // residue indices 0..20; '-' counts nowhere

bool sameLengths(const unsigned long* members, int count, const unsigned long* len) {
  for (int g = 1; g < count; ++g)
    if (len[members[g]] != len[members[0]]) return false;
  return true;
}

unsigned long columnScoreCells(unsigned long columns) { return kIndices * columns; }

}  // namespace

void GroupProfile::compare(const GroupComparison& groups, KARVO::Matrix<int>& cmp, unsigned long* lenj,
                           unsigned long* lenk) {
  if (groups.count1 <= 0 || groups.count2 <= 0) return;
  if (!sameLengths(groups.members1, groups.count1, groups.len) ||
      !sameLengths(groups.members2, groups.count2, groups.len)) {
    // An inconsistent group is an internal error; let the series itself
    // report it at the call where it notices.
    bool first = true;
    for (int a = 0; a < groups.count1; ++a)
      for (int b = 0; b < groups.count2; ++b)
        comp_kv(groups.members1[a], groups.members2[b], groups.matNo, lenj, lenk, cmp, groups.seqs, groups.len, first);
    return;
  }

  const unsigned long lenJ = groups.len[groups.members1[0]];
  const unsigned long lenK = groups.len[groups.members2[0]];
  const int* mat = ScoMat::mats + groups.matNo * kIndices * kIndices;

  // columnScores_[r * lenK + q - 1] = sum over the second group's residues
  // b at column q of the score of (r, b): r picks the matrix row, as the
  // first group's letter does in comp_kv.
  if (columnScores_.size() < columnScoreCells(lenK)) columnScores_.resize(columnScoreCells(lenK));
  if (counts_.size() < kIndices) counts_.resize(kIndices);
  int* columnScores = columnScores_.data();
  int* counts = counts_.data();
  for (unsigned long q = 1; q <= lenK; ++q) {
    std::fill(counts, counts + kIndices, 0);
    for (int g = 0; g < groups.count2; ++g) {
      const char b = groups.seqs[groups.members2[g]][q];
      if (b != '-') ++counts[ScoMat::residueIndex(b)];
    }
    for (int r = 0; r < kIndices; ++r) {
      int sum = 0;
      for (int b = 0; b < kIndices; ++b) sum += counts[b] * mat[r * kIndices + b];
      columnScores[static_cast<unsigned long>(r) * lenK + q - 1] = sum;
    }
  }

  for (unsigned long p = 1; p <= lenJ; ++p) {
    std::fill(counts, counts + kIndices, 0);
    for (int g = 0; g < groups.count1; ++g) {
      const char a = groups.seqs[groups.members1[g]][p];
      if (a != '-') ++counts[ScoMat::residueIndex(a)];
    }
    int* out = cmp[p] + 1;
    std::fill(out, out + lenK, 0);
    for (int r = 0; r < kIndices; ++r) {
      const int weight = counts[r];
      if (weight == 0) continue;
      const int* in = columnScores + static_cast<unsigned long>(r) * lenK;
      for (unsigned long q = 0; q < lenK; ++q) out[q] += weight * in[q];
    }
  }
  *lenj = lenJ;
  *lenk = lenK;
}

std::uint64_t GroupProfile::bytesFor(unsigned long columns) {
  // A vector may hold up to twice what it was last asked for.
  return KARVO::bytesTimes(2 * sizeof(int), KARVO::bytesPlus(columnScoreCells(columns), kIndices));
}

}  // namespace zemtra
