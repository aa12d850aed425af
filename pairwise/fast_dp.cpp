#include "pairwise/fast_dp.h"

#include <algorithm>
#include <utility>

#include "core/diagnostics.h"
#include "pairwise/pair_kv.h"
#include "pairwise/simd/dispatch.h"
#include "pairwise/simd/workspace.h"

namespace zemtra {

namespace {

using simd::EndValues;
using simd::TraceResult;

// Buffer sizes of the scalar routines, in elements.
unsigned long stateRowCells(unsigned long m) { return 6 * (m + 1); }
unsigned long traceCells(unsigned long n, unsigned long m) { return n * m; }

// Fills the three state matrices row by row, keeping only two rows and one
// code byte per cell. rowScores(i) gives the m scores of position i of A
// against positions 1..m of B (0-based array). diag and vert of a row
// depend only on the row above, so they are computed in one vectorised
// pass; horz is a running maximum along the row and gets a second, serial
// pass.

template <class RowScores>
EndValues fillRows(unsigned long n, unsigned long m, int gap, const RowScores& rowScores, simd::RowPassFn rowPass,
                   DpWorkspace::Buffers& b) {
  EndValues end;
  if (n == 0 || m == 0) return end;
  // Six rows of m + 1 values: diag, vert, horz of the row above and of the
  // current row; column 0 stays 0.
  int* rows = simd::ensure(b.row, stateRowCells(m));
  std::fill(rows, rows + stateRowCells(m), 0);
  int* upD = rows;
  int* upV = upD + (m + 1);
  int* upH = upV + (m + 1);
  int* curD = upH + (m + 1);
  int* curV = curD + (m + 1);
  int* curH = curV + (m + 1);
  std::uint8_t* trace = simd::ensure(b.trace, traceCells(n, m));

  for (unsigned long i = 1; i <= n; ++i) {
    std::uint8_t* codes = trace + (i - 1) * m;
    rowPass({upD, upV, upH, rowScores(i), curD, curV, codes, m, gap});
    int h = 0;
    for (unsigned long c = 1; c <= m; ++c) {
      h = std::max(h, curD[c - 1]);
      curH[c] = h;
      codes[c - 1] |= static_cast<std::uint8_t>(h > curD[c] ? simd::kHorzStays : 0u);
    }
    std::swap(upD, curD);
    std::swap(upV, curV);
    std::swap(upH, curH);
  }
  end.diag = upD[m];
  end.vert = upV[m];
  end.horz = upH[m];
  return end;
}

int bestOf(const EndValues& end) { return std::max(end.diag, std::max(end.vert, end.horz)); }

TraceResult traceScalar(unsigned long n, unsigned long m, const EndValues& end, unsigned long capacity,
                        DpWorkspace::Buffers& b) {
  const std::uint8_t* trace = b.trace.data();
  auto codeAt = [trace, m](unsigned long i, unsigned long c) { return trace[(i - 1) * m + (c - 1)]; };
  return simd::traceBack(n, m, end, capacity, codeAt, b);
}

}  // namespace

std::uint64_t scalarWorkspaceBytes(unsigned long n, unsigned long m) {
  using KARVO::bytesPlus;
  using KARVO::bytesTimes;
  std::uint64_t bytes = bytesTimes(stateRowCells(m), sizeof(int));
  bytes = bytesPlus(bytes, bytesTimes(traceCells(n, m), sizeof(std::uint8_t)));
  bytes = bytesPlus(bytes, bytesTimes(m, sizeof(int)));  // pairFast's averaged row
  return bytesPlus(bytes, simd::traceEntryBytes(simd::traceEntries(n, m)));
}

DpWorkspace::DpWorkspace() : buffers_(std::make_unique<Buffers>()) {}
DpWorkspace::~DpWorkspace() = default;

namespace simd {

void writePath(const TraceResult& r, const long* entryA, const long* entryB, KARVO::Matrix<long>& path) {
  const unsigned long count = r.count;
  if (count == 0 || count >= path.cols()) return;
  long* rowA = path[0];
  long* rowB = path[1];
  for (unsigned long s = 0; s < count; ++s) {
    const long a = entryA[count - 1 - s];
    const long c = entryB[count - 1 - s];
    rowA[s + 1] = a == kScratchGap ? kGapMark : a;
    rowB[s + 1] = c == kScratchGap ? kGapMark : c;
  }
}

}  // namespace simd

int fredmanFast(int gap, const KARVO::Matrix<int>& S, Alignment& aln, DpWorkspace& ws, SimdLevel level) {
  DpWorkspace::Buffers& b = ws.buffers();
  const unsigned long n = S.rows();
  const unsigned long m = S.cols();
  const EndValues end = fillRows(
      n, m, gap, [&S](unsigned long i) { return S[i - 1]; }, simd::rowPassFor(level), b);
  const TraceResult r = traceScalar(n, m, end, aln.capacity, b);
  for (unsigned long o = 0; o < r.count; ++o) {
    aln.posA[o] = b.entryA[r.count - 1 - o] - 1;
    aln.posB[o] = b.entryB[r.count - 1 - o] - 1;
    aln.paired[o] = b.entryPaired[r.count - 1 - o];
  }
  aln.length = static_cast<int>(r.count);
  aln.nmatch = r.pairs;
  return bestOf(end);
}

int pairFast(unsigned long lenJ, unsigned long lenK, int gap, int* alen, int pairs, const KARVO::Matrix<int>& cmp,
             KARVO::Matrix<long>& path, DpWorkspace& ws, SimdLevel level) {
  DpWorkspace::Buffers& b = ws.buffers();
  // pair_kv's averaged matrix has no rows and no columns when either length
  // is 0, so neither sequence has positions then.
  const unsigned long n = lenK == 0 ? 0 : lenJ;
  const unsigned long m = lenJ == 0 ? 0 : lenK;
  int* scores = simd::ensure(b.scores, m);
  auto averagedRow = [&](unsigned long i) {
    const int* sums = cmp[i];
    for (unsigned long q = 1; q <= m; ++q) scores[q - 1] = averagedScore(sums[q], pairs);
    return static_cast<const int*>(scores);
  };
  const EndValues end = fillRows(n, m, gap, averagedRow, simd::rowPassFor(level), b);
  const TraceResult r = traceScalar(n, m, end, lenJ + lenK, b);
  simd::writePath(r, b.entryA.data(), b.entryB.data(), path);
  *alen = static_cast<int>(r.count);
  return bestOf(end);
}

}  // namespace zemtra
