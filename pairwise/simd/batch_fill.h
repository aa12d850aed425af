// The fill step of the multi-pair kernel: one sequence A against several
// sequences B, one B per SIMD lane. Internal to the fast pairwise routines.
#pragma once

#include <cstdint>

namespace zemtra::simd {

// Residue code of a row position: 0..20 as ScoMat::residueIndex, kGapCode
// for '-'.
constexpr int kGapCode = 21;
constexpr int kCodes = 22;

// Traceback code of one cell (i, c), four bits per lane:
//   bits 0-1  which value filled diag[i][c]: 0 diag, 1 vert - gap,
//             2 horz - gap of cell (i-1, c-1), ties to the lower number;
//   bit 2     horz[i][c] > diag[i][c];
//   bit 3     vert[i][c] > diag[i][c].
constexpr unsigned kFromMask = 3;
constexpr unsigned kHorzStays = 4;
constexpr unsigned kVertStays = 8;

// Elements are int16_t or int32_t, as the kernel's lane width says.
struct BatchFill {
  unsigned long n;      // positions of A (rows)
  unsigned long width;  // positions of the longest B (columns)
  int gap;
  const std::uint8_t* rowCodes;  // n residue codes of A
  // kCodes x width x lanes: element ((r * width) + c - 1) * lanes + lane is
  // the score of residue code r of A against position c of that lane's B.
  const void* profile;
  // 3 x width x lanes: for column c, diag, vert and horz of every lane at
  // ((c - 1) * 3 + state) * lanes + lane. Cleared by the fill, which leaves
  // row n there.
  void* rows;
  // Codes of two neighbouring columns share a byte, column c - 1 even in
  // the low half: cell (i, c) of a lane is in byte
  // ((i - 1) * traceColumns(width) + (c - 1) / 2) * lanes + lane.
  std::uint8_t* trace;
};

// Bytes per lane of one row of the traceback, and bytes of a batch's.
inline unsigned long traceColumns(unsigned long width) { return (width + 1) / 2; }
inline unsigned long long batchTraceBytes(unsigned long rows, unsigned long width, unsigned long lanes) {
  return static_cast<unsigned long long>(rows) * traceColumns(width) * lanes;
}

// The code of cell (i, c) of one lane in a batch's traceback.
inline unsigned traceCode(const std::uint8_t* trace, unsigned long width, unsigned long lanes, unsigned long lane,
                          unsigned long i, unsigned long c) {
  const unsigned byte = trace[((i - 1) * traceColumns(width) + (c - 1) / 2) * lanes + lane];
  return (c - 1) % 2 == 0 ? byte & 15u : byte >> 4;
}

// The score profile of a batch: for every residue code r of A with
// wanted[r], element ((r * width) + c - 1) * lanes + lane is
// scores[r][code of that lane's B at position c]. Every score fits in 8
// bits.
struct ProfileFill {
  const std::int8_t (*scores)[32];  // [r][b]; b < kCodes is used
  const bool* wanted;               // kCodes entries
  const std::uint8_t* laneCodes;    // width x lanes codes of the B sequences
  unsigned long width;
  void* profile;  // int16_t or int32_t elements, as the fill's
};

// One function per instruction set; bits is 16 or 32 (the lane element).
void fillPortable(const BatchFill& f, int bits);
void profilePortable(const ProfileFill& p, int bits, unsigned lanes);
#if defined(ZEMTRA_X86_KERNELS)
void fillSse2(const BatchFill& f, int bits);
void fillAvx2(const BatchFill& f, int bits);
void fillAvx512(const BatchFill& f, int bits);
void profileAvx2(const ProfileFill& p, int bits);
void profileAvx512(const ProfileFill& p, int bits);
#endif

// Lanes of each kernel.
constexpr unsigned kPortableLanes16 = 16, kPortableLanes32 = 8;
constexpr unsigned kSse2Lanes16 = 8, kSse2Lanes32 = 4;
constexpr unsigned kAvx2Lanes16 = 16, kAvx2Lanes32 = 8;
constexpr unsigned kAvx512Lanes16 = 32, kAvx512Lanes32 = 16;

}  // namespace zemtra::simd
