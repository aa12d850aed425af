// Row kernels are built for AVX2 beside the baseline and picked once at
// load time; without FMA contraction the vector lanes compute what the
// scalar code would.
#pragma once

#if defined(__GNUC__) && defined(__x86_64__) && !defined(__clang__)
#define ZEMTRA_ROW_KERNEL __attribute__((target_clones("avx2", "default")))
#else
#define ZEMTRA_ROW_KERNEL
#endif
