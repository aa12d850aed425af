#include "app/gui/alignment_view.h"

#include <QEvent>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>

#include "app/gui/residue_colors.h"
#include "app/gui/view_geometry.h"

namespace karvo_gui {

namespace {

// Names longer than this are elided; shorter ones still get room for this many.
constexpr int kLongestNameShown = 24;
constexpr int kShortestNameRoom = 6;
constexpr int kNamePadding = 6;

const QColor kRulerBackground(0xee, 0xee, 0xee);
const QColor kNamesBackground(0xf5, 0xf5, 0xf5);
const QColor kBorder(0xb0, 0xb0, 0xb0);
const QColor kSelectionBand(0x3d, 0x6f, 0xd8);

}  // namespace

AlignmentView::AlignmentView(QWidget* parent) : QAbstractScrollArea(parent) {
  setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  setFocusPolicy(Qt::StrongFocus);
  viewport()->setBackgroundRole(QPalette::Base);
  viewport()->setAutoFillBackground(false);
  horizontalScrollBar()->setSingleStep(1);
  verticalScrollBar()->setSingleStep(1);
  updateMetrics();
}

void AlignmentView::setAlignment(KARVO::Alignment* alignment) {
  alignment_ = alignment;
  currentRow_ = -1;
  dragging_ = false;
  hasAnchor_ = false;
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
    rows_.reserve(count);
    names_.reserve(count);
    for (unsigned long row = 0; row < count; ++row) {
      rows_.push_back(alignment_->rowText(row));
      names_.push_back(QString::fromStdString(alignment_->GetSeqName(row)));
    }
    const KARVO::ColumnRange range = alignment_->selection;
    if (range.first < range.second && range.second <= columnCount()) selection_ = range;
  }
  if (hasAnchor_ && anchor_ >= columnCount()) hasAnchor_ = false;
  updateMetrics();
  updateScrollBars();
  viewport()->update();
}

