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

namespace {

// Odds of every residue pair from a built-in table's stored value; the
// neutral code matches everything at odds 1.
template <class StoredToOdds>
MatchOdds builtInOdds(const char* name, StoredToOdds toOdds) {
  MatchOdds odds{};
  const int matNo = ScoMat::findMatrix(name).value_or(0);
  for (int a = 0; a < 21; ++a) {
    for (int b = 0; b < 21; ++b) {
      const bool neutral = a == ScoMat::kNeutral || b == ScoMat::kNeutral;
      odds[static_cast<std::size_t>(a * 21 + b)] = neutral ? 1.0 : toOdds(ScoMat::mats[matNo * 441 + a * 21 + b]);
    }
  }
  return odds;
}

}  // namespace

// The built-in BLOSUM62 table holds round(100 * (s + 4) / 15) for the
// published half-bit score s, so s is recovered exactly by the inverse
// rounding.
const MatchOdds& blosum62MatchOdds() {
  static const MatchOdds table =
      builtInOdds("BLOSUM62", [](int stored) { return std::exp2(std::round(stored * 0.15 - 4.0) / 2.0); });
  return table;
}

// The built-in GONNET table holds round(100 * (s + 5.2) / 19.4) for the
// published score s (tenths of a decimal log at 250 PAM); the inverse is
// exact to 0.1 units of s, a factor within 2.3 % on the odds.
const MatchOdds& gonnetMatchOdds() {
  static const MatchOdds table =
      builtInOdds("GONNET", [](int stored) { return std::pow(10.0, (stored * 0.194 - 5.2) / 10.0); });
  return table;
}

// Measured on the synthetic families of 200 and 500 rows of about 300
// residues: at most 3.4 posterior entries per residue after the
// transformation. Processor seconds per unit on one core of the development
// machine (AMD EPYC, AVX2), from one-thread runs of 200 x 300 (forward-
// backward 63.3 s, transformation 8.2 s, expected accuracy 2.3 s a pass,
// refinement 2.1 s) and 20 x 3,000 (forward-backward 60.6 s, refinement
// 16.4 s, nearly all in aligning two groups of 3,300 columns); the estimate
// adds half again as margin.
namespace {
constexpr double kEntriesPerResidue = 4.0;
constexpr double kPosteriorCellSeconds = 1.75e-8;  // forward-backward under one emission table, per table cell
constexpr double kAccuracyCellSeconds = 1.3e-9;    // expected accuracy of a pair, per table cell
// Transformation, per residue of x and third sequence, per round: twice the
// 7e-9 of the synthetic families, whose sharper posteriors keep fewer
// entries than those of divergent families (BAliBASE's RV30 cases).
constexpr double kThirdStepSeconds = 1.4e-8;
constexpr double kRefineSeconds = 2e-9;       // refinement, per residue pair across a split
constexpr double kMergeCellSeconds = 4.5e-9;  // aligning two groups, per cell of their columns' table
constexpr unsigned kThirdLimit = Options{}.thirdSequences;
constexpr double kProfilePassShare = 1.3;  // a re-estimation pass's all-pairs steps against the first ones
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

double estimateSeconds(unsigned long n, unsigned long meanLength, unsigned long maxLength, unsigned threads, int rounds,
                       int refine) {
  const double rows = static_cast<double>(n), length = static_cast<double>(meanLength);
  const double pairs = 0.5 * rows * std::max(0.0, rows - 1);
  const double thirds =
      kThirdLimit == 0 ? std::max(0.0, rows - 2) : std::min(std::max(0.0, rows - 2), double{kThirdLimit});
  const double passes = std::max(0, rounds);
  // On every thread: forward-backward under both emission tables; the
  // expected accuracy of every pair for the third sequences' weights in
  // each round and for the guide tree; each round's transformation.
  const double cells = pairs * length * length;
  const double shared = cells * (2.0 * kPosteriorCellSeconds + (passes + 1.0) * kAccuracyCellSeconds) +
                        passes * 2.0 * pairs * thirds * length * kThirdStepSeconds;
  // On one thread: the guide tree, the progressive joins and the refinement,
  // which align groups of up to twice the longest row's width (divergent
  // families with long ends reach that: 1,735 columns for rows of at most
  // 819 residues).
  const double width = 2.0 * static_cast<double>(std::max(maxLength, meanLength));
  const double groupCells = width * width;
  const double refineStep = 0.25 * rows * rows * length * kRefineSeconds + groupCells * kMergeCellSeconds;
  const double alignOnce = 1e-9 * rows * rows * rows + std::max(0.0, rows - 1) * groupCells * kMergeCellSeconds;
  // Each re-estimation pass repeats all of it on profiles, whose emission
  // rows add to the forward-backward, with a quarter of the refinement.
  const double again = profilePassesFor(Options{}, n);
  const double attempts = std::max(0, refine) + again * (std::max(0, refine) / kLaterRefineShare);
  const double all = (1.0 + again * kProfilePassShare) * shared / std::max(1u, threads) + (1.0 + again) * alignOnce +
                     attempts * refineStep;
  return 1.5 * all + 0.5;
}

}  // namespace zemtra::consistency
