// The alignment as a scrollable grid: sequence names on the left, a column
// ruler on top, annotation rows (consensus, conservation, gaps, and the last
// consistency run's confidence) at the bottom, residues coloured by a chosen scheme. Only the visible cells are
// painted, composed from pre-drawn cells into one image, from a text copy of
// the rows, so that a large alignment scrolls smoothly and painting never
// reads the alignment while a plug-in is rewriting it. The selection is a
// block of rows x columns; the ruler selects whole columns, the names whole
// rows.
#pragma once

#include <QAbstractScrollArea>
#include <QFont>
#include <QImage>
#include <string>
#include <vector>

#include "app/gui/alignment_edit.h"
#include "app/gui/residue_colors.h"
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
  // Call after the alignment's content or selection changed elsewhere: the
  // column statistics, colours and find matches are computed again.
  void reloadAlignment();

  // Selects the half-open column range (empty for none) in all rows, in the
  // view and in the alignment, scrolled into view when it lies outside.
  void setSelection(const KARVO::ColumnRange& range);
  KARVO::ColumnRange selection() const { return selection_; }
  // Selects a block; empty rows mean all rows.
  void setBlock(const RowRange& rows, const KARVO::ColumnRange& columns);
  // The rows of the selected block (all rows when whole columns are
  // selected); empty when nothing is selected.
  RowRange selectedRows() const;

  // While not interactive, clicks and drags do not change the selection.
  void setInteractive(bool interactive) { interactive_ = interactive; }

  // The row picked out elsewhere (a leaf of the guide tree): its name is
  // highlighted and scrolled into view; -1 for none.
  void setCurrentRow(long row);
  long currentRow() const { return currentRow_; }

  void setColourScheme(ColourScheme scheme);
  ColourScheme colourScheme() const { return scheme_; }
  // Per column, the confidence of the last consistency run (below 0: none);
  // shown by the Confidence colours and an annotation row of its own.
  void setColumnConfidence(std::vector<float> confidence);
  bool hasConfidence() const;
  void setAnnotationsShown(bool shown);
  bool annotationsShown() const { return annotationsShown_; }

  // Zoom levels from one pixel per residue up to large letters.
  static int zoomLevels();
  static int defaultZoom();
  void setZoom(int level);
  int zoom() const { return zoom_; }

  // Find: matches of motif in the ungapped rows are highlighted; returns their
  // number (an empty motif clears). The current match is scrolled into view.
  int setFindMotif(const std::string& motif);
  const std::vector<MotifMatch>& matches() const { return matches_; }
  int currentMatch() const { return currentMatch_; }
  // Steps to the next (or previous) match, wrapping; -1 without matches.
  int findNext(bool backwards = false);

  void scrollToCell(unsigned long row, unsigned long column);
  unsigned long firstVisibleRow() const;
  unsigned long firstVisibleColumn() const;

  // Geometry in viewport coordinates.
  int cellWidth() const { return cellWidth_; }
  int cellHeight() const { return cellHeight_; }
  int namesWidth() const { return namesWidth_; }
  int rulerHeight() const { return rulerHeight_; }
  int annotationHeight() const;
  // The middle of a column on the ruler; meaningful for visible columns.
  QPoint rulerPointOfColumn(unsigned long column) const;
  // The middle of a visible cell, and of a visible row's name.
  QPoint pointOfCell(unsigned long row, unsigned long column) const;
  QPoint pointOfName(unsigned long row) const;

  // A figure of the rows and columns given (names, ruler, cells and
  // annotation rows at the current zoom and colours): as an image, and as
  // SVG text. Empty ranges mean all.
  QSize figureSize(const RowRange& rows, const KARVO::ColumnRange& columns) const;
  QImage figureImage(const RowRange& rows, const KARVO::ColumnRange& columns);
  std::string figureSvg(const RowRange& rows, const KARVO::ColumnRange& columns) const;

 signals:
  void selectionChanged(KARVO::ColumnRange range);
  // A drag inside the selected block asks to move it by offset columns; the
  // requests of one drag share its number.
  void slideRequested(long offset, int drag);
  // A double click on a name.
  void renameRequested(unsigned long row);
  // The rows moved on the screen (scrolled, zoomed, reloaded): a panel
  // beside the names (a guide tree) follows them with firstVisibleRow(),
  // rulerHeight() and cellHeight().
  void rowsMoved();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  // Which part of the alignment is drawn where: the viewport, or a figure.
  struct Frame {
    QSize size;
    unsigned long firstRow = 0;
    unsigned long rows = 0;
    unsigned long firstColumn = 0;
    unsigned long columns = 0;
    bool overlays = true;  // selection and find highlights
  };
  enum class Drag { None, Ruler, Names, Cells, Slide };
  static constexpr int kNamePadding = 6;

  unsigned long columnCount() const;
  unsigned long rowCount() const { return static_cast<unsigned long>(rows_.size()); }
  bool lettersShown() const { return cellWidth_ >= 5; }
  void updateMetrics();
  void updateScrollBars();
  void recomputeColours();
  void applyConfidence();
  const QImage& tile(unsigned char colour, char code);
  Frame viewportFrame() const;
  void paintFrame(QPainter& painter, const Frame& frame);
  void paintGrid(QPainter& painter, const Frame& frame);
  void paintOverlays(QPainter& painter, const Frame& frame);
  void paintRuler(QPainter& painter, const Frame& frame);
  void paintNames(QPainter& painter, const Frame& frame);
  void paintAnnotations(QPainter& painter, const Frame& frame);
  unsigned long rulerStep() const;
  unsigned long columnAt(int x) const;
  unsigned long rowAt(int y) const;
  void dragTo(const QPoint& point);
  void applyBlock(const RowRange& rows, const KARVO::ColumnRange& columns);
  void scrollToMatch();

  KARVO::Alignment* alignment_ = nullptr;
  std::vector<std::string> rows_;
  std::vector<QString> names_;
  std::vector<ColumnStats> stats_;
  std::vector<float> confidence_;
  std::vector<std::vector<unsigned char>> colours_;  // palette index per cell
  ColourScheme scheme_ = ColourScheme::ResidueClass;
  bool annotationsShown_ = true;

  KARVO::ColumnRange selection_{0, 0};
  RowRange blockRows_{0, 0};  // empty: all rows
  unsigned long anchorRow_ = 0;
  unsigned long anchorColumn_ = 0;
  bool hasAnchor_ = false;
  Drag drag_ = Drag::None;
  unsigned long slideFrom_ = 0;
  int slideDrags_ = 0;
  bool slid_ = false;  // column under the pointer when the block last moved
  bool interactive_ = true;
  long currentRow_ = -1;

  std::string motif_;
  std::vector<MotifMatch> matches_;
  int currentMatch_ = -1;

  int zoom_ = 0;
  QFont cellFont_;
  QFont namesFont_;
  bool namesShown_ = true;
  int cellWidth_ = 1;
  int cellHeight_ = 1;
  int namesWidth_ = 0;
  int rulerHeight_ = 0;
  int annotationRow_ = 0;
  QImage gridBuffer_;
  std::vector<QImage> tiles_;
  QFont tileFont_;
  QSize tileSize_;
};

}  // namespace karvo_gui
