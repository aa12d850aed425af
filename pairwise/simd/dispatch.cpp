// Every choice of instruction set of the fast pairwise routines: what the
// CPU supports, which kernel a level runs, how many lanes it has and which
// level a batch or a chunk of pairs takes. Every level gives the same
// results; they differ only in speed and memory.
#include "pairwise/simd/dispatch.h"

#include "core/diagnostics.h"

namespace zemtra {

bool simdLevelSupported(SimdLevel level) {
  switch (level) {
    case SimdLevel::kPortable:
      return true;
#if defined(ZEMTRA_X86_KERNELS)
    case SimdLevel::kSse2:
      __builtin_cpu_init();
      return __builtin_cpu_supports("sse2");
    case SimdLevel::kAvx2:
      __builtin_cpu_init();
      return __builtin_cpu_supports("avx2");
    case SimdLevel::kAvx512:
      __builtin_cpu_init();
      return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw");
#endif
    default:
      return false;
  }
}

SimdLevel bestSimdLevel() {
  static const SimdLevel best = [] {
    for (SimdLevel level : {SimdLevel::kAvx512, SimdLevel::kAvx2, SimdLevel::kSse2})
      if (simdLevelSupported(level)) return level;
    return SimdLevel::kPortable;
  }();
  return best;
}

SimdLevel batchLevelFor(SimdLevel requested, unsigned long rows, unsigned long columns) {
  if (requested == SimdLevel::kPortable) return requested;
  for (SimdLevel level : {SimdLevel::kAvx512, SimdLevel::kAvx2}) {
    if (level > requested || !simdLevelSupported(level)) continue;
    if (simd::batchTraceBytes(rows, columns, batchLanes(level, LaneWidth::kAuto)) <= kBatchTraceBudget) return level;
  }
  return SimdLevel::kSse2;
}

unsigned batchLanes(SimdLevel level, LaneWidth width) {
  const bool wide = width == LaneWidth::kWide;
  switch (level) {
    case SimdLevel::kSse2:
      return wide ? simd::kSse2Lanes32 : simd::kSse2Lanes16;
    case SimdLevel::kAvx2:
      return wide ? simd::kAvx2Lanes32 : simd::kAvx2Lanes16;
    case SimdLevel::kAvx512:
      return wide ? simd::kAvx512Lanes32 : simd::kAvx512Lanes16;
    default:
      return wide ? simd::kPortableLanes32 : simd::kPortableLanes16;
  }
}

SimdLevel chunkLevel(unsigned long pairs) {
  // A short chunk wastes fewer lanes in a narrower kernel.
  if (pairs <= batchLanes(SimdLevel::kAvx2, LaneWidth::kAuto) && simdLevelSupported(SimdLevel::kAvx2))
    return SimdLevel::kAvx2;
  return bestSimdLevel();
}

namespace simd {

// The row pass for a level: AVX2 and AVX-512 have native 32-bit maxima, the
// baseline copy covers the rest.
RowPassFn rowPassFor(SimdLevel level) {
  ZEMTRA_ASSERT(simdLevelSupported(level));
#if defined(ZEMTRA_X86_KERNELS)
  if (level == SimdLevel::kAvx512) return rowPassAvx512;
  if (level == SimdLevel::kAvx2) return rowPassAvx2;
#endif
  return rowPassBaseline;
}

Kernel kernelFor(SimdLevel level) {
  switch (level) {
#if defined(ZEMTRA_X86_KERNELS)
    case SimdLevel::kSse2:
      return {fillSse2, nullptr, scanSse2, level};
    case SimdLevel::kAvx2:
      return {fillAvx2, profileAvx2, scanAvx2, level};
    case SimdLevel::kAvx512:
      return {fillAvx512, profileAvx512, scanAvx512, level};
#endif
    default:
      return {fillPortable, nullptr, scanPortable, SimdLevel::kPortable};
  }
}

bool withinPairCheaper(SimdLevel level, const ChunkShape& chunk) {
  // A within-pair step costs about this many eighths of a multi-pair one:
  // more with 16-bit elements (the second pass weighs more against the
  // cheaper step), less with 32-bit ones (the multi-pair kernel's codes of
  // many lanes go further out of cache). Measured with
  // zemtra_kernel_vs_parasail on an AVX2 machine.
  const unsigned long kStepEighths = chunk.wide ? 7 : 10;
  const unsigned long lanes = batchLanes(level, chunk.wide ? LaneWidth::kWide : LaneWidth::kAuto);
  const unsigned long stride = (chunk.rows + lanes - 1) / lanes * lanes;
  if (chunk.pairs == 0 || chunk.rows == 0 || scanTraceBytes(stride, chunk.columns) > kBatchTraceBudget) return false;
  const unsigned long batches = (chunk.pairs + chunk.lanes - 1) / chunk.lanes;
  const unsigned long long batchSteps = static_cast<unsigned long long>(batches) * chunk.rows * chunk.columns;
  const unsigned long long withinSteps = static_cast<unsigned long long>(stride / lanes) * chunk.columnSum;
  return withinSteps * kStepEighths < batchSteps * 8;
}

}  // namespace simd

}  // namespace zemtra
