// The fill step of the within-pair kernel: one pair, column by column of B,
// each column of A's positions in SIMD vectors. For long sequences with too
// few pairs to fill the lanes of the multi-pair kernel. Internal to the fast
// pairwise routines.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pairwise/simd/batch_fill.h"

namespace zemtra::simd {

// In a column, diag and horz of a cell depend only on the column before, and
// vert (a gap along A costs nothing to extend) is the running maximum of the
// diag values above the cell. So a column is an elementwise pass over A's
// positions, striped across the lanes (each lane a run of consecutive rows,
// its vert carried from vector to vector), then a second pass that adds
// each lane the maximum of the lanes before it. Every cell takes the same
// values and the same code (batch_fill.h) as in the row-by-row fill.
struct ScanFill {
  unsigned long n;       // positions of A (rows)
  unsigned long stride;  // n rounded up to whole vectors
  unsigned long m;       // positions of B (columns)
  int gap;
  const std::uint8_t* colCodes;  // m residue codes of B
  // kCodes x stride: element r * stride + stripedIndex(i) is the score of
  // residue code r against position i of A; 0 past n.
  const void* profile;
  void* columns;  // scanColumnElems(stride) elements, any contents
  // m x stride codes: cell (i, c) in byte (c - 1) * stride + stripedIndex(i).
  std::uint8_t* trace;
};

struct ScanEnd {
  int diag = 0, vert = 0, horz = 0;  // the values at cell (n, m)
  // false when 16-bit elements could not prove every value exact (some diag
  // came within |gap| + the largest |score| of the range's end): the caller
  // fills again with 32-bit elements.
  bool exact = true;
};

// Where row i (1-based) of A sits in a striped column of that stride.
inline unsigned long stripedIndex(unsigned long i, unsigned long stride, unsigned long lanes) {
  const unsigned long perLane = stride / lanes;
  return (i - 1) % perLane * lanes + (i - 1) / perLane;
}

// Work elements (two columns of three states and the first pass's codes)
// and trace bytes of the fill.
inline unsigned long scanColumnElems(unsigned long stride) { return 7 * stride; }
inline unsigned long scanTraceBytes(unsigned long stride, unsigned long m) { return stride * m; }

// One function per instruction set; bits is 16 or 32. maxAbs is the largest
// |score| of the profile.
ScanEnd scanPortable(const ScanFill& f, int bits, int maxAbs);
#if defined(ZEMTRA_X86_KERNELS)
ScanEnd scanSse2(const ScanFill& f, int bits, int maxAbs);
ScanEnd scanAvx2(const ScanFill& f, int bits, int maxAbs);
ScanEnd scanAvx512(const ScanFill& f, int bits, int maxAbs);
#endif

}  // namespace zemtra::simd
