// Multi-pair fill with AVX-512 (F and BW): 32 lanes of 16 bits or 16 lanes
// of 32 bits. Comparisons give bit masks, from which the traceback byte is
// assembled with masked moves.
// GCC 12's AVX-512 headers build their "undefined" source operands from a
// self-initialised variable, which -Wmaybe-uninitialized reports at every
// use; the operands are fully masked and never read. Clang has no such
// warning and would report the unknown name instead.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

#include <cstdint>

#include "pairwise/simd/batch_fill.h"
#include "pairwise/simd/scan_fill.h"

namespace {

alignas(64) const short kLaneIndex[32] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15,
                                          16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31};

// 16-bit lanes moved up by s, zeros coming in at lane 0.
template <int s>
inline __m512i shiftUpWords(__m512i a) {
  const __m512i from = _mm512_sub_epi16(_mm512_load_si512(kLaneIndex), _mm512_set1_epi16(s));
  return _mm512_maskz_permutexvar_epi16(~((1u << s) - 1u), from, a);
}

struct Avx512Ops16 {
  using Elem = std::int16_t;
  using Vec = __m512i;
  static constexpr unsigned kLanes = zemtra::simd::kAvx512Lanes16;
  static Vec zero() { return _mm512_setzero_si512(); }
  static Vec set1(int x) { return _mm512_set1_epi16(static_cast<short>(x)); }
  static Vec load(const Elem* p) { return _mm512_load_si512(p); }
  static void store(Elem* p, Vec a) { _mm512_store_si512(p, a); }
  static Vec add(Vec a, Vec b) { return _mm512_add_epi16(a, b); }
  static Vec sub(Vec a, Vec b) { return _mm512_sub_epi16(a, b); }
  static Vec max(Vec a, Vec b) { return _mm512_max_epi16(a, b); }
  static Vec codes(Vec dUp, Vec gapBest, Vec vGap, Vec hGap, Vec d, Vec v, Vec h) {
    const __mmask32 notDiag = _mm512_cmpgt_epi16_mask(gapBest, dUp);
    const __mmask32 hOverV = _mm512_cmpgt_epi16_mask(hGap, vGap);
    Vec bits =
        _mm512_maskz_mov_epi16(notDiag, _mm512_mask_blend_epi16(hOverV, _mm512_set1_epi16(1), _mm512_set1_epi16(2)));
    bits = _mm512_mask_add_epi16(bits, _mm512_cmpgt_epi16_mask(h, d), bits, _mm512_set1_epi16(4));
    return _mm512_mask_add_epi16(bits, _mm512_cmpgt_epi16_mask(v, d), bits, _mm512_set1_epi16(8));
  }
  static void storeCodePair(std::uint8_t* out, Vec low, Vec high) {
    const Vec bits = _mm512_or_si512(low, _mm512_slli_epi16(high, 4));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), _mm512_cvtepi16_epi8(bits));
  }
  // Lane 0 from lane 31 of before (index 31), lane l from lane l - 1 of a
  // (index 32 + l - 1).
  static Vec shiftIn(Vec a, Vec before) {
    const __m512i from = _mm512_add_epi16(_mm512_load_si512(kLaneIndex), _mm512_set1_epi16(31));
    return _mm512_permutex2var_epi16(before, from, a);
  }
  static Vec prefixMax(Vec a) {
    a = max(a, shiftUpWords<1>(a));
    a = max(a, shiftUpWords<2>(a));
    a = max(a, shiftUpWords<4>(a));
    a = max(a, shiftUpWords<8>(a));
    return max(a, shiftUpWords<16>(a));
  }
};

