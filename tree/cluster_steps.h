// The two clustering steps that tree_kv repeats before every join, kept apart
// so that the distance bookkeeping can be checked without aligning anything.
#pragma once

#include "core/matrix.h"

// Cluster distance above which two sequences count as one family.
constexpr float kJoinedThreshold = 999.0f;
// The mark given to every pair of sequences of one family.
constexpr float kJoinedMark = 1000.0f;

// Gives every pair of sequences 1..ns that is not joined the unweighted mean
// of the input distances between their two clusters (a single sequence being
// a cluster of its own). Pairs of two single sequences keep their value.
void refreshClusterDistances(unsigned long ns, const KARVO::Matrix<float>& fscore,
                             const KARVO::Matrix<unsigned long>& family, KARVO::Matrix<float>& pro);

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
unsigned long familySize(const KARVO::Matrix<unsigned long>& family, unsigned long row, unsigned long limit);

// The live family of a sequence: the lowest row that holds it, or kNoFamily.
unsigned long liveFamily(const KARVO::Matrix<unsigned long>& family, unsigned long sequence);
