// The instruction-set choices of the fast pairwise routines, in one place.
// Internal to them; the choices callers make are declared in fast_dp.h.
#pragma once

#include "pairwise/fast_dp.h"
#include "pairwise/simd/batch_fill.h"
#include "pairwise/simd/row_pass.h"

namespace zemtra::simd {

// The row pass of the single-pair fill for a level: AVX2 and AVX-512 have
// native 32-bit maxima, the baseline copy covers the rest.
using RowPassFn = void (*)(const RowPass&);
RowPassFn rowPassFor(SimdLevel level);

// The multi-pair kernel of a level; level says which one it really is (the
// portable one where the build has no x86 kernels).
struct Kernel {
  void (*fill)(const BatchFill&, int);
  void (*profile)(const ProfileFill&, int);  // null: the portable one
  SimdLevel level;
};
Kernel kernelFor(SimdLevel level);

}  // namespace zemtra::simd
