// Multi-pair fill with AVX-512 (F and BW): 32 lanes of 16 bits or 16 lanes
// of 32 bits. Comparisons give bit masks, from which the traceback byte is
// assembled with masked moves.
// GCC 12's AVX-512 headers build their "undefined" source operands from a
// self-initialised variable, which -Wmaybe-uninitialized reports at every
// use; the operands are fully masked and never read.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>

#include <cstdint>

#include "pairwise/simd/batch_fill.h"

namespace {

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
  static void storeCodes(std::uint8_t* out, Vec dUp, Vec vGap, Vec hGap, Vec d, Vec v, Vec h) {
    const __mmask32 notDiag = _mm512_cmpgt_epi16_mask(vGap, dUp) | _mm512_cmpgt_epi16_mask(hGap, dUp);
    const __mmask32 hOverV = _mm512_cmpgt_epi16_mask(hGap, vGap);
    Vec bits =
        _mm512_maskz_mov_epi16(notDiag, _mm512_mask_blend_epi16(hOverV, _mm512_set1_epi16(1), _mm512_set1_epi16(2)));
    bits = _mm512_mask_add_epi16(bits, _mm512_cmpgt_epi16_mask(h, d), bits, _mm512_set1_epi16(4));
    bits = _mm512_mask_add_epi16(bits, _mm512_cmpgt_epi16_mask(v, d), bits, _mm512_set1_epi16(8));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), _mm512_cvtepi16_epi8(bits));
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
  static void storeCodes(std::uint8_t* out, Vec dUp, Vec vGap, Vec hGap, Vec d, Vec v, Vec h) {
    const __mmask16 notDiag = _mm512_cmpgt_epi32_mask(vGap, dUp) | _mm512_cmpgt_epi32_mask(hGap, dUp);
    const __mmask16 hOverV = _mm512_cmpgt_epi32_mask(hGap, vGap);
    Vec bits =
        _mm512_maskz_mov_epi32(notDiag, _mm512_mask_blend_epi32(hOverV, _mm512_set1_epi32(1), _mm512_set1_epi32(2)));
    bits = _mm512_mask_add_epi32(bits, _mm512_cmpgt_epi32_mask(h, d), bits, _mm512_set1_epi32(4));
    bits = _mm512_mask_add_epi32(bits, _mm512_cmpgt_epi32_mask(v, d), bits, _mm512_set1_epi32(8));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm512_cvtepi32_epi8(bits));
  }
};

#include "pairwise/simd/batch_fill.inc"

}  // namespace

namespace zemtra::simd {

void fillAvx512(const BatchFill& f, int bits) {
  if (bits == 16)
    fillLanes<Avx512Ops16>(f);
  else
    fillLanes<Avx512Ops32>(f);
}

}  // namespace zemtra::simd
