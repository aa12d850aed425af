// The cluster distances of the tree phase kept up to date join by join.
// The reference refresh rescans every sequence pair and the family rows at
// every join; here only the distances of the cluster that just grew are
// recomputed, from the same input distances, over the same members in the
// same summation order, so every mean is the same float. The closest-pair
// search keeps the reference's tie order.
#pragma once

#include <cstdint>
#include <vector>

#include "core/matrix.h"
#include "tree/cluster_steps.h"

class ClusterTracker {
 public:
  static constexpr unsigned long kSingle = ~0UL;

  // Whether the tracker gives the reference's joins for these distances:
  // every off-diagonal entry of the first ns rows and columns is a number
  // not above kJoinedThreshold. Any other value makes the reference skip or
  // keep pairs in ways that only its full rescan reproduces.
  static bool applies(const KARVO::Matrix<float>& fscore, unsigned long ns);

  // Every sequence 1..ns on its own; distances from fscore, which must stay
  // unchanged while the tracker lives (it is read, never copied).
  ClusterTracker(const KARVO::Matrix<float>& fscore, unsigned long ns);

  // Bytes a tracker of ns sequences holds at most: its records by cluster id
  // and a row of sums for each of up to ns / 2 live family rows (every live
  // row has two members or more).
  static std::uint64_t bytesFor(unsigned long ns);

  // The pair the reference's closest-pair search returns for the current
  // clusters.
  ClosestPair closest() const;

  // The live family row of a sequence, or kSingle.
  unsigned long liveRow(unsigned long sequence) const { return clusters_[idOf_[sequence]].row; }

  // Family row `row` now holds `members` entries: its old members (none for
  // a new row) followed by newcomers, which were single sequences or the
  // members of the family row absorbedRow (kSingle when there was none).
  // All of them now form one cluster.
  void rowGrew(const FamilyTable& family, unsigned long row, unsigned long oldMembers, unsigned long members,
               unsigned long absorbedRow);

 private:
  struct Cluster {
    unsigned long row = kSingle;  // live family row
    unsigned long size = 1;
    bool active = true;
  };
  struct Best {
    float value = 0.0f;
    unsigned long other = 0;  // 0: no partner above this id
  };

  // The current distance between two active clusters, by their ids.
  float distance(unsigned long a, unsigned long b) const;
  void storeFamilyDistance(unsigned long a, unsigned long b, float d);
  bool isSingle(unsigned long sequence) const { return clusters_[idOf_[sequence]].row == kSingle; }
  float familyDistance(const FamilyTable& family, unsigned long rowA, unsigned long sizeA, unsigned long rowB,
                       unsigned long sizeB) const;
  void rescan(unsigned long id);
  void offer(unsigned long id, unsigned long other);

  const KARVO::Matrix<float>& fscore_;
  unsigned long ns_;
  std::vector<Cluster> clusters_;    // by cluster id (its smallest member)
  std::vector<unsigned long> idOf_;  // cluster id of each sequence
  // Per live family row, indexed by sequence y. For a single y: the running
  // single-precision sum over the row's members b, in row order, of
  // fscore[b - 1][y - 1], which divided by the row's size is the distance
  // between the two. The cell of the id of another live family holds the
  // distance between the two families. No other cell is read. So there is
  // no table of cluster distances beside the run's own distances.
  std::vector<std::vector<float>> rowSums_;
  std::vector<Best> best_;  // per cluster id: closest partner with a larger id
};
