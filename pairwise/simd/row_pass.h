// The vectorisable half of a row of the single-pair fill: diag and vert of
// row i from row i-1, and the code bits they decide. Internal to the fast
// pairwise routines; one copy per instruction set, picked at run time.
#pragma once

#include <cstdint>

namespace zemtra::simd {

// The state rows hold columns 0..m at their own index; score and codes hold
// columns 1..m at index c - 1. No two arrays overlap.
struct RowPass {
  const int* upD;
  const int* upV;
  const int* upH;
  const int* score;
  int* curD;
  int* curV;
  std::uint8_t* codes;  // bits 0-1 and kVertStays of each column
  unsigned long m;
  int gap;
};

void rowPassBaseline(const RowPass& r);
#if defined(ZEMTRA_X86_KERNELS)
void rowPassAvx2(const RowPass& r);
void rowPassAvx512(const RowPass& r);
#endif

}  // namespace zemtra::simd