void AlignmentView::setSelection(const KARVO::ColumnRange& range) {
  KARVO::ColumnRange clamped{std::min(range.first, columnCount()), std::min(range.second, columnCount())};
  if (clamped.first >= clamped.second) clamped = {0, 0};
  hasAnchor_ = clamped.first < clamped.second;
  anchor_ = clamped.first;
  applySelection(clamped);
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

void AlignmentView::scrollToCell(unsigned long row, unsigned long column) {
  verticalScrollBar()->setValue(static_cast<int>(std::min<unsigned long>(row, verticalScrollBar()->maximum())));
  horizontalScrollBar()->setValue(static_cast<int>(std::min<unsigned long>(column, horizontalScrollBar()->maximum())));
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

unsigned long AlignmentView::columnCount() const {
  return rows_.empty() ? 0 : static_cast<unsigned long>(rows_.front().size());
}

void AlignmentView::updateMetrics() {
  const QFontMetrics metrics(font());
  cellWidth_ = metrics.horizontalAdvance(QLatin1Char('W')) + 3;
  cellHeight_ = metrics.height() + 3;
  rulerHeight_ = metrics.height() + 9;
  int widest = metrics.horizontalAdvance(QString(kShortestNameRoom, QLatin1Char('M')));
  for (const QString& name : names_) widest = std::max(widest, metrics.horizontalAdvance(name));
  widest = std::min(widest, metrics.horizontalAdvance(QString(kLongestNameShown, QLatin1Char('M'))));
  // Two pixels more than measured: eliding measures with fractional advances.
  namesWidth_ = widest + 2 * kNamePadding + 2;
  for (QPixmap& tile : tiles_) tile = QPixmap();
}

void AlignmentView::updateScrollBars() {
  const unsigned long columnsShown = wholeCells(viewport()->width() - namesWidth_, cellWidth_);
  const unsigned long rowsShown = wholeCells(viewport()->height() - rulerHeight_, cellHeight_);
  horizontalScrollBar()->setRange(0, static_cast<int>(maximumOffset(columnCount(), columnsShown)));
  horizontalScrollBar()->setPageStep(static_cast<int>(columnsShown));
  verticalScrollBar()->setRange(0, static_cast<int>(maximumOffset(rowCount(), rowsShown)));
  verticalScrollBar()->setPageStep(static_cast<int>(rowsShown));
}

const QPixmap& AlignmentView::tile(char code) {
  // One pre-drawn cell per residue code: copying a pixmap is much cheaper
  // than laying out a glyph for every cell of every frame.
  const qreal ratio = viewport()->devicePixelRatioF();
  if (ratio != tileRatio_) {
    for (QPixmap& cached : tiles_) cached = QPixmap();
    tileRatio_ = ratio;
  }
  QPixmap& cached = tiles_[static_cast<unsigned char>(code)];
  if (cached.isNull()) {
    cached = QPixmap(QSize(cellWidth_, cellHeight_) * ratio);
    cached.setDevicePixelRatio(ratio);
    cached.fill(residueClassColor(residueClass(code)));
    QPainter painter(&cached);
    painter.setFont(font());
    painter.setPen(Qt::black);
    painter.drawText(QRect(0, 0, cellWidth_, cellHeight_), Qt::AlignCenter, QString(QLatin1Char(code)));
  }
  return cached;
}

void AlignmentView::paintEvent(QPaintEvent*) {
  QPainter painter(viewport());
  painter.fillRect(viewport()->rect(), palette().color(QPalette::Base));
  if (rows_.empty() || columnCount() == 0) {
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(
        viewport()->rect(), Qt::AlignCenter,
        alignment_ == nullptr ? tr("Open an alignment with File \u2192 Open") : tr("The alignment is empty"));
    return;
  }
  const VisibleSpan rows =
      visibleSpan({firstVisibleRow(), viewport()->height() - rulerHeight_, cellHeight_, rowCount()});
  const VisibleSpan columns =
      visibleSpan({firstVisibleColumn(), viewport()->width() - namesWidth_, cellWidth_, columnCount()});
  paintGrid(painter, rows.first, rows.count, columns.first, columns.count);
  paintRuler(painter, columns.first, columns.count);
  paintNames(painter, rows.first, rows.count);
  painter.fillRect(QRect(0, 0, namesWidth_, rulerHeight_), kRulerBackground);
  painter.setPen(kBorder);
  painter.drawLine(namesWidth_ - 1, 0, namesWidth_ - 1, viewport()->height());
  painter.drawLine(0, rulerHeight_ - 1, viewport()->width(), rulerHeight_ - 1);
}

void AlignmentView::paintGrid(QPainter& painter, unsigned long firstRow, unsigned long rows, unsigned long firstColumn,
                              unsigned long columns) {
  painter.save();
  painter.setClipRect(
      QRect(namesWidth_, rulerHeight_, viewport()->width() - namesWidth_, viewport()->height() - rulerHeight_));
  for (unsigned long r = 0; r < rows; ++r) {
    const std::string& text = rows_[firstRow + r];
    const int y = rulerHeight_ + static_cast<int>(r) * cellHeight_;
    for (unsigned long c = 0; c < columns; ++c) {
      const char code = text[firstColumn + c];
      if (residueClass(code) == ResidueClass::Gap) continue;
      painter.drawPixmap(namesWidth_ + static_cast<int>(c) * cellWidth_, y, tile(code));
    }
  }
  const unsigned long lastColumn = firstColumn + columns;
  if (selection_.first < selection_.second && selection_.first < lastColumn && selection_.second > firstColumn) {
    const unsigned long from = std::max(selection_.first, firstColumn);
    const unsigned long to = std::min(selection_.second, lastColumn);
    const int left = namesWidth_ + static_cast<int>(from - firstColumn) * cellWidth_;
    const int width = static_cast<int>(to - from) * cellWidth_;
    const int height = static_cast<int>(rows) * cellHeight_;
    QColor shade = kSelectionBand;
    shade.setAlpha(60);
    painter.fillRect(QRect(left, rulerHeight_, width, height), shade);
    painter.setPen(kSelectionBand);
    if (selection_.first >= firstColumn) painter.drawLine(left, rulerHeight_, left, rulerHeight_ + height);
    if (selection_.second <= lastColumn)
      painter.drawLine(left + width - 1, rulerHeight_, left + width - 1, rulerHeight_ + height);
  }
  painter.restore();
}

void AlignmentView::paintRuler(QPainter& painter, unsigned long firstColumn, unsigned long columns) {
  painter.save();
  const QRect band(namesWidth_, 0, viewport()->width() - namesWidth_, rulerHeight_);
  painter.setClipRect(band);
  painter.fillRect(band, kRulerBackground);
  const QFontMetrics metrics(font());
  const int tickBottom = rulerHeight_ - 1;
  // Numbers a little wider than their column are still drawn when the
  // column itself is just off the left edge.
  const unsigned long lead = std::min<unsigned long>(firstColumn, 4);
  const unsigned long lastColumn = firstColumn + columns;
  const auto drawMarks = [&](const QColor& colour) {
    painter.setPen(colour);
    for (unsigned long column = firstColumn - lead; column < lastColumn; ++column) {
      const int left = namesWidth_ + (static_cast<int>(column) - static_cast<int>(firstColumn)) * cellWidth_;
      const int middle = left + cellWidth_ / 2;
      if (rulerNumberAt(column)) {
        painter.drawLine(middle, tickBottom - 5, middle, tickBottom);
        const QString number = QString::number(column + 1);
        const int width = metrics.horizontalAdvance(number);
        painter.drawText(QRect(middle - width / 2 - 1, 2, width + 2, metrics.height()), Qt::AlignCenter, number);
      } else if ((column + 1) % 5 == 0) {
        painter.drawLine(middle, tickBottom - 3, middle, tickBottom);
      }
    }
  };
  drawMarks(Qt::black);
  if (selection_.first < selection_.second && selection_.first < lastColumn && selection_.second > firstColumn) {
    // The selected band is drawn over the marks, which are drawn again in
    // white inside it, so that a number half inside stays readable.
    const unsigned long from = std::max(selection_.first, firstColumn);
    const unsigned long to = std::min(selection_.second, lastColumn);
    const QRect selected(namesWidth_ + static_cast<int>(from - firstColumn) * cellWidth_, 0,
                         static_cast<int>(to - from) * cellWidth_, rulerHeight_);
    painter.setClipRect(band.intersected(selected));
    painter.fillRect(selected, kSelectionBand);
    drawMarks(Qt::white);
  }
  painter.restore();
}

void AlignmentView::paintNames(QPainter& painter, unsigned long firstRow, unsigned long rows) {
  painter.save();
  const QRect band(0, rulerHeight_, namesWidth_, viewport()->height() - rulerHeight_);
  painter.setClipRect(band);
  painter.fillRect(band, kNamesBackground);
  painter.setPen(Qt::black);
  const QFontMetrics metrics(font());
  for (unsigned long r = 0; r < rows; ++r) {
    const QRect cell(kNamePadding, rulerHeight_ + static_cast<int>(r) * cellHeight_, namesWidth_ - 2 * kNamePadding,
                     cellHeight_);
    const bool current = currentRow_ >= 0 && firstRow + r == static_cast<unsigned long>(currentRow_);
    if (current) painter.fillRect(QRect(0, cell.top(), namesWidth_, cellHeight_), kSelectionBand);
    painter.setPen(current ? Qt::white : Qt::black);
    painter.drawText(cell, Qt::AlignLeft | Qt::AlignVCenter,
                     metrics.elidedText(names_[firstRow + r], Qt::ElideRight, cell.width()));
  }
  painter.restore();
}

void AlignmentView::resizeEvent(QResizeEvent* event) {
  QAbstractScrollArea::resizeEvent(event);
  updateScrollBars();
}

void AlignmentView::scrollContentsBy(int, int) {
  // The ruler and the names scroll along one axis only, so the whole
  // viewport is drawn again rather than shifted.
  viewport()->update();
}

bool AlignmentView::onRuler(const QPoint& point) const {
  return point.y() >= 0 && point.y() < rulerHeight_ && point.x() >= namesWidth_;
}

unsigned long AlignmentView::columnAt(int x) const {
  return columnAtPixel(x - namesWidth_, firstVisibleColumn(), cellWidth_, columnCount());
}

void AlignmentView::mousePressEvent(QMouseEvent* event) {
  const QPoint point = event->position().toPoint();
  if (!interactive_ || columnCount() == 0 || event->button() != Qt::LeftButton || !onRuler(point)) {
    QAbstractScrollArea::mousePressEvent(event);
    return;
  }
  const unsigned long column = columnAt(point.x());
  const bool extend = (event->modifiers() & Qt::ShiftModifier) && (hasAnchor_ || selection_.first < selection_.second);
  if (extend) {
    if (!hasAnchor_) anchor_ = selection_.first;
  } else {
    anchor_ = column;
  }
  hasAnchor_ = true;
  dragging_ = true;
  applySelection(rangeBetween(anchor_, column));
  event->accept();
}

void AlignmentView::mouseMoveEvent(QMouseEvent* event) {
  if (!dragging_) {
    QAbstractScrollArea::mouseMoveEvent(event);
    return;
  }
  dragTo(event->position().toPoint().x());
  event->accept();
}

void AlignmentView::mouseReleaseEvent(QMouseEvent* event) {
  if (!dragging_ || event->button() != Qt::LeftButton) {
    QAbstractScrollArea::mouseReleaseEvent(event);
    return;
  }
  dragTo(event->position().toPoint().x());
  dragging_ = false;
  event->accept();
}

void AlignmentView::dragTo(int x) {
  if (!interactive_ || columnCount() == 0) return;
  // Dragging past either edge of the grid scrolls one column per move.
  QScrollBar* bar = horizontalScrollBar();
  if (x >= viewport()->width() && bar->value() < bar->maximum()) bar->setValue(bar->value() + 1);
  if (x < namesWidth_ && bar->value() > 0) bar->setValue(bar->value() - 1);
  applySelection(rangeBetween(anchor_, columnAt(x)));
}

void AlignmentView::applySelection(const KARVO::ColumnRange& range) {
  if (range == selection_) return;
  selection_ = range;
  if (alignment_ != nullptr) alignment_->selection = range;
  viewport()->update();
  emit selectionChanged(range);
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
