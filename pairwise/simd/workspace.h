// Storage of DpWorkspace and the traceback shared by the scalar and the
// multi-pair routines. Internal to the fast pairwise routines.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "core/diagnostics.h"
#include "core/memory_size.h"
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
// stops allocating. The old contents are dropped first and the new block
// holds exactly n, so a workspace's size is what its callers asked for.
template <typename T>
T* ensure(std::vector<T>& v, std::size_t n) {
  if (v.size() < n) {
    std::vector<T>().swap(v);
    v.resize(n);
  }
  return v.data();
}

// Values of the three states at the end cell (n, m).
struct EndValues {
  int diag = 0, vert = 0, horz = 0;
};

// Traceback entries in the order they are found: 1-based positions and
// kScratchGap for a gap, as the reference's scratch record holds them.
constexpr long kScratchGap = -98;

struct TraceResult {
  unsigned long count = 0;
  int pairs = 0;
  // Set instead of ending the process when the caller asked for it: the
  // reference's message for a record that filled up.
  const char* full = nullptr;
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
  // Multi-pair routine: profile, state rows, codes, and one block of
  // traceback entries per lane.
  simd::AlignedBlock profile, rows, laneTrace;
  std::vector<std::uint8_t> rowCodes, laneCodes;
  std::vector<long> laneEntryA, laneEntryB;
  std::vector<unsigned char> laneEntryPaired;
  // Within-pair routine (state columns and codes in rows and laneTrace):
  // the row's profile, 16-bit then 32-bit elements.
  simd::AlignedBlock scanProfile;
};

namespace zemtra::simd {

// One traceback of DPA::fredman in progress, over the codes of the fill:
// the reference's steps, entry by entry, into caller-provided storage.
// When the record reaches its capacity the process ends with the
// reference's message, or, with reportFull, the traceback stops and the
// message is kept in result.full.
struct Tracer {
  enum State { kDiag = 0, kVert = 1, kHorz = 2 };

  Tracer(unsigned long n, unsigned long m, const EndValues& end, unsigned long entries, long* a, long* b,
         unsigned char* paired, bool reportWhenFull)
      : i(n), c(m), capacity(entries), entryA(a), entryB(b), entryPaired(paired), reportFull(reportWhenFull) {
    const int best = std::max(end.diag, std::max(end.vert, end.horz));
    state = end.diag == best ? kDiag : (end.vert == best ? kVert : kHorz);
  }

  // false once the record is full and the caller wants to hear about it.
  bool record(long a, long b, unsigned char isPair, const char* fullMessage) {
    if (result.count >= capacity) return full(fullMessage);
    entryA[result.count] = a;
    entryB[result.count] = b;
    entryPaired[result.count] = isPair;
    ++result.count;
    if (result.count >= capacity) return full(fullMessage);
    return true;
  }

  bool full(const char* fullMessage) {
    if (!reportFull) zemtra::fatalExit(fullMessage, 1);
    result.full = fullMessage;
    return false;
  }

  bool inMainLoop() const { return i > 0 && c > 0 && result.full == nullptr; }

  // One step of the main loop; codeAt(i, c) gives the code byte of cell
  // (i, c), 1 <= i <= n, 1 <= c <= m.
  template <class CodeAt>
  void step(const CodeAt& codeAt) {
    if (state == kDiag) {
      if (!record(static_cast<long>(i), static_cast<long>(c), 1, "gap0 B")) return;
      ++result.pairs;
      state = codeAt(i, c) & kFromMask;
      --i;
      --c;
    } else if (state == kHorz) {
      if (!record(kScratchGap, static_cast<long>(c), 0, "gap0 B")) return;
      --c;
      if (c > 0) state = (codeAt(i, c) & kHorzStays) ? kHorz : kDiag;
    } else {
      if (!record(static_cast<long>(i), kScratchGap, 0, "gap0 B")) return;
      --i;
      if (i > 0) state = (codeAt(i, c) & kVertStays) ? kVert : kDiag;
    }
  }

  // The border tails once the main loop has ended.
  void tails() {
    if (result.full != nullptr) return;
    if (i == 0) {
      for (; c > 0; --c)
        if (!record(kScratchGap, static_cast<long>(c), 0, "gap A")) return;
    }
    for (; i > 0; --i)
      if (!record(static_cast<long>(i), kScratchGap, 0, "gap B")) return;
  }

  unsigned long i, c;
  unsigned long capacity;
  long* entryA;
  long* entryB;
  unsigned char* entryPaired;
  bool reportFull;
  int state;
  TraceResult result;
};

// Entries of the traceback record of an n x m alignment, and the bytes of
// the three arrays that hold them.
inline unsigned long traceEntries(unsigned long n, unsigned long m) { return n + m; }
inline std::uint64_t traceEntryBytes(std::uint64_t entries) {
  return KARVO::bytesTimes(entries, 2 * sizeof(long) + sizeof(unsigned char));
}

// The whole traceback of one alignment, entries into the workspace.
template <class CodeAt>
TraceResult traceBack(unsigned long n, unsigned long m, const EndValues& end, unsigned long capacity,
                      const CodeAt& codeAt, DpWorkspace::Buffers& b, bool reportFull = false) {
  const unsigned long entries = traceEntries(n, m);
  Tracer t(n, m, end, capacity, ensure(b.entryA, entries), ensure(b.entryB, entries), ensure(b.entryPaired, entries),
           reportFull);
  while (t.inMainLoop()) t.step(codeAt);
  t.tails();
  return t.result;
}

// Writes entries (in traceback order) into path columns 1..count as
// pair_kv does: only when they fit.
void writePath(const TraceResult& r, const long* entryA, const long* entryB, KARVO::Matrix<long>& path);

}  // namespace zemtra::simd
