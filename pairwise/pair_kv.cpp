#include "pairwise/pair_kv.h"

#include "core/diagnostics.h"
#include "pairwise/dpa.h"
#include "plugin/zemtra_types.h"

namespace {}  // namespace

int pair_kv(unsigned long lenJ, unsigned long lenK, int gap, int* alen, int pairs, const KARVO::Matrix<int>& cmp,
            KARVO::Matrix<long>& path) {
  KARVO::Matrix<int> sim(lenJ, lenK);
  // With either length 0 sim has no rows at all (not lenJ empty ones).
  for (unsigned long p = 1; p <= sim.rows(); ++p) {
    const int* in = cmp[p];
    int* out = sim[p - 1];
    for (unsigned long q = 1; q <= lenK; ++q) out[q - 1] = averagedScore(in[q], pairs);
  }

  Alignment record(lenJ + lenK);
  const int score = DPA::fredman<int>(gap, sim, record);

  const int L = record.length;
  if (L > 0 && static_cast<unsigned long>(L) < path.cols()) {
    for (int s = 0; s < L; ++s) {
      path[0][s + 1] = record.posA[s] == kGapMark ? kGapMark : record.posA[s] + 1;
      path[1][s + 1] = record.posB[s] == kGapMark ? kGapMark : record.posB[s] + 1;
    }
  }
  *alen = L;
  return score;
}

std::uint64_t pairKvBytes(unsigned long lenJ, unsigned long lenK) {
  // sim, the record and what fredman allocates with it.
  const std::uint64_t own =
      KARVO::bytesPlus(KARVO::Matrix<int>::bytesFor(lenJ, lenK), Alignment::bytesFor(lenJ + lenK));
  return KARVO::bytesPlus(own, DPA::fredmanBytes(lenJ, lenK, lenJ + lenK));
}

void copy_kv(const unsigned long* members1, int count1, const unsigned long* members2, int count2, int alen,
             KARVO::Matrix<char>& seqs, const KARVO::Matrix<long>& path, unsigned long* len) {
  if (seqs.cols() <= static_cast<unsigned long>(alen))
    zemtra::fatalExit(nullptr, ZemtraExit::kRowsDoNotFit, "rows do not fit");

  Array<char> buffer(static_cast<std::uint32_t>(alen + 1));
  auto rewrite = [&](const unsigned long* members, int count, const long* positions) {
    for (int m = 0; m < count; ++m) {
      char* row = seqs[members[m]];
      for (int c = 1; c <= alen; ++c) buffer.data[c] = positions[c] == kGapMark ? '-' : row[positions[c]];
      for (int c = 1; c <= alen; ++c) row[c] = buffer.data[c];
      len[members[m]] = static_cast<unsigned long>(alen);
    }
  };
  rewrite(members1, count1, path[0]);
  rewrite(members2, count2, path[1]);
}
