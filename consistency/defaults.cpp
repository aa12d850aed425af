// The pair model's trained parameters and the cost model of a run.
#include <algorithm>

#include "consistency/consistency.h"
#include "consistency/pair_hmm.h"

namespace zemtra::consistency {

PairHmmParams defaultPairHmmParams() {
  PairHmmParams p;
  p.startMatch = 0.330498;
  p.startShort = 0.176971;
  p.startLong = 0.15778;
  p.openShort = 0.0287294;
  p.openLong = 0.00373155;
  p.extendShort = 0.683151;
  p.extendLong = 0.989977;
  return p;
}

std::uint64_t estimateBytes(unsigned long n, unsigned long meanLength) {
  const std::uint64_t pairs = std::uint64_t{n} * (n > 0 ? n - 1 : 0);
  const std::uint64_t sparse = pairs * (meanLength * 4 * 8 + 64);
  return 2 * sparse + 4 * pairHmmWorkspaceBytes(meanLength, meanLength) + (64u << 20);
}

double estimateSeconds(unsigned long n, unsigned long meanLength, unsigned threads) {
  const double pairs = 0.5 * static_cast<double>(n) * static_cast<double>(n > 0 ? n - 1 : 0);
  const double cells = pairs * static_cast<double>(meanLength) * static_cast<double>(meanLength);
  return cells * 2e-8 / std::max(1u, threads) + 1.0;
}

}  // namespace zemtra::consistency
