// The single-pair row pass vectorised for AVX2.
#include <cstdint>

#include "pairwise/simd/batch_fill.h"
#include "pairwise/simd/row_pass.h"

namespace {

#include "pairwise/simd/row_pass.inc"

}  // namespace

void zemtra::simd::rowPassAvx2(const RowPass& r) {
  rowPassLoop(r.upD, r.upV, r.upH, r.score, r.curD, r.curV, r.codes, r.m, r.gap);
}
