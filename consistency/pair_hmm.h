// Pair hidden Markov model of two protein sequences: a match state that
// emits an aligned residue pair and two pairs of insert states (short and
// long gaps, one of each per sequence) that emit one residue against a gap.
// Forward-backward runs in probability space with one scale factor per row
// of the dynamic-programming table, so long sequences neither underflow nor
// overflow. Emissions are odds against the background: an insert emits odds
// 1, a match emits 2^(s/2) for the half-bit score s of the residue pair.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace zemtra::consistency {

// Transition probabilities. The two sequences are treated alike, so every
// insert parameter holds for the insert states of both sequences.
struct PairHmmParams {
  double startMatch = 0;   // first state is the match state
  double startShort = 0;   // first state is the short insert of one given sequence
  double startLong = 0;    // first state is the long insert of one given sequence
  double openShort = 0;    // match to the short insert of one given sequence
  double openLong = 0;     // match to the long insert of one given sequence
  double extendShort = 0;  // short insert stays
  double extendLong = 0;   // long insert stays
};

// The trained parameters (see the README's section on the consistency method).
PairHmmParams defaultPairHmmParams();

// Residue codes 0..19 and 20 for anything else (ambiguity codes, unknown
// letters): the substitution tables' order, case ignored.
std::vector<std::uint8_t> encodeResidues(std::string_view residues);

// Match odds for every pair of residue codes, row-major 21 x 21.
using MatchOdds = std::array<double, 21 * 21>;
const MatchOdds& blosum62MatchOdds();
// Odds 10^(s/10) from the built-in GONNET table (scores s in tenths of a
// decimal log, recovered from the table's scaling).
const MatchOdds& gonnetMatchOdds();

// Sparse matrix of match posteriors: for residue i of the first sequence
// (0-based) the entries rowStart[i] .. rowStart[i + 1] - 1, columns
// ascending.
struct SparsePosterior {
  struct Entry {
    std::uint32_t col = 0;
    float p = 0;
  };
  std::uint32_t cols = 0;
  std::vector<std::uint32_t> rowStart;  // rows + 1 offsets
  std::vector<Entry> entries;
  std::uint32_t rows() const { return rowStart.empty() ? 0 : static_cast<std::uint32_t>(rowStart.size() - 1); }
  double sum() const;
};

// A sequence as residue distributions: position i weighs residue code
// code[k] by weight[k] for k in start[i] .. start[i + 1] - 1 (at least one
// entry). A plain sequence is one code of weight 1 at every position.
struct ResidueProfile {
  std::vector<std::uint32_t> start;  // positions + 1 offsets
  std::vector<std::uint8_t> code;
  std::vector<double> weight;
  std::size_t size() const { return start.empty() ? 0 : start.size() - 1; }
};
ResidueProfile plainProfile(const std::vector<std::uint8_t>& codes);

// Posteriors below this are dropped from the sparse matrices.
inline constexpr float kPosteriorCutoff = 0.01f;

// Expected number of uses of each kind of transition, for training the
// parameters by expectation maximisation (both sequences pooled).
struct TransitionCounts {
  double startMatch = 0, startShort = 0, startLong = 0;
  double matchMatch = 0, openShort = 0, openLong = 0;
  double shortStay = 0, shortClose = 0, longStay = 0, longClose = 0;
  double logLikelihood = 0;  // natural log of the odds of the pair, summed over pairs
  void add(const TransitionCounts& other);
};

// Scratch space of one worker; reused between pairs.
struct PairHmmWorkspace {
  std::vector<double> forward;  // forward table (plain: five states a cell; by rows: match only) and rows
  std::vector<double> scale;    // n + 1 row scale factors
  std::vector<double> back;     // two rows of the backward table (plain path)
};

// Match posteriors of x against y (residue codes), entries at or above
// kPosteriorCutoff. With counts, also adds the pair's expected transition
// counts. Empty sequences give an empty matrix.
SparsePosterior pairPosteriors(const std::vector<std::uint8_t>& x, const std::vector<std::uint8_t>& y,
                               const PairHmmParams& params, const MatchOdds& odds, PairHmmWorkspace& work,
                               TransitionCounts* counts = nullptr);

// The same by the plain cell-by-cell recurrences: the reference the row
// kernels behind pairPosteriors are checked against (bit for bit), and the
// path that gives transition counts.
SparsePosterior pairPosteriorsPlain(const std::vector<std::uint8_t>& x, const std::vector<std::uint8_t>& y,
                                    const PairHmmParams& params, const MatchOdds& odds, PairHmmWorkspace& work,
                                    TransitionCounts* counts = nullptr);

// Match posteriors of two profiles: a match of positions i and j emits
// sum_k wx_k * (sum_l wy_l * odds(ax_k, ay_l)), each sum taken in its
// entries' order. For plain profiles this is pairPosteriors, bit for bit.
SparsePosterior profilePosteriors(const ResidueProfile& x, const ResidueProfile& y, const PairHmmParams& params,
                                  const MatchOdds& odds, PairHmmWorkspace& work);
SparsePosterior profilePosteriorsPlain(const ResidueProfile& x, const ResidueProfile& y, const PairHmmParams& params,
                                       const MatchOdds& odds, PairHmmWorkspace& work,
                                       TransitionCounts* counts = nullptr);

// Bytes of a workspace for sequences of lengths n and m (posteriors only).
std::uint64_t pairHmmWorkspaceBytes(std::uint64_t n, std::uint64_t m);

}  // namespace zemtra::consistency
