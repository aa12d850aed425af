// The guide tree of a run, as a flat node list for hosts that draw or export it.
#pragma once

#include <utility>
#include <vector>

#include "plugin/zemtra_plugin.h"

struct GuideTree {
  std::vector<GuideTreeNode> nodes;
  int root = -1;  // -1 for an empty tree
};

// Builds the tree of a join list (run rows of the first members of the two
// joined groups) and a branching order (1-based sequence numbers) with
// CreateTree2. The tree stays empty when the order does not hold exactly one
// entry per leaf, each from 1 to the number of leaves.
GuideTree buildGuideTree(const std::vector<std::pair<unsigned long, unsigned long>>& joins,
                         const std::vector<unsigned long>& order);
