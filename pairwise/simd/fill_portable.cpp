// Multi-pair fill in plain C++: the kernel for builds and CPUs without a
// SIMD path, and the yardstick the instruction-set kernels are tested with.
#include <cstdint>

#include "pairwise/simd/batch_fill.h"
#include "pairwise/simd/scan_fill.h"

namespace {

template <typename E, unsigned N>
struct PortableOps {
  using Elem = E;
  struct Vec {
    E e[N];
  };
  static constexpr unsigned kLanes = N;

  template <class F>
  static Vec each(F f) {
    Vec r;
    for (unsigned l = 0; l < N; ++l) r.e[l] = static_cast<E>(f(l));
    return r;
  }
  static Vec zero() {
    return each([](unsigned) { return 0; });
  }
  static Vec set1(int x) {
    return each([x](unsigned) { return x; });
  }
  static Vec load(const E* p) {
    return each([p](unsigned l) { return p[l]; });
  }
  static void store(E* p, const Vec& a) {
    for (unsigned l = 0; l < N; ++l) p[l] = a.e[l];
  }
  static Vec add(const Vec& a, const Vec& b) {
    return each([&](unsigned l) { return a.e[l] + b.e[l]; });
  }
  static Vec sub(const Vec& a, const Vec& b) {
    return each([&](unsigned l) { return a.e[l] - b.e[l]; });
  }
  static Vec max(const Vec& a, const Vec& b) {
    return each([&](unsigned l) { return a.e[l] > b.e[l] ? a.e[l] : b.e[l]; });
  }
  // The plain comparisons, without gapBest: the vector kernels are tested
  // against this one.
  static Vec codes(const Vec& dUp, const Vec&, const Vec& vGap, const Vec& hGap, const Vec& d, const Vec& v,
                   const Vec& h) {
    return each([&](unsigned l) {
      unsigned code = 0;
      if (vGap.e[l] > dUp.e[l] || hGap.e[l] > dUp.e[l]) code = hGap.e[l] > vGap.e[l] ? 2 : 1;
      if (h.e[l] > d.e[l]) code |= zemtra::simd::kHorzStays;
      if (v.e[l] > d.e[l]) code |= zemtra::simd::kVertStays;
      return code;
    });
  }
  static void storeCodePair(std::uint8_t* out, const Vec& low, const Vec& high) {
    for (unsigned l = 0; l < N; ++l) out[l] = static_cast<std::uint8_t>(low.e[l] | high.e[l] << 4);
  }
  // The within-pair kernel's operations.
  static Vec shiftIn(const Vec& a, const Vec& before) {
    return each([&](unsigned l) { return l == 0 ? before.e[N - 1] : a.e[l - 1]; });
  }
  static Vec prefixMax(const Vec& a) {
    Vec r = a;
    for (unsigned l = 1; l < N; ++l) r.e[l] = r.e[l] > r.e[l - 1] ? r.e[l] : r.e[l - 1];
    return r;
  }
};

#include "pairwise/simd/batch_fill.inc"
#include "pairwise/simd/scan_fill.inc"

}  // namespace

namespace zemtra::simd {

void fillPortable(const BatchFill& f, int bits) {
  if (bits == 16)
    fillLanes<PortableOps<std::int16_t, kPortableLanes16>>(f);
  else
    fillLanes<PortableOps<std::int32_t, kPortableLanes32>>(f);
}

ScanEnd scanPortable(const ScanFill& f, int bits, int maxAbs) {
  if (bits == 16) return scanLanes<PortableOps<std::int16_t, kPortableLanes16>>(f, maxAbs);
  return scanLanes<PortableOps<std::int32_t, kPortableLanes32>>(f, maxAbs);
}

}  // namespace zemtra::simd

namespace zemtra::simd {

void profilePortable(const ProfileFill& p, int bits, unsigned lanes) {
  const unsigned long elements = p.width * lanes;
  for (int r = 0; r < kCodes; ++r) {
    if (!p.wanted[r]) continue;
    const std::int8_t* scores = p.scores[r];
    if (bits == 16) {
      std::int16_t* out = static_cast<std::int16_t*>(p.profile) + static_cast<unsigned long>(r) * elements;
      for (unsigned long e = 0; e < elements; ++e) out[e] = scores[p.laneCodes[e]];
    } else {
      std::int32_t* out = static_cast<std::int32_t*>(p.profile) + static_cast<unsigned long>(r) * elements;
      for (unsigned long e = 0; e < elements; ++e) out[e] = scores[p.laneCodes[e]];
    }
  }
}

}  // namespace zemtra::simd
