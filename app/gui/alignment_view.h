// The alignment as a scrollable grid: sequence names on the left, a column
// ruler on top, residues coloured by class. Only the visible cells are
// painted, from a text copy of the rows, so that a large alignment scrolls
// smoothly and painting never reads the alignment while a plug-in is
// rewriting it.
#pragma once

#include <QAbstractScrollArea>
#include <QPixmap>
#include <array>
#include <string>
#include <vector>

#include "host/alignment.h"

namespace karvo_gui {

class AlignmentView : public QAbstractScrollArea {
  Q_OBJECT

 public:
  explicit AlignmentView(QWidget* parent = nullptr);

  // The alignment shown, not owned; null shows nothing. Takes a fresh copy of
  // its rows, names and selection.
  void setAlignment(KARVO::Alignment* alignment);
  KARVO::Alignment* alignment() const { return alignment_; }
  // Call after the alignment's content or selection changed elsewhere.
  void reloadAlignment();

  // Selects the half-open column range (empty for none) in the view and in
  // the alignment, scrolled into view when it lies outside.
  void setSelection(const KARVO::ColumnRange& range);
  KARVO::ColumnRange selection() const { return selection_; }

  // While not interactive, ruler clicks do not change the selection.
  void setInteractive(bool interactive) { interactive_ = interactive; }

  // The row picked out elsewhere (a leaf of the guide tree): its name is
  // highlighted and scrolled into view; -1 for none.
  void setCurrentRow(long row);
  long currentRow() const { return currentRow_; }

  void scrollToCell(unsigned long row, unsigned long column);
  unsigned long firstVisibleRow() const;
  unsigned long firstVisibleColumn() const;

  // Geometry in viewport coordinates.
  int cellWidth() const { return cellWidth_; }
  int cellHeight() const { return cellHeight_; }
  int namesWidth() const { return namesWidth_; }
  int rulerHeight() const { return rulerHeight_; }
  // The middle of a column on the ruler; meaningful for visible columns.
  QPoint rulerPointOfColumn(unsigned long column) const;

 signals:
  void selectionChanged(KARVO::ColumnRange range);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  unsigned long columnCount() const;
  unsigned long rowCount() const { return static_cast<unsigned long>(rows_.size()); }
  void updateMetrics();
  void updateScrollBars();
  const QPixmap& tile(char code);
  void paintRuler(QPainter& painter, unsigned long firstColumn, unsigned long columns);
  void paintNames(QPainter& painter, unsigned long firstRow, unsigned long rows);
  void paintGrid(QPainter& painter, unsigned long firstRow, unsigned long rows, unsigned long firstColumn,
                 unsigned long columns);
  bool onRuler(const QPoint& point) const;
  unsigned long columnAt(int x) const;
  void dragTo(int x);
  void applySelection(const KARVO::ColumnRange& range);

  KARVO::Alignment* alignment_ = nullptr;
  std::vector<std::string> rows_;
  std::vector<QString> names_;
  KARVO::ColumnRange selection_{0, 0};
  unsigned long anchor_ = 0;
  bool hasAnchor_ = false;
  bool dragging_ = false;
  bool interactive_ = true;
  long currentRow_ = -1;

  int cellWidth_ = 1;
  int cellHeight_ = 1;
  int namesWidth_ = 0;
  int rulerHeight_ = 0;
  qreal tileRatio_ = 0;
  std::array<QPixmap, 256> tiles_;
};

}  // namespace karvo_gui
