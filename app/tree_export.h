// The guide tree of a run as Newick text and as an SVG drawing.
#pragma once

#include <string>
#include <vector>

#include "plugin/zemtra_plugin.h"

namespace karvo_app {

// A guide tree with a name for every leaf: leafNames[i] names the leaf whose
// index is run row i.
struct NamedTree {
  const std::vector<GuideTreeNode>& nodes;
  int root = -1;
  const std::vector<std::string>& leafNames;
};

// One line ending in ";\n". Branch lengths are the height differences
// between a node and its parent. Throws std::invalid_argument when the node
// list does not form a tree or a leaf has no name.
std::string newickText(const NamedTree& tree);

// A dendrogram with the tree builder's coordinates: x runs horizontally,
// height vertically (leaves at the bottom, labelled with their names).
std::string svgText(const NamedTree& tree);

// A Newick label: quoted when it holds blanks or Newick punctuation.
std::string newickLabel(const std::string& name);

}  // namespace karvo_app
