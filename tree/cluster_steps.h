// The two clustering steps that tree_kv repeats before every join, kept apart
// so that the distance bookkeeping can be checked without aligning anything.
#pragma once

#include <cstdint>

#include "core/matrix.h"

// The family table of the tree phase: row 0 the branching order, then one
// row per family, each a list of 1-based sequence numbers ended by 0. It is
// (ns + 1) x (ns + 1), so its cells are 32 bits wide: sequence numbers of
// any run whose tables fit in memory.
using FamilyTable = KARVO::Matrix<std::uint32_t>;

// Cluster distance above which two sequences count as one family.
constexpr float kJoinedThreshold = 999.0f;
// The mark given to every pair of sequences of one family.
constexpr float kJoinedMark = 1000.0f;

// Gives every pair of sequences 1..ns that is not joined the unweighted mean
// of the input distances between their two clusters (a single sequence being
// a cluster of its own). Pairs of two single sequences keep their value.
void refreshClusterDistances(unsigned long ns, const KARVO::Matrix<float>& fscore, const FamilyTable& family,
                             KARVO::Matrix<float>& pro);

struct ClosestPair {
  unsigned long first;  // sequence number, always below other
  unsigned long other;
  float distance;  // their cluster distance
};

// The pair with the smallest cluster distance; ties go to the earliest pair in
// row-major order, and (1, 2) wins when nothing is strictly below it.
ClosestPair findClosestPair(unsigned long ns, const KARVO::Matrix<float>& pro);

// No family row holds the sequence.
constexpr unsigned long kNoFamily = ~0UL;

// Number of members of a family row: the cells before its terminating 0, at
// most limit.
unsigned long familySize(const FamilyTable& family, unsigned long row, unsigned long limit);

// The live family of a sequence: the lowest row that holds it, or kNoFamily.
unsigned long liveFamily(const FamilyTable& family, unsigned long sequence);
