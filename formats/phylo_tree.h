// Guide trees for people and tree programs: the tree of a run's joins with
// real branch lengths, Newick text both ways, and the run's pairwise tables
// as data files. Drawings of a tree are made in draw/.
#pragma once

#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct ZemtraRunReport;  // plugin/zemtra_plugin.h

namespace KARVO {

class Alignment;

struct PhyloNode {
  int parent = -1;                                           // -1 for the root
  std::vector<int> children;                                 // in drawing order, top to bottom; empty for a leaf
  double length = std::numeric_limits<double>::quiet_NaN();  // branch length to the parent; NaN: none
  std::string name;                                          // leaf name; an inner node's label from Newick, else empty
  long row = -1;                                             // a run tree's leaf: its run row; otherwise -1
};

struct PhyloTree {
  std::vector<PhyloNode> nodes;
  int root = -1;  // -1: no tree

  bool empty() const { return root < 0; }
  bool hasLengths() const;  // at least one branch has a length
};

// The average-linkage tree of a run. joins and joinDistances as the join
// history lists them (run rows of the groups' first members; the distance of
// each join, NaN for a prealigned block); names, one per run row. A node lies
// at half its join distance above the leaves, and a branch is as long as its
// parent's height minus its own, so the tree is ultrametric: the path
// between two leaves is as long as the distance of the join that united
// them. Heights are kept to 1e-6. The joins of a prealigned block form one
// clade at height 0. A run of two sequences has no joins; give distance,
// the run's ns x ns distance table, and they become one join at their
// distance. Throws std::invalid_argument when the joins do not form one tree
// over the names.
PhyloTree runTree(const std::vector<std::pair<unsigned long, unsigned long>>& joins,
                  const std::vector<float>& joinDistances, const std::vector<float>& distance,
                  const std::vector<std::string>& names);

// The same tree from a plug-in's report of a completed run: its join
// history and distances, each leaf named after its host row in alignment
// (report.sentRows). Every host builds the run's tree with this. Throws
// std::invalid_argument when the report holds no completed run or names
// rows the alignment does not have.
PhyloTree runTree(const ZemtraRunReport& report, const Alignment& alignment);

// The leaves from top to bottom (node indexes).
std::vector<int> leafOrder(const PhyloTree& tree);

// Every node in depth-first order, parents before children, children in
// their drawing order (node indexes); empty for no tree.
std::vector<int> preorder(const PhyloTree& tree);

// The shortest text that reads back as the same value, without an exponent
// and whatever the locale; "nan", "inf", "-inf" for those values. Branch
// lengths and the tables are written this way.
std::string decimalText(double value);

// A name as a Newick label: unchanged when it needs no quotes, else in single
// quotes with inner quotes doubled.
std::string newickLabel(std::string_view name);

// One line ending in ";\n".
std::string toNewick(const PhyloTree& tree);

class NewickError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The trees of a Newick file: the first, and how many more the file holds
// (files of bootstrap or posterior trees hold one per line). A window shows
// otherTreesNote(otherTrees) beside the first tree.
struct NewickTrees {
  PhyloTree tree;
  std::size_t otherTrees = 0;
};

// Reads Newick text: quoted and unquoted labels (underscores stay as they
// are), branch lengths, [comments], a UTF-8 byte-order mark at the start;
// every tree is checked. Throws NewickError naming the line and column of
// the problem, and what the text looks like instead when it is a NEXUS or
// an alignment file.
NewickTrees readNewickTrees(std::string_view text);

// The first tree of readNewickTrees.
PhyloTree parseNewick(std::string_view text);

// "the file holds 2 more trees after the first; only the first is used";
// empty for 0.
std::string otherTreesNote(std::size_t otherTrees);

// The pairwise tables of a run (ns x ns, row-major, run rows) with one name
// per run row, written with the rows in `order` (run rows; empty: 0..ns-1).
struct PairwiseTables {
  const std::vector<std::string>& names;
  const std::vector<float>& identity;
  const std::vector<float>& distance;
  std::vector<std::size_t> order;
};

// Tab-separated: the percent identity matrix, an empty line, the distance
// matrix; each with a header row of the names.
std::string distanceTsv(const PairwiseTables& tables);

// PHYLIP square distance matrix: the count, then one line per sequence, its
// name padded to 10 characters (blanks in a name become underscores) and
// its distances.
std::string distancePhylip(const PairwiseTables& tables);

// PHYLIP for names ending in .phy or .dist, TSV otherwise.
bool wantsPhylip(std::string_view path);

}  // namespace KARVO
