// A guide tree drawn as a phylogram, as karvo's SVG draws it: root on the
// left, one line per leaf with its name, a scale bar in the tree's distance
// units. Scrolls vertically when the leaves do not fit; the tree always
// takes the width it is given. Clicking a leaf's line reports the leaf,
// clicking next to an inner node's vertical line reports the node.
#pragma once

#include <QAbstractScrollArea>
#include <vector>

#include "host/alignment.h"
#include "host/phylo_tree.h"
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
  int innerNodeAt(const QPoint& point) const;
  QPoint leafPoint(int node) const;

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
};

}  // namespace karvo_gui
