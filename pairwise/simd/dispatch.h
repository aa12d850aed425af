// The instruction-set choices of the fast pairwise routines, in one place.
// Internal to them; the choices callers make are declared in fast_dp.h.
#pragma once

#include "pairwise/fast_dp.h"
#include "pairwise/simd/batch_fill.h"
#include "pairwise/simd/row_pass.h"
#include "pairwise/simd/scan_fill.h"

namespace zemtra::simd {

// The row pass of the single-pair fill for a level: AVX2 and AVX-512 have
// native 32-bit maxima, the baseline copy covers the rest.
using RowPassFn = void (*)(const RowPass&);
RowPassFn rowPassFor(SimdLevel level);

// The multi-pair and the within-pair kernel of a level; level says which
// one it really is (the portable one where the build has no x86 kernels).
struct Kernel {
  void (*fill)(const BatchFill&, int);
  void (*profile)(const ProfileFill&, int);  // null: the portable one
  ScanEnd (*scan)(const ScanFill&, int, int);
  SimdLevel level;
};
Kernel kernelFor(SimdLevel level);

// A chunk of pairs of one row as the multi-pair kernel would take it: pairs
// of a row of rows positions against columns positions at most, columnSum
// positions over all of them, in batches of lanes pairs.
// wide: the within-pair kernel would take 32-bit elements too.
struct ChunkShape {
  unsigned long pairs, rows, columns, columnSum, lanes;
  bool wide;
};

// Whether the within-pair kernel of a level aligns the chunk in fewer vector
// steps than the multi-pair kernel, with codes of at most
// kBatchTraceBudget bytes for its longest pair. Lanes the multi-pair kernel
// leaves empty (few pairs, or 32-bit lanes where 16-bit would do for one
// pair at a time) are what the within-pair kernel wins.
bool withinPairCheaper(SimdLevel level, const ChunkShape& chunk);

}  // namespace zemtra::simd
