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
// diag values above the cell. So a column is one elementwise pass with a
// prefix maximum, and every cell takes the same values and the same code
// (batch_fill.h) as in the row-by-row fill.
struct ScanFill {
  unsigned long n;       // positions of A (rows)
  unsigned long stride;  // n rounded up to whole vectors
  unsigned long m;       // positions of B (columns)
  int gap;
  const std::uint8_t* colCodes;  // m residue codes of B
  // kCodes x stride: element r * stride + i - 1 is the score of residue
  // code r against position i of A; 0 from n on.
  const void* profile;
  void* columns;  // scanColumnElems(stride, element size) elements, any contents
  // m x stride codes: cell (i, c) in byte (c - 1) * stride + i - 1.
  std::uint8_t* trace;
};

struct ScanEnd {
  int diag = 0, vert = 0, horz = 0;  // the values at cell (n, m)
  // false when 16-bit elements could not prove every value exact (some diag
  // came within |gap| + the largest |score| of the range's end): the caller
  // fills again with 32-bit elements.
  bool exact = true;
};

// Work elements of the two columns (three states each) for that stride. Each
// state keeps one vector of room before row 1 so that row 1 is aligned and
// row 0 sits just before it.
inline unsigned long scanLead(std::size_t elem) { return 64 / elem; }
inline unsigned long scanColumnElems(unsigned long stride, std::size_t elem) { return 6 * (scanLead(elem) + stride); }

// One function per instruction set; bits is 16 or 32. maxAbs is the largest
// |score| of the profile.
ScanEnd scanPortable(const ScanFill& f, int bits, int maxAbs);
#if defined(ZEMTRA_X86_KERNELS)
ScanEnd scanSse2(const ScanFill& f, int bits, int maxAbs);
ScanEnd scanAvx2(const ScanFill& f, int bits, int maxAbs);
ScanEnd scanAvx512(const ScanFill& f, int bits, int maxAbs);
#endif

}  // namespace zemtra::simd
