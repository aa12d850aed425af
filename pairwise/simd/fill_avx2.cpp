// Multi-pair fill with AVX2: 16 lanes of 16 bits or 8 lanes of 32 bits.
#include <immintrin.h>

#include <cstdint>

#include "pairwise/simd/batch_fill.h"
#include "pairwise/simd/scan_fill.h"

namespace {

struct CodeConstants {
  __m256i one, two, four, eight;
};

// Traceback byte per lane from the lane masks (all ones where true).
inline __m256i codeBits(__m256i notDiag, __m256i hOverV, __m256i hStays, __m256i vStays, const CodeConstants& k) {
  const __m256i from = _mm256_blendv_epi8(k.one, k.two, hOverV);
  const __m256i stays = _mm256_or_si256(_mm256_and_si256(hStays, k.four), _mm256_and_si256(vStays, k.eight));
  return _mm256_or_si256(_mm256_and_si256(notDiag, from), stays);
}

// Lanes moved up by bytes (a multiple of the element size, below 16),
// zeros coming in at lane 0: within each 128-bit half, with the low half
// feeding the high one.
template <int bytes>
inline __m256i shiftUpBytes(__m256i a) {
  const __m256i lowIntoHigh = _mm256_permute2x128_si256(a, a, 0x08);
  return _mm256_alignr_epi8(a, lowIntoHigh, 16 - bytes);
}

// The same with the top lanes of before coming in instead of zeros.
template <int bytes>
inline __m256i shiftInBytes(__m256i a, __m256i before) {
  const __m256i feed = _mm256_permute2x128_si256(before, a, 0x21);
  return _mm256_alignr_epi8(a, feed, 16 - bytes);
}

struct Avx2Ops16 {
  using Elem = std::int16_t;
  using Vec = __m256i;
  static constexpr unsigned kLanes = zemtra::simd::kAvx2Lanes16;
  static Vec zero() { return _mm256_setzero_si256(); }
  static Vec set1(int x) { return _mm256_set1_epi16(static_cast<short>(x)); }
  static Vec load(const Elem* p) { return _mm256_load_si256(reinterpret_cast<const __m256i*>(p)); }
  static void store(Elem* p, Vec a) { _mm256_store_si256(reinterpret_cast<__m256i*>(p), a); }
  static Vec add(Vec a, Vec b) { return _mm256_add_epi16(a, b); }
  static Vec sub(Vec a, Vec b) { return _mm256_sub_epi16(a, b); }
  static Vec max(Vec a, Vec b) { return _mm256_max_epi16(a, b); }
  static Vec codes(Vec dUp, Vec gapBest, Vec vGap, Vec hGap, Vec d, Vec v, Vec h) {
    return codeBits(_mm256_cmpgt_epi16(gapBest, dUp), _mm256_cmpgt_epi16(hGap, vGap), _mm256_cmpgt_epi16(h, d),
                    _mm256_cmpgt_epi16(v, d),
                    {_mm256_set1_epi16(1), _mm256_set1_epi16(2), _mm256_set1_epi16(4), _mm256_set1_epi16(8)});
  }
  static void storeCodePair(std::uint8_t* out, Vec low, Vec high) {
    const Vec bits = _mm256_or_si256(low, _mm256_slli_epi16(high, 4));
    // The pack works within each 128-bit half; gather the two low quarters.
    const Vec bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(bits, bits), 0x08);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(bytes));
  }
  static Vec shiftIn(Vec a, Vec before) { return shiftInBytes<2>(a, before); }
  static Vec prefixMax(Vec a) {
    a = max(a, shiftUpBytes<2>(a));
    a = max(a, shiftUpBytes<4>(a));
    a = max(a, shiftUpBytes<8>(a));
    return max(a, _mm256_permute2x128_si256(a, a, 0x08));
  }
};

