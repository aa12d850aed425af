// What a tree phase did, for callers that draw or export the guide tree.
#pragma once

#include <utility>
#include <vector>

struct JoinHistory {
  // One entry per join, in joining order: the row numbers (sequence number - 1)
  // of the first member of the join's first group and of its second group. A
  // block of k prealigned sequences is listed as (0, 1), (0, 2), ..., (0, k - 1).
  std::vector<std::pair<unsigned long, unsigned long>> joins;
  // One per entry of joins: the average-linkage distance between the two
  // groups at which the join was chosen; NaN for the joins of a prealigned
  // block, which were never compared.
  std::vector<float> distances;
  // The family table rows in use after the tree phase: 1-based sequence
  // numbers; row 0 is the branching order.
  std::vector<std::vector<unsigned long>> families;
};
