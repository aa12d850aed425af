// Drawings of a tree: the phylogram layout that every drawing of a tree
// shares (the window's tree view and the SVG file) and the SVG drawing.
#pragma once

#include <string>
#include <vector>

#include "formats/phylo_tree.h"

namespace KARVO {

// A phylogram: x is the distance from the root along the branches (a missing
// length counts 0; in a tree without any lengths every branch counts 1), y
// is the leaf's line, 0 for the top one; an inner node lies midway between
// its first and last child.
struct PhyloLayout {
  std::vector<int> leaves;  // leafOrder(tree)
  std::vector<double> x;    // per node
  std::vector<double> y;    // per node
  double width = 0.0;       // the largest x
};

PhyloLayout layoutTree(const PhyloTree& tree);

// A round length for a scale bar (1, 2 or 5 times a power of ten), the one
// nearest to a fifth of width; 0 when width is not positive.
double scaleBarLength(double width);

// A horizontal phylogram: root on the left, one line per leaf with its name,
// a scale bar in the tree's distance units; at most about 1,000 pixels wide
// unless the names alone need more, 18 pixels per leaf high.
std::string toSvg(const PhyloTree& tree);

}  // namespace KARVO