struct Avx512Ops32 {
  using Elem = std::int32_t;
  using Vec = __m512i;
  static constexpr unsigned kLanes = zemtra::simd::kAvx512Lanes32;
  static Vec zero() { return _mm512_setzero_si512(); }
  static Vec set1(int x) { return _mm512_set1_epi32(x); }
  static Vec load(const Elem* p) { return _mm512_load_si512(p); }
  static void store(Elem* p, Vec a) { _mm512_store_si512(p, a); }
  static Vec add(Vec a, Vec b) { return _mm512_add_epi32(a, b); }
  static Vec sub(Vec a, Vec b) { return _mm512_sub_epi32(a, b); }
  static Vec max(Vec a, Vec b) { return _mm512_max_epi32(a, b); }
  static Vec codes(Vec dUp, Vec gapBest, Vec vGap, Vec hGap, Vec d, Vec v, Vec h) {
    const __mmask16 notDiag = _mm512_cmpgt_epi32_mask(gapBest, dUp);
    const __mmask16 hOverV = _mm512_cmpgt_epi32_mask(hGap, vGap);
    Vec bits =
        _mm512_maskz_mov_epi32(notDiag, _mm512_mask_blend_epi32(hOverV, _mm512_set1_epi32(1), _mm512_set1_epi32(2)));
    bits = _mm512_mask_add_epi32(bits, _mm512_cmpgt_epi32_mask(h, d), bits, _mm512_set1_epi32(4));
    return _mm512_mask_add_epi32(bits, _mm512_cmpgt_epi32_mask(v, d), bits, _mm512_set1_epi32(8));
  }
  static void storeCodePair(std::uint8_t* out, Vec low, Vec high) {
    const Vec bits = _mm512_or_si512(low, _mm512_slli_epi32(high, 4));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm512_cvtepi32_epi8(bits));
  }
  // valignd of [zero, a]: lanes move up by s, zeros come in.
  template <int s>
  static Vec up(Vec a) {
    return _mm512_alignr_epi32(a, _mm512_setzero_si512(), 16 - s);
  }
  // valignd of [before, a]: lane 0 takes before's last lane.
  static Vec shiftIn(Vec a, Vec before) { return _mm512_alignr_epi32(a, before, 15); }
  static Vec prefixMax(Vec a) {
    a = max(a, up<1>(a));
    a = max(a, up<2>(a));
    a = max(a, up<4>(a));
    return max(a, up<8>(a));
  }
};

#include "pairwise/simd/batch_fill.inc"
#include "pairwise/simd/scan_fill.inc"

}  // namespace

namespace zemtra::simd {

void fillAvx512(const BatchFill& f, int bits) {
  if (bits == 16)
    fillLanes<Avx512Ops16>(f);
  else
    fillLanes<Avx512Ops32>(f);
}

ScanEnd scanAvx512(const ScanFill& f, int bits, int maxAbs) {
  if (bits == 16) return scanLanes<Avx512Ops16>(f, maxAbs);
  return scanLanes<Avx512Ops32>(f, maxAbs);
}

}  // namespace zemtra::simd

namespace zemtra::simd {

// vpermw and vpermt2d look up 32 entries at once, one per lane.
void profileAvx512(const ProfileFill& p, int bits) {
  const unsigned lanes = bits == 16 ? kAvx512Lanes16 : kAvx512Lanes32;
  const unsigned long elements = p.width * lanes;
  for (int r = 0; r < kCodes; ++r) {
    if (!p.wanted[r]) continue;
    const __m256i table = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p.scores[r]));
    if (bits == 16) {
      const __m512i words = _mm512_cvtepi8_epi16(table);
      std::int16_t* out = static_cast<std::int16_t*>(p.profile) + static_cast<unsigned long>(r) * elements;
      for (unsigned long e = 0; e < elements; e += 32) {
        const __m512i codes =
            _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p.laneCodes + e)));
        _mm512_store_si512(out + e, _mm512_permutexvar_epi16(codes, words));
      }
    } else {
      const __m512i low = _mm512_cvtepi8_epi32(_mm256_castsi256_si128(table));
      const __m512i high = _mm512_cvtepi8_epi32(_mm256_extracti128_si256(table, 1));
      std::int32_t* out = static_cast<std::int32_t*>(p.profile) + static_cast<unsigned long>(r) * elements;
      for (unsigned long e = 0; e < elements; e += 16) {
        const __m512i codes = _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p.laneCodes + e)));
        _mm512_store_si512(out + e, _mm512_permutex2var_epi32(low, codes, high));
      }
    }
  }
}

}  // namespace zemtra::simd
