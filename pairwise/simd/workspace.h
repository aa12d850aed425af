// Storage of DpWorkspace and the traceback shared by the scalar and the
// multi-pair routines. Internal to the fast pairwise routines.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "core/diagnostics.h"
#include "pairwise/fast_dp.h"
#include "pairwise/simd/batch_fill.h"

namespace zemtra::simd {

// A grow-only block aligned for the widest vector loads.
class AlignedBlock {
 public:
  static constexpr std::size_t kAlign = 64;
  AlignedBlock() = default;
  ~AlignedBlock() { release(); }
  AlignedBlock(const AlignedBlock&) = delete;
  AlignedBlock& operator=(const AlignedBlock&) = delete;

  void* ensure(std::size_t bytes) {
    if (bytes > size_) {
      release();
      data_ = ::operator new(bytes, std::align_val_t(kAlign));
      size_ = bytes;
    }
    return data_;
  }

 private:
  void release() {
    if (data_ != nullptr) ::operator delete(data_, std::align_val_t(kAlign));
    data_ = nullptr;
    size_ = 0;
  }
  void* data_ = nullptr;
  std::size_t size_ = 0;
};

// Grows v to at least n elements; never shrinks, so a warmed-up workspace
// stops allocating.
template <typename T>
T* ensure(std::vector<T>& v, std::size_t n) {
  if (v.size() < n) v.resize(n);
  return v.data();
}

// Values of the three states at the end cell (n, m).
struct EndValues {
  int diag = 0, vert = 0, horz = 0;
};

// Traceback entries in the order they are found: 1-based positions and
// kScratchGap for a gap, as the reference's scratch record holds them.
constexpr long kScratchGap = -98;
constexpr long kGapMark = -99;

struct TraceResult {
  unsigned long count = 0;
  int pairs = 0;
};

}  // namespace zemtra::simd

struct zemtra::DpWorkspace::Buffers {
  // Scalar routine: one row of (diag, vert, horz), the codes, a score row.
  std::vector<int> row;
  std::vector<std::uint8_t> trace;
  std::vector<int> scores;
  // Traceback entries.
  std::vector<long> entryA, entryB;
  std::vector<unsigned char> entryPaired;
  // Multi-pair routine.
  simd::AlignedBlock profile, rows, laneTrace;
  std::vector<std::uint8_t> rowCodes, laneCodes;
};

namespace zemtra::simd {

// The traceback of DPA::fredman over the codes of the fill. codeAt(i, c)
// gives the code byte of cell (i, c), 1 <= i <= n, 1 <= c <= m. Entries go
// into the workspace; a record with capacity entries ends the process with
// the reference's messages.
template <class CodeAt>
TraceResult traceBack(unsigned long n, unsigned long m, const EndValues& end, unsigned long capacity,
                      const CodeAt& codeAt, DpWorkspace::Buffers& b) {
  enum State { kDiag = 0, kVert = 1, kHorz = 2 };
  long* entryA = ensure(b.entryA, n + m);
  long* entryB = ensure(b.entryB, n + m);
  unsigned char* entryPaired = ensure(b.entryPaired, n + m);

  const int best = std::max(end.diag, std::max(end.vert, end.horz));
  int state = end.diag == best ? kDiag : (end.vert == best ? kVert : kHorz);

  TraceResult r;
  auto record = [&](long a, long c, unsigned char isPair, const char* fullMessage) {
    if (r.count >= capacity) zemtra::fatalExit(fullMessage, 1);
    entryA[r.count] = a;
    entryB[r.count] = c;
    entryPaired[r.count] = isPair;
    ++r.count;
    if (r.count >= capacity) zemtra::fatalExit(fullMessage, 1);
  };

  unsigned long i = n;
  unsigned long c = m;
  while (i > 0 && c > 0) {
    if (state == kDiag) {
      record(static_cast<long>(i), static_cast<long>(c), 1, "gap0 B");
      ++r.pairs;
      state = codeAt(i, c) & kFromMask;
      --i;
      --c;
    } else if (state == kHorz) {
      record(kScratchGap, static_cast<long>(c), 0, "gap0 B");
      --c;
      if (c > 0) state = (codeAt(i, c) & kHorzStays) ? kHorz : kDiag;
    } else {
      record(static_cast<long>(i), kScratchGap, 0, "gap0 B");
      --i;
      if (i > 0) state = (codeAt(i, c) & kVertStays) ? kVert : kDiag;
    }
  }
  if (i == 0) {
    for (; c > 0; --c) record(kScratchGap, static_cast<long>(c), 0, "gap A");
  }
  for (; i > 0; --i) record(static_cast<long>(i), kScratchGap, 0, "gap B");
  return r;
}

// Writes the entries into path columns 1..count as pair_kv does: only when
// they fit.
void writePath(const TraceResult& r, const DpWorkspace::Buffers& b, KARVO::Matrix<long>& path);

}  // namespace zemtra::simd
