// The pair model's trained parameters and the cost model of a run.
#include <algorithm>
#include <cmath>

#include "consistency/consistency.h"
#include "consistency/pair_hmm.h"
#include "scoring/matrix_names.h"
#include "scoring/scomat.h"

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

// The built-in GONNET table holds round(100 * (s + 5.2) / 19.4) for the
// published score s (tenths of a decimal log at 250 PAM); the inverse is
// exact to 0.1 units of s, a factor within 2.3 % on the odds.
const MatchOdds& gonnetMatchOdds() {
  static const MatchOdds table = [] {
    MatchOdds odds{};
    const int matNo = ScoMat::findMatrix("GONNET").value_or(0);
    for (int a = 0; a < 21; ++a) {
      for (int b = 0; b < 21; ++b) {
        const double score = ScoMat::mats[matNo * 441 + a * 21 + b] * 0.194 - 5.2;
        const bool neutral = a == ScoMat::kNeutral || b == ScoMat::kNeutral;
        odds[static_cast<std::size_t>(a * 21 + b)] = neutral ? 1.0 : std::pow(10.0, score / 10.0);
      }
    }
    return odds;
  }();
  return table;
}

// Measured on the synthetic families of 200 and 500 rows of about 300
// residues (2 threads): at most 3.4 posterior entries per residue after the
// transformation; CPU seconds per unit below, with half again as margin.
namespace {
constexpr double kEntriesPerResidue = 4.0;
constexpr double kCellSeconds = 3.5e-8;     // forward-backward and accuracy, per table cell
constexpr double kThirdStepSeconds = 7e-8;  // transformation, per residue of x and third sequence
constexpr double kRefineSeconds = 2e-8;     // refinement, per residue pair across a split
constexpr unsigned kThirdLimit = Options{}.thirdSequences;
}  // namespace

// Both directions of every pair's posteriors, the transformed half of a
// round beside them, and four workers' tables for two rows a quarter longer
// than the mean.
std::uint64_t estimateBytes(unsigned long n, unsigned long meanLength) {
  const double pairs = static_cast<double>(n) * static_cast<double>(n > 0 ? n - 1 : 0);
  const double length = static_cast<double>(meanLength);
  const double perMatrix = sizeof(SparsePosterior) + 4.0 * (length + 1) + 8.0 * kEntriesPerResidue * length;
  const auto longest = static_cast<std::uint64_t>(1.25 * length) + 1;
  const double workers = 4.0 * static_cast<double>(pairHmmWorkspaceBytes(longest, longest) + longest * longest * 4);
  return static_cast<std::uint64_t>(1.5 * pairs * perMatrix + workers) + (64u << 20);
}

double estimateSeconds(unsigned long n, unsigned long meanLength, unsigned threads) {
  const double rows = static_cast<double>(n), length = static_cast<double>(meanLength);
  const double pairs = 0.5 * rows * std::max(0.0, rows - 1);
  const double thirds =
      kThirdLimit == 0 ? std::max(0.0, rows - 2) : std::min(std::max(0.0, rows - 2), double{kThirdLimit});
  // Forward-backward under both emission tables, and the expected accuracy
  // of every pair for the third sequences' weights in each round.
  const double cellPasses = 2.0 + 0.5 * Options{}.consistencyRounds;
  const double cpu =
      pairs * length * length * kCellSeconds * cellPasses + 2.0 * pairs * thirds * length * kThirdStepSeconds +
      Options{}.refineIterations * 0.25 * rows * rows * length * kRefineSeconds + 1e-9 * rows * rows * rows;
  return 1.5 * cpu / std::max(1u, threads) + 0.5;
}

}  // namespace zemtra::consistency
