// A guide tree drawn as a phylogram, as karvo's SVG draws it: root on the
// left, one line per leaf with its name, a scale bar in the tree's distance
// units. Scrolls vertically when the leaves do not fit; the tree always
// takes the width it is given. Clicking a leaf's line reports the leaf,
// clicking next to an inner node's vertical line reports the node.
#pragma once

#include <QAbstractScrollArea>
#include <functional>
#include <string>
#include <vector>

#include "draw/phylogram.h"
#include "formats/phylo_tree.h"
#include "host/alignment.h"
#include "plugin/zemtra_plugin.h"

namespace karvo_gui {

// The guide tree of a run with, for every run row (a leaf's row), the
// alignment row it came from.
struct RunGuideTree {
  KARVO::PhyloTree tree;
  std::vector<unsigned long> alignmentRows;
};

// The tree of a run that rewrote the alignment, its leaves named by the
// alignment's rows; an empty tree for any other report.
RunGuideTree guideTreeOfRun(const ZemtraRunReport& report, const KARVO::Alignment& alignment);

// tree without the leaves keep() refuses: inner nodes left with one child
// give way to it (the branch lengths add up), nodes left with none go. An
// empty tree when no leaf stays.
KARVO::PhyloTree keepLeaves(const KARVO::PhyloTree& tree, const std::function<bool(const KARVO::PhyloNode&)>& keep);

// The names of the leaves under node, top to bottom.
std::vector<std::string> leafNamesUnder(const KARVO::PhyloTree& tree, int node);

class TreeView : public QAbstractScrollArea {
  Q_OBJECT

 public:
  explicit TreeView(QWidget* parent = nullptr);

  // An empty tree shows a short note instead.
  void setTree(KARVO::PhyloTree tree);
  const KARVO::PhyloTree& tree() const { return tree_; }

  // The highlighted leaf (a node index of the tree), -1 for none.
  void setCurrentLeaf(int node);
  int currentLeaf() const { return currentLeaf_; }

  // In viewport coordinates: the leaf whose line holds point (right of its
  // parent), the inner node whose vertical line lies within a few pixels of
  // it; -1 for none. leafPoint is the middle of a leaf's name.
  int leafAt(const QPoint& point) const;
  // Leaf lines placed from outside, to stand beside other rows: the middle
  // of the first leaf's line at firstLeafY (viewport coordinates), lines
  // lineHeight apart, nothing drawn above clipTop; the tree then scrolls
  // only through this call. A lineHeight of 0 goes back to the tree's own
  // lines and scroll bar.
  void followRows(int firstLeafY, int lineHeight, int clipTop = 0);
  int innerNodeAt(const QPoint& point) const;
  QPoint leafPoint(int node) const;
  // Where node sits: a leaf's branch tip, an inner node's vertical line.
  QPoint nodePoint(int node) const;

 signals:
  void leafClicked(int node);
  void nodeClicked(int node);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  int lineHeight() const;
  int top() const;
  double scale() const;
  double nodeX(int node) const;
  double nodeY(int node) const;  // in viewport coordinates
  void updateScrollBar();

  KARVO::PhyloTree tree_;
  KARVO::PhyloLayout layout_;
  double minX_ = 0.0;
  int namesWidth_ = 0;
  int currentLeaf_ = -1;
  int followTop_ = 0;
  int followHeight_ = 0;  // 0: own lines
  int followClip_ = 0;
};

}  // namespace karvo_gui
