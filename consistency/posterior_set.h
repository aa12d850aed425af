// Match posteriors of every ordered pair of sequences and the consistency
// transformation that re-estimates each pair through third sequences.
#pragma once

#include <cstdint>
#include <vector>

#include "consistency/pair_hmm.h"

namespace zemtra::consistency {

class PosteriorSet {
 public:
  explicit PosteriorSet(std::size_t n) : n_(n), mats_(n * n) {}
  std::size_t size() const { return n_; }
  // Rows are residues of x, columns residues of y; x != y.
  const SparsePosterior& get(std::size_t x, std::size_t y) const { return mats_[x * n_ + y]; }
  SparsePosterior& at(std::size_t x, std::size_t y) { return mats_[x * n_ + y]; }
  // Fills every (y, x) from its (x, y) for x < y.
  void mirrorUpper();
  std::uint64_t bytes() const;

 private:
  std::size_t n_;
  std::vector<SparsePosterior> mats_;
};

// The same posteriors with rows and columns swapped.
SparsePosterior transpose(const SparsePosterior& m);

// (2 P_xy + sum over third sequences z of w_z P_xz P_zy) / (2 + sum of w_z),
// entries below kPosteriorCutoff dropped; w_z = weights[z], or 1 for every
// z when weights is empty; dense is scratch space of |x| * |y| floats, all
// zero (or too small) on entry and left all zero, so it is only cleared
// where it was used.
SparsePosterior transformPair(const PosteriorSet& set, std::size_t x, std::size_t y,
                              const std::vector<std::uint32_t>& thirds, std::vector<float>& dense,
                              const std::vector<float>& weights = {});
// The same over a dense |x| * |y| table, cleared and scanned whole: the
// reference transformPair is checked against (bit for bit). It leaves dense
// filled, so the two never share one scratch vector.
SparsePosterior transformPairPlain(const PosteriorSet& set, std::size_t x, std::size_t y,
                                   const std::vector<std::uint32_t>& thirds, std::vector<float>& dense,
                                   const std::vector<float>& weights = {});

// Expected accuracy of the pair: the largest summed posterior of any
// alignment of x and y (the maximum expected accuracy alignment), divided by
// the shorter length; 0 when either is empty.
double expectedAccuracy(const SparsePosterior& m);
// The same cell by cell: the reference expectedAccuracy is checked against.
double expectedAccuracyPlain(const SparsePosterior& m);

// Posteriors of two rows of an existing alignment: 1 where their residues
// share a column, given the column of every residue of each row.
SparsePosterior alignedPairPosterior(const std::vector<std::uint32_t>& columnsX,
                                     const std::vector<std::uint32_t>& columnsY);

}  // namespace zemtra::consistency
