// Groups of aligned sequences and their maximum-posterior alignment: the
// columns of two groups are aligned so that the summed posterior of the
// residue pairs they put in one column is largest; gaps cost nothing.
#pragma once

#include <cstdint>
#include <vector>

#include "consistency/consistency.h"
#include "consistency/posterior_set.h"

namespace zemtra::consistency {

struct Group {
  std::vector<std::uint32_t> members;               // sequence numbers, ascending
  std::vector<std::vector<std::uint32_t>> columns;  // per member, the column of each residue
  std::uint32_t width = 0;
};

// score[a * b.width + c]: summed posterior of the residue pairs that column a
// of group a and column c of group b would put together.
void columnPairScores(const Group& a, const Group& b, const PosteriorSet& post, std::vector<double>& score);

// The alignment of a's and b's columns with the largest summed score, ties
// resolved towards pairing columns, then towards a's column first; bestScore
// receives its sum.
Group mergeGroups(const Group& a, const Group& b, const std::vector<double>& score, double& bestScore);

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
