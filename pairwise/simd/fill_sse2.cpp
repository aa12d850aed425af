// Multi-pair fill with SSE2: 8 lanes of 16 bits or 4 lanes of 32 bits.
#include <emmintrin.h>

#include <cstdint>

#include "pairwise/simd/batch_fill.h"
#include "pairwise/simd/scan_fill.h"

namespace {

// Traceback byte per lane from the lane masks (all ones where true); the
// constants 1, 2, 4 and 8 come in the lane width of the masks.
struct CodeConstants {
  __m128i one, two, four, eight;
};

inline __m128i codeBits(__m128i notDiag, __m128i hOverV, __m128i hStays, __m128i vStays, const CodeConstants& k) {
  const __m128i from = _mm_or_si128(_mm_and_si128(hOverV, k.two), _mm_andnot_si128(hOverV, k.one));
  const __m128i stays = _mm_or_si128(_mm_and_si128(hStays, k.four), _mm_and_si128(vStays, k.eight));
  return _mm_or_si128(_mm_and_si128(notDiag, from), stays);
}

struct Sse2Ops16 {
  using Elem = std::int16_t;
  using Vec = __m128i;
  static constexpr unsigned kLanes = zemtra::simd::kSse2Lanes16;
  static Vec zero() { return _mm_setzero_si128(); }
  static Vec set1(int x) { return _mm_set1_epi16(static_cast<short>(x)); }
  static Vec load(const Elem* p) { return _mm_load_si128(reinterpret_cast<const __m128i*>(p)); }
  static void store(Elem* p, Vec a) { _mm_store_si128(reinterpret_cast<__m128i*>(p), a); }
  static Vec add(Vec a, Vec b) { return _mm_add_epi16(a, b); }
  static Vec sub(Vec a, Vec b) { return _mm_sub_epi16(a, b); }
  static Vec max(Vec a, Vec b) { return _mm_max_epi16(a, b); }
  static Vec codes(Vec dUp, Vec gapBest, Vec vGap, Vec hGap, Vec d, Vec v, Vec h) {
    return codeBits(_mm_cmpgt_epi16(gapBest, dUp), _mm_cmpgt_epi16(hGap, vGap), _mm_cmpgt_epi16(h, d),
                    _mm_cmpgt_epi16(v, d),
                    {_mm_set1_epi16(1), _mm_set1_epi16(2), _mm_set1_epi16(4), _mm_set1_epi16(8)});
  }
  static void storeCodePair(std::uint8_t* out, Vec low, Vec high) {
    const Vec bits = _mm_or_si128(low, _mm_slli_epi16(high, 4));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(bits, bits));
  }
  static Vec shiftIn(Vec a, Vec before) { return _mm_or_si128(_mm_slli_si128(a, 2), _mm_srli_si128(before, 14)); }
  static Vec prefixMax(Vec a) {
    a = max(a, _mm_slli_si128(a, 2));
    a = max(a, _mm_slli_si128(a, 4));
    return max(a, _mm_slli_si128(a, 8));
  }
};

struct Sse2Ops32 {
  using Elem = std::int32_t;
  using Vec = __m128i;
  static constexpr unsigned kLanes = zemtra::simd::kSse2Lanes32;
  static Vec zero() { return _mm_setzero_si128(); }
  static Vec set1(int x) { return _mm_set1_epi32(x); }
  static Vec load(const Elem* p) { return _mm_load_si128(reinterpret_cast<const __m128i*>(p)); }
  static void store(Elem* p, Vec a) { _mm_store_si128(reinterpret_cast<__m128i*>(p), a); }
  static Vec add(Vec a, Vec b) { return _mm_add_epi32(a, b); }
  static Vec sub(Vec a, Vec b) { return _mm_sub_epi32(a, b); }
  // SSE2 has no 32-bit maximum.
  static Vec max(Vec a, Vec b) {
    const Vec aWins = _mm_cmpgt_epi32(a, b);
    return _mm_or_si128(_mm_and_si128(aWins, a), _mm_andnot_si128(aWins, b));
  }
  static Vec codes(Vec dUp, Vec gapBest, Vec vGap, Vec hGap, Vec d, Vec v, Vec h) {
    return codeBits(_mm_cmpgt_epi32(gapBest, dUp), _mm_cmpgt_epi32(hGap, vGap), _mm_cmpgt_epi32(h, d),
                    _mm_cmpgt_epi32(v, d),
                    {_mm_set1_epi32(1), _mm_set1_epi32(2), _mm_set1_epi32(4), _mm_set1_epi32(8)});
  }
  static void storeCodePair(std::uint8_t* out, Vec low, Vec high) {
    const Vec bits = _mm_or_si128(low, _mm_slli_epi32(high, 4));
    const Vec words = _mm_packs_epi32(bits, bits);
    const int four = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
    __builtin_memcpy(out, &four, 4);
  }
  static Vec shiftIn(Vec a, Vec before) { return _mm_or_si128(_mm_slli_si128(a, 4), _mm_srli_si128(before, 12)); }
  static Vec prefixMax(Vec a) {
    a = max(a, _mm_slli_si128(a, 4));
    return max(a, _mm_slli_si128(a, 8));
  }
};

#include "pairwise/simd/batch_fill.inc"
#include "pairwise/simd/scan_fill.inc"

}  // namespace

namespace zemtra::simd {

void fillSse2(const BatchFill& f, int bits) {
  if (bits == 16)
    fillLanes<Sse2Ops16>(f);
  else
    fillLanes<Sse2Ops32>(f);
}

ScanEnd scanSse2(const ScanFill& f, int bits, int maxAbs) {
  if (bits == 16) return scanLanes<Sse2Ops16>(f, maxAbs);
  return scanLanes<Sse2Ops32>(f, maxAbs);
}

}  // namespace zemtra::simd