struct Avx2Ops32 {
  using Elem = std::int32_t;
  using Vec = __m256i;
  static constexpr unsigned kLanes = zemtra::simd::kAvx2Lanes32;
  static Vec zero() { return _mm256_setzero_si256(); }
  static Vec set1(int x) { return _mm256_set1_epi32(x); }
  static Vec load(const Elem* p) { return _mm256_load_si256(reinterpret_cast<const __m256i*>(p)); }
  static void store(Elem* p, Vec a) { _mm256_store_si256(reinterpret_cast<__m256i*>(p), a); }
  static Vec add(Vec a, Vec b) { return _mm256_add_epi32(a, b); }
  static Vec sub(Vec a, Vec b) { return _mm256_sub_epi32(a, b); }
  static Vec max(Vec a, Vec b) { return _mm256_max_epi32(a, b); }
  static Vec codes(Vec dUp, Vec gapBest, Vec vGap, Vec hGap, Vec d, Vec v, Vec h) {
    return codeBits(_mm256_cmpgt_epi32(gapBest, dUp), _mm256_cmpgt_epi32(hGap, vGap), _mm256_cmpgt_epi32(h, d),
                    _mm256_cmpgt_epi32(v, d),
                    {_mm256_set1_epi32(1), _mm256_set1_epi32(2), _mm256_set1_epi32(4), _mm256_set1_epi32(8)});
  }
  static void storeCodePair(std::uint8_t* out, Vec low, Vec high) {
    const Vec bits = _mm256_or_si256(low, _mm256_slli_epi32(high, 4));
    // Per 128-bit half: 32 -> 16 -> 8 bits leaves four codes in the first
    // dword of each half; dwords 0 and 4 then hold the eight lanes in order.
    const Vec words = _mm256_packs_epi32(bits, bits);
    const Vec bytes = _mm256_packus_epi16(words, words);
    const Vec ordered = _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 0, 0, 0, 0, 0, 0));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(ordered));
  }
  static Vec shiftIn(Vec a, Vec before) { return shiftInBytes<4>(a, before); }
  static Vec prefixMax(Vec a) {
    a = max(a, shiftUpBytes<4>(a));
    a = max(a, shiftUpBytes<8>(a));
    return max(a, _mm256_permute2x128_si256(a, a, 0x08));
  }
};

#include "pairwise/simd/batch_fill.inc"
#include "pairwise/simd/scan_fill.inc"

}  // namespace

namespace zemtra::simd {

void fillAvx2(const BatchFill& f, int bits) {
  if (bits == 16)
    fillLanes<Avx2Ops16>(f);
  else
    fillLanes<Avx2Ops32>(f);
}

ScanEnd scanAvx2(const ScanFill& f, int bits, int maxAbs) {
  if (bits == 16) return scanLanes<Avx2Ops16>(f, maxAbs);
  return scanLanes<Avx2Ops32>(f, maxAbs);
}

}  // namespace zemtra::simd

namespace zemtra::simd {

// The codes index a 32-entry byte table in two 16-entry halves; pshufb
// gives 0 for an index with its top bit set, so each half answers only for
// its own indices and the two are combined with an OR.
void profileAvx2(const ProfileFill& p, int bits) {
  const unsigned lanes = bits == 16 ? kAvx2Lanes16 : kAvx2Lanes32;
  const unsigned long elements = p.width * lanes;
  const __m128i sixteen = _mm_set1_epi8(16);
  const __m128i high = _mm_set1_epi8(static_cast<char>(0x80));
  for (int r = 0; r < kCodes; ++r) {
    if (!p.wanted[r]) continue;
    const __m128i lowHalf = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p.scores[r]));
    const __m128i highHalf = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p.scores[r] + 16));
    auto lookUp = [&](__m128i codes) {
      // Indices 16 and up must miss the low half: set their top bit.
      const __m128i isHigh = _mm_cmpgt_epi8(codes, _mm_set1_epi8(15));
      const __m128i low = _mm_shuffle_epi8(lowHalf, _mm_or_si128(codes, _mm_and_si128(isHigh, high)));
      const __m128i up =
          _mm_shuffle_epi8(highHalf, _mm_or_si128(_mm_sub_epi8(codes, sixteen), _mm_andnot_si128(isHigh, high)));
      return _mm_or_si128(low, up);
    };
    if (bits == 16) {
      std::int16_t* out = static_cast<std::int16_t*>(p.profile) + static_cast<unsigned long>(r) * elements;
      for (unsigned long e = 0; e < elements; e += 16) {
        const __m128i codes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p.laneCodes + e));
        _mm256_store_si256(reinterpret_cast<__m256i*>(out + e), _mm256_cvtepi8_epi16(lookUp(codes)));
      }
    } else {
      std::int32_t* out = static_cast<std::int32_t*>(p.profile) + static_cast<unsigned long>(r) * elements;
      for (unsigned long e = 0; e < elements; e += 8) {
        const __m128i codes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p.laneCodes + e));
        _mm256_store_si256(reinterpret_cast<__m256i*>(out + e), _mm256_cvtepi8_epi32(lookUp(codes)));
      }
    }
  }
}

}  // namespace zemtra::simd
