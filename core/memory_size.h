// Byte counts of allocations worked out before they are made, by the code
// that makes them. Counts saturate at the largest value instead of wrapping,
// so an impossible size stays impossible.
#pragma once

#include <cstdint>
#include <limits>

namespace KARVO {

inline constexpr std::uint64_t kUnboundedBytes = std::numeric_limits<std::uint64_t>::max();

constexpr std::uint64_t bytesTimes(std::uint64_t a, std::uint64_t b) {
  return a != 0 && b > kUnboundedBytes / a ? kUnboundedBytes : a * b;
}

constexpr std::uint64_t bytesPlus(std::uint64_t a, std::uint64_t b) {
  return b > kUnboundedBytes - a ? kUnboundedBytes : a + b;
}

}  // namespace KARVO
