// The consistency method: a second way to re-align a column range, beside
// the progressive method of the run driver. Pair-HMM posteriors for every
// pair of sequences, a consistency transformation over third sequences, a
// guide tree from the expected accuracies, progressive alignment of groups
// that maximises the summed posterior of aligned residue pairs, and
// iterative refinement. Pure functions over plain data: no toolkit, no
// files, no environment; the caller resolves threads and passes them in.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace zemtra::consistency {

struct Options {
  int consistencyRounds = 2;   // rounds of the consistency transformation (0 or more)
  int refineIterations = 400;  // refinement attempts (0: none)
  // Refinement first splits the alignment along each edge of the guide tree
  // (leaves first, then the inner edges from the root down), this many times
  // over, then at random; every split counts as one attempt.
  int treeEdgePasses = 2;
  // Re-estimation passes after the first alignment: each residue gets the
  // residue distribution of its column in the alignment so far, and the
  // pair model, transformation, tree, progressive alignment and refinement
  // (see kLaterRefineShare) run again on those profiles. They
  // double the all-pairs work, so families of more than profilePassRows
  // rows align once.
  int profilePasses = 1;
  unsigned profilePassRows = 200;
  unsigned threads = 1;    // worker threads of the all-pairs steps (at least 1); bytes never depend on it
  std::uint64_t seed = 0;  // the refinement's random splits follow it; fixed for reproducible runs
  // Third sequences per pair in the consistency transformation: when more
  // rows have residues than this plus two, a pair (x, y) goes through the
  // union of the thirdSequences / 2 rows nearest to x and those nearest to y
  // (by expected aligned residue pairs per residue); 0: always every row.
  unsigned thirdSequences = 50;
};

// One step of the guide tree: clusters left and right (leaves 0..n-1 are the
// input rows, the k-th join makes cluster n + k) joined at distance
// 1 - expected accuracy of the two groups.
struct TreeJoin {
  int left = 0;
  int right = 0;
  float distance = 0.0f;
};

// Where the time went, wall-clock seconds.
struct Timings {
  double posteriors = 0;
  double consistency = 0;
  double tree = 0;
  double progressive = 0;
  double refinement = 0;
  double total = 0;
};

struct Result {
  // Aligned rows in input order, '-' for gaps, all of one width; no column
  // is a gap in every row. Residues of each row are the input's residues in
  // their order (letters kept as given).
  std::vector<std::string> rows;
  // Per output column, in [0, 1]: how reliable the column is, from the
  // posteriors of the residue pairs it aligns. For a column holding k >= 2
  // residues: the sum over its k (k - 1) / 2 residue pairs (x_i, y_j) of the
  // transformed posterior P'_xy(i, j), divided by k (k - 1) / 2; 0 for a
  // column with fewer than two residues.
  std::vector<float> columnConfidence;
  std::vector<TreeJoin> tree;  // n - 1 joins (the prealigned block's own joins at distance 0 first)
  double objective = 0;        // summed transformed posterior of aligned residue pairs, after refinement
  int alignments = 0;          // the first alignment and one per re-estimation pass
  int refinementTried = 0;     // over all alignments
  int refinementKept = 0;      // attempts that improved the objective and were kept
  Timings timings;
  bool cancelled = false;  // stopped on request; rows are then empty
};

// Progress: called on the calling thread with (done, total) steps; a true
// value in cancel stops the run at its next check.
struct Progress {
  std::function<void(long done, long total)> report;
  const std::atomic<bool>* cancel = nullptr;
};

// Aligns rows. The first `fixed` rows are an existing alignment (gapped, all
// of one width) kept as one group whose columns are never split; every
// other row is read without its gaps ('-' and '.'). Rows without residues
// stay all-gap. Needs at least two rows.
Result align(const std::vector<std::string>& rows, unsigned fixed, const Options& options,
             const Progress& progress = {});

// A re-estimation pass refines with refineIterations / kLaterRefineShare
// attempts: it starts from posteriors of an alignment refined already.
inline constexpr int kLaterRefineShare = 4;

// The re-estimation passes a run of `rows` rows makes under options.
int profilePassesFor(const Options& options, std::size_t rows);

// Upper bounds before a run, for a refusal or a warning that comes first:
// bytes at the peak and seconds on `threads` idle cores, for n rows of mean
// length meanLength (the longest maxLength), with the given consistency
// rounds and refinement attempts.
std::uint64_t estimateBytes(unsigned long n, unsigned long meanLength);
double estimateSeconds(unsigned long n, unsigned long meanLength, unsigned long maxLength, unsigned threads,
                       int rounds = Options{}.consistencyRounds, int refine = Options{}.refineIterations);

}  // namespace zemtra::consistency
