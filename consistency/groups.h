// Groups of aligned sequences and their maximum-posterior alignment: the
// columns of two groups are aligned so that the summed posterior of the
// residue pairs they put in one column is largest; gaps cost nothing.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "consistency/consistency.h"
#include "consistency/pair_hmm.h"
#include "consistency/posterior_set.h"

namespace zemtra::consistency {

struct Group {
  std::vector<std::uint32_t> members;               // sequence numbers, ascending
  std::vector<std::vector<std::uint32_t>> columns;  // per member, the column of each residue
  std::uint32_t width = 0;
};

// Scratch of the group alignments, reused from one to the next: the
// column-pair score table, all zero between uses (a use clears only the
// cells it touched), and the dynamic programme's rows and trace.
struct MergeWork {
  struct Cell {
    std::uint32_t col;  // b's column + 1
    double score;
  };
  std::vector<double> score;  // score[a * b.width + c], see columnPairScores
  std::vector<std::size_t> touched;
  std::vector<std::size_t> rowStart;  // the touched cells by row of a's columns
  std::vector<Cell> cells;
  std::vector<std::uint8_t> step;
  std::vector<double> prev, cur, best;
};

// work.score[a * b.width + c]: summed posterior of the residue pairs that
// column a of group a and column c of group b would put together.
void columnPairScores(const Group& a, const Group& b, const PosteriorSet& post, MergeWork& work);

// The alignment of a's and b's columns with the largest summed score in
// work.score, ties resolved towards pairing columns, then towards a's column
// first; bestScore receives its sum. Clears work.score for the next use.
Group mergeGroups(const Group& a, const Group& b, MergeWork& work, double& bestScore);

// The same cell by cell from a plain score table: the reference the row
// loops of mergeGroups are checked against.
Group mergeGroupsPlain(const Group& a, const Group& b, const std::vector<double>& score, double& bestScore);

// The rows `members` of group g with their all-gap columns removed; keep[c]
// receives the new column of old column c, or -1.
Group projectGroup(const Group& g, const std::vector<std::uint32_t>& members, std::vector<int>& keep);

// Summed score of the column pairs that the full alignment already holds
// between two of its projections.
double currentPairing(const std::vector<int>& keepA, const std::vector<int>& keepB, std::uint32_t widthB,
                      const std::vector<double>& score);

// A refinement step replaces the alignment only when it improves the
// objective by more than rounding noise.
bool acceptRefinement(double before, double after);

// Every residue of an alignment as a distribution over residue codes: its
// own code at weight `own`, the rest shared among the other residues of its
// column in proportion to their rows' weights; a residue alone in its
// column keeps its own code at weight 1.
class ColumnProfiles {
 public:
  // codes[r] are row r's residues (kept by reference); rows outside g have
  // no residues.
  ColumnProfiles(const Group& g, const std::vector<std::vector<std::uint8_t>>& codes,
                 const std::vector<float>& rowWeights, double own);
  // Row r's profile with the residues of row `without` left out of every
  // column, so that a pair is not scored against its own first alignment.
  void profileOf(std::uint32_t r, std::uint32_t without, ResidueProfile& out) const;

 private:
  struct Tally {
    std::array<std::uint32_t, 21> rows{};  // of each residue code
    std::array<double, 21> weight{};
    std::uint32_t residues = 0;
    double total = 0;
  };
  static constexpr std::uint8_t kGap = 0xFF;
  const std::vector<std::vector<std::uint8_t>>& codes_;
  std::vector<float> rowWeights_;
  double own_;
  std::vector<Tally> tally_;                       // per column
  std::vector<std::vector<std::uint32_t>> at_;     // per row, the column of each residue (none outside g)
  std::vector<std::vector<std::uint8_t>> codeAt_;  // per row and column, the residue code or kGap
};

// Average-linkage guide tree over units (sets of sequences that are joined
// first, in order, at distance 0), from the distance of every sequence pair
// (n x n, row-major). Ties join the lowest cluster numbers.
std::vector<TreeJoin> guideTree(const std::vector<double>& distance, std::size_t n,
                                const std::vector<std::vector<std::uint32_t>>& units);

// The splits of the units along the guide tree's edges, in the order
// refinement tries them: the leaves from the last unit to the first, then
// the inner edges from the root down. split[u] tells which side unit u is
// on; the two edges below the root give one split, listed once, and the
// prealigned block's own joins none. tree as from guideTree over the units
// of n sequences of which the first `fixed` form the block.
std::vector<std::vector<bool>> treeSplits(const std::vector<TreeJoin>& tree, std::size_t n, unsigned fixed);

}  // namespace zemtra::consistency
