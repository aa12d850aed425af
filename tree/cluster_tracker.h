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
  // unchanged while the tracker lives.
  ClusterTracker(const KARVO::Matrix<float>& fscore, unsigned long ns);

  // Bytes a tracker of ns sequences holds at most: the distances by cluster
  // id and a row of sums for each of up to ns + 1 live family rows.
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
  void rowGrew(const KARVO::Matrix<unsigned long>& family, unsigned long row, unsigned long oldMembers,
               unsigned long members, unsigned long absorbedRow);

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

  float& distance(unsigned long a, unsigned long b) { return dist_[a * (ns_ + 1) + b]; }
  float distance(unsigned long a, unsigned long b) const { return dist_[a * (ns_ + 1) + b]; }
  void setDistance(unsigned long a, unsigned long b, float d) { distance(a, b) = distance(b, a) = d; }
  float familyDistance(const KARVO::Matrix<unsigned long>& family, unsigned long rowA, unsigned long sizeA,
                       unsigned long rowB, unsigned long sizeB) const;
  void rescan(unsigned long id);
  void offer(unsigned long id, unsigned long other);

  const KARVO::Matrix<float>& fscore_;
  unsigned long ns_;
  std::vector<float> dist_;          // by cluster id (its smallest member)
  std::vector<Cluster> clusters_;    // by cluster id
  std::vector<unsigned long> idOf_;  // cluster id of each sequence
  // Per family row, for every sequence y: the running single-precision sum
  // over the row's members b, in row order, of fscore[b - 1][y - 1].
  std::vector<std::vector<float>> rowSums_;
  std::vector<Best> best_;  // per cluster id: closest partner with a larger id
};
