#include "app/gui/alignment_view.h"

#include <QEvent>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>
#include <array>

#include "app/gui/view_geometry.h"
#include "draw/figure.h"

namespace karvo_gui {

namespace figure = KARVO::figure;

namespace {

// Names longer than this are elided; shorter ones still get room for this many.
constexpr int kLongestNameShown = 24;
constexpr int kShortestNameRoom = 6;
// Zoom levels: blocks of so many pixels without letters, then letters at a
// scale of the view's font.
struct ZoomLevel {
  int pixels;
  double scale;
};
constexpr std::array<ZoomLevel, 13> kZoomLevels{{{1, 0},
                                                 {2, 0},
                                                 {3, 0},
                                                 {4, 0},
                                                 {0, 0.6},
                                                 {0, 0.75},
                                                 {0, 0.9},
                                                 {0, 1.0},
                                                 {0, 1.25},
                                                 {0, 1.5},
                                                 {0, 2.0},
                                                 {0, 2.5},
                                                 {0, 3.0}}};
constexpr int kDefaultZoom = 7;

}  // namespace

AlignmentView::AlignmentView(QWidget* parent) : QAbstractScrollArea(parent), zoom_(kDefaultZoom) {
  setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  setFocusPolicy(Qt::StrongFocus);
  viewport()->setBackgroundRole(QPalette::Base);
  viewport()->setAutoFillBackground(false);
  horizontalScrollBar()->setSingleStep(1);
  verticalScrollBar()->setSingleStep(1);
  updateMetrics();
}

int AlignmentView::zoomLevels() { return static_cast<int>(kZoomLevels.size()); }
int AlignmentView::defaultZoom() { return kDefaultZoom; }

void AlignmentView::setAlignment(KARVO::Alignment* alignment) {
  alignment_ = alignment;
  currentRow_ = -1;
  drag_ = Drag::None;
  hasAnchor_ = false;
  blockRows_ = {0, 0};
  horizontalScrollBar()->setValue(0);
  verticalScrollBar()->setValue(0);
  reloadAlignment();
}

void AlignmentView::reloadAlignment() {
  rows_.clear();
  names_.clear();
  selection_ = {0, 0};
  if (alignment_ != nullptr) {
    const unsigned long count = alignment_->sequenceCount();
    const unsigned long width = alignment_->columnCount();
    rows_.assign(count, std::string(width, '-'));
    names_.reserve(count);
    for (unsigned long row = 0; row < count; ++row)
      names_.push_back(QString::fromStdString(alignment_->GetSeqName(row)));
    // The cells are stored by column; they are read in strips of columns so
    // that both the columns read and the rows written stay in the cache.
    constexpr unsigned long kStrip = 64;
    for (unsigned long first = 0; first < width; first += kStrip) {
      const unsigned long last = std::min(width, first + kStrip);
      for (unsigned long row = 0; row < count; ++row) {
        char* text = rows_[row].data();
        for (unsigned long column = first; column < last; ++column) {
          const KARVO::Residue* residue = alignment_->columns[column][row];
          if (residue != nullptr) text[column] = residue->code();
        }
      }
    }
    const KARVO::ColumnRange range = alignment_->selection;
    if (range.first < range.second && range.second <= columnCount()) selection_ = range;
  }
  blockRows_ = {std::min(blockRows_.first, rowCount()), std::min(blockRows_.second, rowCount())};
  if (blockRows_.first >= blockRows_.second || selection_.first >= selection_.second) blockRows_ = {0, 0};
  if (hasAnchor_ && (anchorColumn_ >= columnCount() || anchorRow_ >= rowCount())) hasAnchor_ = false;
  stats_ = columnStats(rows_);
  applyConfidence();
  recomputeColours();
  if (!motif_.empty()) {
    matches_ = findMotif(rows_, motif_);
    if (currentMatch_ >= static_cast<int>(matches_.size())) currentMatch_ = matches_.empty() ? -1 : 0;
  }
  updateMetrics();
  updateScrollBars();
  viewport()->update();
  emit rowsMoved();
}

void AlignmentView::recomputeColours() {
  colours_.resize(rows_.size());
  const unsigned long sequences = rowCount();
  const unsigned long width = columnCount();
  // Colours by letter, for every column (schemes that look at the column
  // keep one table per column).
  const bool byColumn =
      scheme_ == ColourScheme::Conservation || scheme_ == ColourScheme::Identity || scheme_ == ColourScheme::Confidence;
  std::vector<std::array<unsigned char, 256>> tables(byColumn ? width : 1);
  for (std::size_t t = 0; t < tables.size(); ++t) {
    const ColumnStats column = byColumn ? stats_[t] : ColumnStats{};
    for (int code = 0; code < 256; ++code) {
      tables[t][static_cast<std::size_t>(code)] = cellColourIndex(scheme_, static_cast<char>(code), column, sequences);
    }
  }
  for (std::size_t r = 0; r < rows_.size(); ++r) {
    const std::string& text = rows_[r];
    std::vector<unsigned char>& colours = colours_[r];
    colours.resize(text.size());
    for (std::size_t c = 0; c < text.size(); ++c) {
      colours[c] = tables[byColumn ? c : 0][static_cast<unsigned char>(text[c])];
    }
  }
}

void AlignmentView::setColourScheme(ColourScheme scheme) {
  if (scheme == scheme_) return;
  scheme_ = scheme;
  recomputeColours();
  viewport()->update();
}

void AlignmentView::setAnnotationsShown(bool shown) {
  annotationsShown_ = shown;
  updateMetrics();
  updateScrollBars();
  viewport()->update();
}

int AlignmentView::annotationHeight() const {
  return annotationsShown_ && !rows_.empty() ? figure::annotationBandHeight(annotationRow_, hasConfidence()) : 0;
}

bool AlignmentView::hasConfidence() const {
  return std::any_of(confidence_.begin(), confidence_.end(), [](float value) { return value >= 0; });
}

void AlignmentView::setColumnConfidence(std::vector<float> confidence) {
  confidence_ = std::move(confidence);
  applyConfidence();
  recomputeColours();
  updateScrollBars();
  viewport()->update();
  emit rowsMoved();
}

void AlignmentView::applyConfidence() {
  for (std::size_t c = 0; c < stats_.size(); ++c) stats_[c].confidence = c < confidence_.size() ? confidence_[c] : -1;
}

void AlignmentView::setZoom(int level) {
  level = std::clamp(level, 0, zoomLevels() - 1);
  if (level == zoom_) return;
  // The cell in the top-left corner stays there.
  const unsigned long row = firstVisibleRow();
  const unsigned long column = firstVisibleColumn();
  zoom_ = level;
  updateMetrics();
  updateScrollBars();
  scrollToCell(row, column);
  viewport()->update();
  emit rowsMoved();
}

void AlignmentView::setSelection(const KARVO::ColumnRange& range) {
  KARVO::ColumnRange clamped{std::min(range.first, columnCount()), std::min(range.second, columnCount())};
  if (clamped.first >= clamped.second) clamped = {0, 0};
  hasAnchor_ = clamped.first < clamped.second;
  anchorColumn_ = clamped.first;
  anchorRow_ = 0;
  applyBlock({0, 0}, clamped);
  if (hasAnchor_) {
    const unsigned long first = firstVisibleColumn();
    const unsigned long shown = wholeCells(viewport()->width() - namesWidth_, cellWidth_);
    if (clamped.first < first || clamped.first >= first + shown) scrollToCell(firstVisibleRow(), clamped.first);
  }
}

void AlignmentView::setCurrentRow(long row) {
  currentRow_ = row >= 0 && static_cast<unsigned long>(row) < rowCount() ? row : -1;
  if (currentRow_ >= 0) {
    const unsigned long first = firstVisibleRow();
    const unsigned long shown = wholeCells(viewport()->height() - rulerHeight_, cellHeight_);
    const auto wanted = static_cast<unsigned long>(currentRow_);
    if (wanted < first || wanted >= first + shown) verticalScrollBar()->setValue(static_cast<int>(wanted));
  }
  viewport()->update();
}

void AlignmentView::setBlock(const RowRange& rows, const KARVO::ColumnRange& columns) {
  KARVO::ColumnRange clampedColumns{std::min(columns.first, columnCount()), std::min(columns.second, columnCount())};
  RowRange clampedRows{std::min(rows.first, rowCount()), std::min(rows.second, rowCount())};
  if (clampedColumns.first >= clampedColumns.second) clampedColumns = {0, 0};
  if (clampedRows.first >= clampedRows.second || clampedColumns.second == 0) clampedRows = {0, 0};
  applyBlock(clampedRows, clampedColumns);
}

RowRange AlignmentView::selectedRows() const {
  if (selection_.first >= selection_.second) return {0, 0};
  return blockRows_.first < blockRows_.second ? blockRows_ : RowRange{0, rowCount()};
}

void AlignmentView::scrollToCell(unsigned long row, unsigned long column) {
  verticalScrollBar()->setValue(
      static_cast<int>(std::min<unsigned long>(row, static_cast<unsigned long>(verticalScrollBar()->maximum()))));
  horizontalScrollBar()->setValue(
      static_cast<int>(std::min<unsigned long>(column, static_cast<unsigned long>(horizontalScrollBar()->maximum()))));
}

unsigned long AlignmentView::firstVisibleRow() const {
  return static_cast<unsigned long>(verticalScrollBar()->value());
}

unsigned long AlignmentView::firstVisibleColumn() const {
  return static_cast<unsigned long>(horizontalScrollBar()->value());
}

QPoint AlignmentView::rulerPointOfColumn(unsigned long column) const {
  const long offset = static_cast<long>(column) - static_cast<long>(firstVisibleColumn());
  return QPoint(namesWidth_ + static_cast<int>(offset) * cellWidth_ + cellWidth_ / 2, rulerHeight_ / 2);
}

QPoint AlignmentView::pointOfCell(unsigned long row, unsigned long column) const {
  const long down = static_cast<long>(row) - static_cast<long>(firstVisibleRow());
  return QPoint(rulerPointOfColumn(column).x(), rulerHeight_ + static_cast<int>(down) * cellHeight_ + cellHeight_ / 2);
}

QPoint AlignmentView::pointOfName(unsigned long row) const { return QPoint(namesWidth_ / 2, pointOfCell(row, 0).y()); }

unsigned long AlignmentView::columnCount() const {
  return rows_.empty() ? 0 : static_cast<unsigned long>(rows_.front().size());
}

void AlignmentView::updateMetrics() {
  const QFont base = font();
  const QFontMetrics baseMetrics(base);
  rulerHeight_ = baseMetrics.height() + 9;
  annotationRow_ = baseMetrics.height() + 3;
  const ZoomLevel level = kZoomLevels[static_cast<std::size_t>(zoom_)];
  cellFont_ = base;
  if (level.pixels > 0) {
    cellWidth_ = cellHeight_ = level.pixels;
  } else {
    if (base.pointSizeF() > 0) {
      cellFont_.setPointSizeF(base.pointSizeF() * level.scale);
    } else {
      cellFont_.setPixelSize(std::max(4, static_cast<int>(base.pixelSize() * level.scale)));
    }
    const QFontMetrics metrics(cellFont_);
    cellWidth_ = metrics.horizontalAdvance(QLatin1Char('W')) + 3;
    cellHeight_ = metrics.height() + 3;
  }
  // The names follow the rows: the cells' font while letters are shown,
  // smaller with the rows below that, and none when rows are too low to read.
  namesFont_ = cellFont_;
  if (level.pixels > 0) namesFont_.setPixelSize(std::max(1, cellHeight_ - 1));
  namesShown_ = cellHeight_ >= 6;
  if (namesShown_) {
    const QFontMetrics metrics(namesFont_);
    int widest = metrics.horizontalAdvance(QString(kShortestNameRoom, QLatin1Char('M')));
    // The font is of fixed width: the longest names are the widest.
    qsizetype longest = 0;
    for (const QString& name : names_) longest = std::max(longest, name.size());
    for (const QString& name : names_) {
      if (name.size() == longest) widest = std::max(widest, metrics.horizontalAdvance(name));
    }
    widest = std::min(widest, metrics.horizontalAdvance(QString(kLongestNameShown, QLatin1Char('M'))));
    // Two pixels more than measured: eliding measures with fractional advances.
    namesWidth_ = widest + 2 * kNamePadding + 2;
  } else {
    namesWidth_ = 2 * kNamePadding;
  }
  // Room for the annotation rows' labels.
  if (annotationsShown_) {
    namesWidth_ = std::max(namesWidth_, baseMetrics.horizontalAdvance(tr("Conservation")) + 2 * kNamePadding + 2);
  }
  // The pre-drawn cells stay while their size and font do.
  if (tiles_.empty() || tileSize_ != QSize(cellWidth_, cellHeight_) || tileFont_ != cellFont_) {
    tiles_.assign(static_cast<std::size_t>(kPaletteSize) * 128, QImage());
    tileSize_ = QSize(cellWidth_, cellHeight_);
    tileFont_ = cellFont_;
  }
}

void AlignmentView::updateScrollBars() {
  const unsigned long columnsShown = wholeCells(viewport()->width() - namesWidth_, cellWidth_);
  const unsigned long rowsShown = wholeCells(viewport()->height() - rulerHeight_ - annotationHeight(), cellHeight_);
  horizontalScrollBar()->setRange(0, static_cast<int>(maximumOffset(columnCount(), columnsShown)));
  horizontalScrollBar()->setPageStep(static_cast<int>(columnsShown));
  verticalScrollBar()->setRange(0, static_cast<int>(maximumOffset(rowCount(), rowsShown)));
  verticalScrollBar()->setPageStep(static_cast<int>(rowsShown));
}

const QImage& AlignmentView::tile(unsigned char colour, char code) {
  // One pre-drawn cell per colour and letter: copying its pixels is much
  // cheaper than laying out a glyph for every cell of every frame.
  QImage& cached = tiles_[static_cast<std::size_t>(colour) * 128 + (static_cast<unsigned char>(code) & 0x7f)];
  if (cached.isNull()) {
    cached = QImage(cellWidth_, cellHeight_, QImage::Format_RGB32);
    const QColor fill = paletteColour(colour);
    cached.fill(fill.isValid() ? fill : palette().color(QPalette::Base));
    QPainter painter(&cached);
    painter.setFont(cellFont_);
    painter.setPen(Qt::black);
    painter.drawText(QRect(0, 0, cellWidth_, cellHeight_), Qt::AlignCenter, QString(QLatin1Char(code)));
  }
  return cached;
}

void AlignmentView::resizeEvent(QResizeEvent* event) {
  QAbstractScrollArea::resizeEvent(event);
  updateScrollBars();
}

void AlignmentView::scrollContentsBy(int, int dy) {
  // The ruler and the names scroll along one axis only, so the whole
  // viewport is drawn again rather than shifted.
  viewport()->update();
  if (dy != 0) emit rowsMoved();
}

unsigned long AlignmentView::columnAt(int x) const {
  return columnAtPixel(x - namesWidth_, firstVisibleColumn(), cellWidth_, columnCount());
}

unsigned long AlignmentView::rowAt(int y) const {
  return columnAtPixel(y - rulerHeight_, firstVisibleRow(), cellHeight_, rowCount());
}

void AlignmentView::mousePressEvent(QMouseEvent* event) {
  const QPoint point = event->position().toPoint();
  const int gridBottom = viewport()->height() - annotationHeight();
  if (!interactive_ || columnCount() == 0 || event->button() != Qt::LeftButton || point.y() >= gridBottom ||
      (point.y() < rulerHeight_ && point.x() < namesWidth_)) {
    QAbstractScrollArea::mousePressEvent(event);
    return;
  }
  const bool extend = (event->modifiers() & Qt::ShiftModifier) && hasAnchor_;
  if (point.y() < rulerHeight_) {
    drag_ = Drag::Ruler;
    if (!extend) anchorColumn_ = columnAt(point.x());
  } else if (point.x() < namesWidth_) {
    drag_ = Drag::Names;
    if (!extend) anchorRow_ = rowAt(point.y());
  } else {
    const unsigned long row = rowAt(point.y());
    const unsigned long column = columnAt(point.x());
    const RowRange rows = selectedRows();
    const bool inBlock =
        row >= rows.first && row < rows.second && column >= selection_.first && column < selection_.second;
    if (inBlock && !extend) {
      drag_ = Drag::Slide;
      slideFrom_ = column;
      slid_ = false;
      ++slideDrags_;
      event->accept();
      return;
    }
    drag_ = Drag::Cells;
    if (!extend) {
      anchorRow_ = row;
      anchorColumn_ = column;
    }
  }
  hasAnchor_ = true;
  dragTo(point);
  event->accept();
}

void AlignmentView::mouseMoveEvent(QMouseEvent* event) {
  if (drag_ == Drag::None) {
    QAbstractScrollArea::mouseMoveEvent(event);
    return;
  }
  dragTo(event->position().toPoint());
  event->accept();
}

void AlignmentView::mouseReleaseEvent(QMouseEvent* event) {
  if (drag_ == Drag::None || event->button() != Qt::LeftButton) {
    QAbstractScrollArea::mouseReleaseEvent(event);
    return;
  }
  const QPoint point = event->position().toPoint();
  dragTo(point);
  // A click inside the block that moved nothing selects the cell under it.
  if (drag_ == Drag::Slide && !slid_) {
    anchorRow_ = rowAt(point.y());
    anchorColumn_ = columnAt(point.x());
    applyBlock({anchorRow_, anchorRow_ + 1}, {anchorColumn_, anchorColumn_ + 1});
  }
  drag_ = Drag::None;
  event->accept();
}

void AlignmentView::mouseDoubleClickEvent(QMouseEvent* event) {
  const QPoint point = event->position().toPoint();
  if (interactive_ && !rows_.empty() && point.x() < namesWidth_ && point.y() >= rulerHeight_ &&
      point.y() < viewport()->height() - annotationHeight()) {
    emit renameRequested(rowAt(point.y()));
    event->accept();
    return;
  }
  QAbstractScrollArea::mouseDoubleClickEvent(event);
}

void AlignmentView::dragTo(const QPoint& point) {
  if (!interactive_ || columnCount() == 0) return;
  if (drag_ == Drag::Slide) {
    const unsigned long column = columnAt(point.x());
    if (column == slideFrom_) return;
    const unsigned long before = selection_.first;
    emit slideRequested(static_cast<long>(column) - static_cast<long>(slideFrom_), slideDrags_);
    // Whatever part of the move was possible.
    slideFrom_ = slideFrom_ + selection_.first - before;
    slid_ = slid_ || selection_.first != before;
    return;
  }
  // Dragging past an edge of the grid scrolls one cell per move.
  if (drag_ != Drag::Names) {
    QScrollBar* bar = horizontalScrollBar();
    if (point.x() >= viewport()->width() && bar->value() < bar->maximum()) bar->setValue(bar->value() + 1);
    if (point.x() < namesWidth_ && bar->value() > 0) bar->setValue(bar->value() - 1);
  }
  if (drag_ != Drag::Ruler) {
    QScrollBar* bar = verticalScrollBar();
    if (point.y() >= viewport()->height() - annotationHeight() && bar->value() < bar->maximum()) {
      bar->setValue(bar->value() + 1);
    }
    if (point.y() < rulerHeight_ && bar->value() > 0) bar->setValue(bar->value() - 1);
  }
  switch (drag_) {
    case Drag::Ruler:
      applyBlock({0, 0}, rangeBetween(anchorColumn_, columnAt(point.x())));
      break;
    case Drag::Names:
      applyBlock(rangeBetween(anchorRow_, rowAt(point.y())), {0, columnCount()});
      break;
    case Drag::Cells:
      applyBlock(rangeBetween(anchorRow_, rowAt(point.y())), rangeBetween(anchorColumn_, columnAt(point.x())));
      break;
    default:
      break;
  }
}

void AlignmentView::applyBlock(const RowRange& rows, const KARVO::ColumnRange& columns) {
  const RowRange normalRows = rows.first == 0 && rows.second >= rowCount() ? RowRange{0, 0} : rows;
  if (columns == selection_ && normalRows == blockRows_) return;
  selection_ = columns;
  blockRows_ = columns.first < columns.second ? normalRows : RowRange{0, 0};
  if (alignment_ != nullptr) alignment_->selection = columns;
  viewport()->update();
  emit selectionChanged(columns);
}

int AlignmentView::setFindMotif(const std::string& motif) {
  motif_ = motifProblem(motif).empty() ? motif : std::string();
  matches_ = findMotif(rows_, motif_);
  currentMatch_ = matches_.empty() ? -1 : 0;
  scrollToMatch();
  viewport()->update();
  return static_cast<int>(matches_.size());
}

int AlignmentView::findNext(bool backwards) {
  if (matches_.empty()) return -1;
  const int count = static_cast<int>(matches_.size());
  currentMatch_ = ((currentMatch_ < 0 ? 0 : currentMatch_) + (backwards ? count - 1 : 1)) % count;
  scrollToMatch();
  viewport()->update();
  return currentMatch_;
}

void AlignmentView::scrollToMatch() {
  if (currentMatch_ < 0) return;
  const MotifMatch& match = matches_[static_cast<std::size_t>(currentMatch_)];
  const Frame frame = viewportFrame();
  const bool rowShown = match.row >= frame.firstRow && match.row + 1 < frame.firstRow + frame.rows;
  const bool columnsShown =
      match.firstColumn >= frame.firstColumn && match.lastColumn + 1 < frame.firstColumn + frame.columns;
  if (rowShown && columnsShown) return;
  const unsigned long row = rowShown ? firstVisibleRow() : match.row - std::min(match.row, frame.rows / 2);
  const unsigned long column =
      columnsShown ? firstVisibleColumn() : match.firstColumn - std::min(match.firstColumn, frame.columns / 3);
  scrollToCell(row, column);
}

void AlignmentView::keyPressEvent(QKeyEvent* event) {
  const bool control = event->modifiers() & Qt::ControlModifier;
  switch (event->key()) {
    case Qt::Key_Home:
      horizontalScrollBar()->setValue(0);
      if (control) verticalScrollBar()->setValue(0);
      break;
    case Qt::Key_End:
      horizontalScrollBar()->setValue(horizontalScrollBar()->maximum());
      if (control) verticalScrollBar()->setValue(verticalScrollBar()->maximum());
      break;
    case Qt::Key_Escape:
      if (!interactive_) return QAbstractScrollArea::keyPressEvent(event);
      setSelection({0, 0});
      break;
    default:
      // Arrows and the page keys scroll through the scroll bars.
      QAbstractScrollArea::keyPressEvent(event);
      return;
  }
  event->accept();
}

void AlignmentView::changeEvent(QEvent* event) {
  QAbstractScrollArea::changeEvent(event);
  if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
    updateMetrics();
    updateScrollBars();
    viewport()->update();
  }
}

}  // namespace karvo_gui
