#include "app/gui/alignment_view.h"

#include <QEvent>
#include <QFontDatabase>
#include <QFontInfo>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>
#include <array>
#include <cstring>
#include <sstream>

#include "app/gui/view_geometry.h"
#include "formats/phylo_tree.h"

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
const QColor kMatchFill(0xff, 0xd4, 0x00, 110);
const QColor kMatchBorder(0xe0, 0x80, 0x00);
const QColor kCurrentMatch(0xd0, 0x10, 0x10);
const QColor kConservationBar(0x4a, 0x6f, 0xb5);
const QColor kGapBar(0x90, 0x90, 0x90);
// Residues without a colour of their own, when cells are too small for letters.
const QRgb kPlainResidue = qRgb(0xc8, 0xc8, 0xc8);

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

std::string xmlEscaped(const QString& text) { return KARVO::xmlText(text.toStdString()); }

std::string svgColour(const QColor& colour) { return colour.name(QColor::HexRgb).toStdString(); }

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
  const bool byColumn = scheme_ == ColourScheme::Conservation || scheme_ == ColourScheme::Identity;
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

int AlignmentView::annotationHeight() const { return annotationsShown_ && !rows_.empty() ? 4 * annotationRow_ : 0; }

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

AlignmentView::Frame AlignmentView::viewportFrame() const {
  Frame frame;
  frame.size = viewport()->size();
  const VisibleSpan rows = visibleSpan(
      {firstVisibleRow(), frame.size.height() - rulerHeight_ - annotationHeight(), cellHeight_, rowCount()});
  const VisibleSpan columns =
      visibleSpan({firstVisibleColumn(), frame.size.width() - namesWidth_, cellWidth_, columnCount()});
  frame.firstRow = rows.first;
  frame.rows = rows.count;
  frame.firstColumn = columns.first;
  frame.columns = columns.count;
  return frame;
}

void AlignmentView::paintEvent(QPaintEvent*) {
  QPainter painter(viewport());
  paintFrame(painter, viewportFrame());
}

void AlignmentView::paintFrame(QPainter& painter, const Frame& frame) {
  const QRect all(QPoint(0, 0), frame.size);
  painter.fillRect(all, palette().color(QPalette::Base));
  if (rows_.empty() || columnCount() == 0) {
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(
        all, Qt::AlignCenter,
        alignment_ == nullptr ? tr("Open an alignment with File \u2192 Open") : tr("The alignment is empty"));
    return;
  }
  paintGrid(painter, frame);
  if (frame.overlays) paintOverlays(painter, frame);
  paintRuler(painter, frame);
  paintNames(painter, frame);
  paintAnnotations(painter, frame);
  painter.fillRect(QRect(0, 0, namesWidth_, rulerHeight_), kRulerBackground);
  painter.setPen(kBorder);
  painter.drawLine(namesWidth_ - 1, 0, namesWidth_ - 1, frame.size.height());
  painter.drawLine(0, rulerHeight_ - 1, frame.size.width(), rulerHeight_ - 1);
  if (annotationHeight() > 0) {
    const int top = frame.size.height() - annotationHeight();
    painter.drawLine(0, top, frame.size.width(), top);
  }
}

void AlignmentView::paintGrid(QPainter& painter, const Frame& frame) {
  const int width = frame.size.width() - namesWidth_;
  const int height = frame.size.height() - rulerHeight_ - annotationHeight();
  if (width <= 0 || height <= 0) return;
  // The cells are composed into one image by copying pixels, then drawn at once.
  if (gridBuffer_.size() != QSize(width, height)) gridBuffer_ = QImage(width, height, QImage::Format_RGB32);
  const QRgb background = palette().color(QPalette::Base).rgb();
  gridBuffer_.fill(background);
  std::array<QRgb, kPaletteSize> colours{};
  for (int i = 0; i < kPaletteSize; ++i) {
    const QColor colour = paletteColour(static_cast<unsigned char>(i));
    colours[static_cast<std::size_t>(i)] = colour.isValid() ? colour.rgb() : kPlainResidue;
  }
  uchar* bits = gridBuffer_.bits();
  const qsizetype stride = gridBuffer_.bytesPerLine();
  const bool letters = lettersShown();
  for (unsigned long r = 0; r < frame.rows; ++r) {
    const std::string& text = rows_[frame.firstRow + r];
    const std::vector<unsigned char>& rowColours = colours_[frame.firstRow + r];
    const int y = static_cast<int>(r) * cellHeight_;
    const int lines = std::min(cellHeight_, height - y);
    if (!letters) {
      // Blocks without letters: the first line of the row is coloured
      // pixel by pixel and copied to the row's other lines.
      auto* line = reinterpret_cast<QRgb*>(bits + y * stride);
      for (unsigned long c = 0; c < frame.columns; ++c) {
        const int x = static_cast<int>(c) * cellWidth_;
        const QRgb fill = text[frame.firstColumn + c] == '-' ? background : colours[rowColours[frame.firstColumn + c]];
        std::fill(line + x, line + std::min(x + cellWidth_, width), fill);
      }
      for (int extra = 1; extra < lines; ++extra) {
        std::memcpy(bits + (y + extra) * stride, line, static_cast<std::size_t>(width) * 4);
      }
      continue;
    }
    for (unsigned long c = 0; c < frame.columns; ++c) {
      const char code = text[frame.firstColumn + c];
      if (code == '-') continue;
      const int x = static_cast<int>(c) * cellWidth_;
      const int pixels = std::min(cellWidth_, width - x);
      const QImage& cell = tile(rowColours[frame.firstColumn + c], code);
      for (int line = 0; line < lines; ++line) {
        std::memcpy(bits + (y + line) * stride + x * 4, cell.constScanLine(line), static_cast<std::size_t>(pixels) * 4);
      }
    }
  }
  painter.drawImage(namesWidth_, rulerHeight_, gridBuffer_);
}

void AlignmentView::paintOverlays(QPainter& painter, const Frame& frame) {
  painter.save();
  const int gridBottom = frame.size.height() - annotationHeight();
  painter.setClipRect(QRect(namesWidth_, rulerHeight_, frame.size.width() - namesWidth_, gridBottom - rulerHeight_));
  const auto cellRect = [&](unsigned long row, unsigned long firstColumn, unsigned long lastColumn) {
    const int x = namesWidth_ + (static_cast<int>(firstColumn) - static_cast<int>(frame.firstColumn)) * cellWidth_;
    const int y = rulerHeight_ + (static_cast<int>(row) - static_cast<int>(frame.firstRow)) * cellHeight_;
    return QRect(x, y, static_cast<int>(lastColumn - firstColumn + 1) * cellWidth_, cellHeight_);
  };
  // Find matches of the visible rows.
  const auto firstMatch = std::lower_bound(matches_.begin(), matches_.end(), frame.firstRow,
                                           [](const MotifMatch& m, unsigned long row) { return m.row < row; });
  for (auto match = firstMatch; match != matches_.end() && match->row < frame.firstRow + frame.rows; ++match) {
    if (match->lastColumn < frame.firstColumn || match->firstColumn >= frame.firstColumn + frame.columns) continue;
    const QRect box = cellRect(match->row, match->firstColumn, match->lastColumn);
    painter.fillRect(box, kMatchFill);
    const bool current = currentMatch_ >= 0 && &*match == &matches_[static_cast<std::size_t>(currentMatch_)];
    painter.setPen(QPen(current ? kCurrentMatch : kMatchBorder, current ? 2 : 1));
    painter.drawRect(box.adjusted(0, 0, -1, -1));
  }
  // The selected block.
  const RowRange rows = selectedRows();
  const unsigned long lastColumn = frame.firstColumn + frame.columns;
  const unsigned long lastRow = frame.firstRow + frame.rows;
  if (rows.first < rows.second && selection_.first < lastColumn && selection_.second > frame.firstColumn &&
      rows.first < lastRow && rows.second > frame.firstRow) {
    const unsigned long fromRow = std::max(rows.first, frame.firstRow);
    const unsigned long toRow = std::min(rows.second, lastRow);
    const QRect top =
        cellRect(fromRow, std::max(selection_.first, frame.firstColumn), std::min(selection_.second, lastColumn) - 1);
    const QRect block(top.topLeft(), QSize(top.width(), static_cast<int>(toRow - fromRow) * cellHeight_));
    QColor shade = kSelectionBand;
    shade.setAlpha(60);
    painter.fillRect(block, shade);
    painter.setPen(kSelectionBand);
    painter.drawRect(block.adjusted(0, 0, -1, -1));
  }
  painter.restore();
}

unsigned long AlignmentView::rulerStep() const {
  // Every tenth column gets its number while the numbers fit; when zoomed
  // out, every 50th, 100th, ...
  const int room = QFontMetrics(font()).horizontalAdvance(QStringLiteral("000000"));
  unsigned long step = 10;
  for (int factor = 0; static_cast<long>(step) * cellWidth_ < room; ++factor) step *= factor % 2 == 0 ? 5 : 2;
  return step;
}

void AlignmentView::paintRuler(QPainter& painter, const Frame& frame) {
  painter.save();
  const QRect band(namesWidth_, 0, frame.size.width() - namesWidth_, rulerHeight_);
  painter.setClipRect(band);
  painter.fillRect(band, kRulerBackground);
  const QFontMetrics metrics(font());
  const int tickBottom = rulerHeight_ - 1;
  const unsigned long step = rulerStep();
  // Numbers a little wider than their column are still drawn when the
  // column itself is just off the left edge.
  const unsigned long lead = std::min<unsigned long>(frame.firstColumn, 4 * step / 10);
  const unsigned long lastColumn = frame.firstColumn + frame.columns;
  const auto drawMarks = [&](const QColor& colour) {
    painter.setPen(colour);
    for (unsigned long column = frame.firstColumn - lead; column < lastColumn; ++column) {
      const int left = namesWidth_ + (static_cast<int>(column) - static_cast<int>(frame.firstColumn)) * cellWidth_;
      const int middle = left + cellWidth_ / 2;
      if (rulerNumberAt(column, step)) {
        painter.drawLine(middle, tickBottom - 5, middle, tickBottom);
        const QString number = QString::number(column + 1);
        const int width = metrics.horizontalAdvance(number);
        painter.drawText(QRect(middle - width / 2 - 1, 2, width + 2, metrics.height()), Qt::AlignCenter, number);
      } else if (step == 10 && (column + 1) % 5 == 0) {
        painter.drawLine(middle, tickBottom - 3, middle, tickBottom);
      }
    }
  };
  drawMarks(Qt::black);
  if (frame.overlays && selection_.first < selection_.second && selection_.first < lastColumn &&
      selection_.second > frame.firstColumn) {
    // The selected band is drawn over the marks, which are drawn again in
    // white inside it, so that a number half inside stays readable.
    const unsigned long from = std::max(selection_.first, frame.firstColumn);
    const unsigned long to = std::min(selection_.second, lastColumn);
    const QRect selected(namesWidth_ + static_cast<int>(from - frame.firstColumn) * cellWidth_, 0,
                         static_cast<int>(to - from) * cellWidth_, rulerHeight_);
    painter.setClipRect(band.intersected(selected));
    painter.fillRect(selected, kSelectionBand);
    drawMarks(Qt::white);
  }
  painter.restore();
}

void AlignmentView::paintNames(QPainter& painter, const Frame& frame) {
  painter.save();
  const QRect band(0, rulerHeight_, namesWidth_, frame.size.height() - rulerHeight_ - annotationHeight());
  painter.setClipRect(band);
  painter.fillRect(band, kNamesBackground);
  const RowRange selected = frame.overlays && blockRows_.first < blockRows_.second ? blockRows_ : RowRange{0, 0};
  if (namesShown_) {
    painter.setFont(namesFont_);
    const QFontMetrics metrics(namesFont_);
    for (unsigned long r = 0; r < frame.rows; ++r) {
      const unsigned long row = frame.firstRow + r;
      const int y = rulerHeight_ + static_cast<int>(r) * cellHeight_;
      const bool highlighted = (row >= selected.first && row < selected.second) ||
                               (currentRow_ >= 0 && row == static_cast<unsigned long>(currentRow_));
      if (highlighted) painter.fillRect(QRect(0, y, namesWidth_ - 1, cellHeight_), kSelectionBand);
      painter.setPen(highlighted ? Qt::white : Qt::black);
      const QRect cell(kNamePadding, y, namesWidth_ - 2 * kNamePadding, cellHeight_);
      // Elided in the middle: names of one family often differ only at the end.
      painter.drawText(cell, Qt::AlignLeft | Qt::AlignVCenter,
                       metrics.elidedText(names_[row], Qt::ElideMiddle, cell.width()));
    }
  } else if (selected.first < selected.second) {
    const int top = rulerHeight_ + (static_cast<int>(selected.first) - static_cast<int>(frame.firstRow)) * cellHeight_;
    painter.fillRect(QRect(0, top, namesWidth_ - 1, static_cast<int>(selected.second - selected.first) * cellHeight_),
                     kSelectionBand);
  }
  painter.restore();
}

void AlignmentView::paintAnnotations(QPainter& painter, const Frame& frame) {
  const int height = annotationHeight();
  if (height == 0) return;
  painter.save();
  const int top = frame.size.height() - height;
  painter.fillRect(QRect(0, top, frame.size.width(), height), palette().color(QPalette::Base));
  painter.fillRect(QRect(0, top, namesWidth_, height), kNamesBackground);
  // Consensus one row high, conservation two, gaps one.
  const int rowTop[3] = {top, top + annotationRow_, top + 3 * annotationRow_};
  const int rowHeight[3] = {annotationRow_, 2 * annotationRow_, annotationRow_};
  {
    painter.setPen(Qt::black);
    const QString labels[3] = {tr("Consensus"), tr("Conservation"), tr("Gaps")};
    const QFontMetrics metrics(font());
    for (int i = 0; i < 3; ++i) {
      const QRect cell(kNamePadding, rowTop[i], namesWidth_ - 2 * kNamePadding, rowHeight[i]);
      painter.drawText(cell, Qt::AlignLeft | Qt::AlignVCenter,
                       metrics.elidedText(labels[i], Qt::ElideRight, cell.width()));
    }
  }
  painter.setClipRect(QRect(namesWidth_, top, frame.size.width() - namesWidth_, height));
  const double sequences = static_cast<double>(std::max<unsigned long>(1, rowCount()));
  painter.setFont(cellFont_);
  for (unsigned long c = 0; c < frame.columns; ++c) {
    const ColumnStats& column = stats_[frame.firstColumn + c];
    const int x = namesWidth_ + static_cast<int>(c) * cellWidth_;
    if (column.consensus != '-') {
      const QColor colour = residueClassColor(residueClass(column.consensus));
      if (lettersShown()) {
        painter.setPen(Qt::black);
        painter.drawText(QRect(x, rowTop[0], cellWidth_, rowHeight[0]), Qt::AlignCenter,
                         QString(QLatin1Char(column.consensus)));
      } else {
        painter.fillRect(QRect(x, rowTop[0] + 2, cellWidth_, rowHeight[0] - 4), colour);
      }
    }
    const int conserved =
        static_cast<int>((rowHeight[1] - 2) * static_cast<double>(column.consensusCount) / sequences + 0.5);
    if (conserved > 0) {
      painter.fillRect(QRect(x, rowTop[1] + rowHeight[1] - 1 - conserved, cellWidth_, conserved), kConservationBar);
    }
    const int gaps = static_cast<int>((rowHeight[2] - 2) * static_cast<double>(column.gaps) / sequences + 0.5);
    if (gaps > 0) painter.fillRect(QRect(x, rowTop[2] + rowHeight[2] - 1 - gaps, cellWidth_, gaps), kGapBar);
  }
  painter.restore();
}

QSize AlignmentView::figureSize(const RowRange& rows, const KARVO::ColumnRange& columns) const {
  const unsigned long rowSpan = rows.first < rows.second ? rows.second - rows.first : rowCount();
  const unsigned long columnSpan = columns.first < columns.second ? columns.second - columns.first : columnCount();
  return QSize(namesWidth_ + static_cast<int>(columnSpan) * cellWidth_,
               rulerHeight_ + static_cast<int>(rowSpan) * cellHeight_ + annotationHeight());
}

QImage AlignmentView::figureImage(const RowRange& rows, const KARVO::ColumnRange& columns) {
  Frame frame;
  frame.size = figureSize(rows, columns);
  frame.firstRow = rows.first < rows.second ? rows.first : 0;
  frame.rows = rows.first < rows.second ? rows.second - rows.first : rowCount();
  frame.firstColumn = columns.first < columns.second ? columns.first : 0;
  frame.columns = columns.first < columns.second ? columns.second - columns.first : columnCount();
  frame.overlays = false;
  QImage image(frame.size, QImage::Format_RGB32);
  if (image.isNull()) return image;
  QPainter painter(&image);
  paintFrame(painter, frame);
  painter.end();
  gridBuffer_ = QImage();
  return image;
}

std::string AlignmentView::figureSvg(const RowRange& rows, const KARVO::ColumnRange& columns) const {
  const QSize size = figureSize(rows, columns);
  const unsigned long firstRow = rows.first < rows.second ? rows.first : 0;
  const unsigned long rowSpan = rows.first < rows.second ? rows.second - rows.first : rowCount();
  const unsigned long firstColumn = columns.first < columns.second ? columns.first : 0;
  const unsigned long columnSpan = columns.first < columns.second ? columns.second - columns.first : columnCount();
  const int textPixels = QFontInfo(font()).pixelSize();
  const int cellPixels = QFontInfo(cellFont_).pixelSize();
  const int namePixels = QFontInfo(namesFont_).pixelSize();
  std::ostringstream svg;
  svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << size.width() << "\" height=\"" << size.height()
      << "\" viewBox=\"0 0 " << size.width() << ' ' << size.height() << "\" font-family=\"monospace\">\n"
      << "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
  const auto cellX = [&](unsigned long c) { return namesWidth_ + static_cast<int>(c - firstColumn) * cellWidth_; };
  const auto rowY = [&](unsigned long r) { return rulerHeight_ + static_cast<int>(r - firstRow) * cellHeight_; };
  // Ruler.
  svg << "<rect x=\"0\" y=\"0\" width=\"" << size.width() << "\" height=\"" << rulerHeight_ << "\" fill=\""
      << svgColour(kRulerBackground) << "\"/>\n<g font-size=\"" << textPixels << "\" text-anchor=\"middle\">\n";
  const unsigned long step = rulerStep();
  for (unsigned long c = firstColumn; c < firstColumn + columnSpan; ++c) {
    if (!rulerNumberAt(c, step)) continue;
    const int middle = cellX(c) + cellWidth_ / 2;
    svg << "<text x=\"" << middle << "\" y=\"" << textPixels + 1 << "\">" << c + 1 << "</text><path d=\"M" << middle
        << ' ' << rulerHeight_ - 6 << "v5\" stroke=\"#000000\"/>\n";
  }
  svg << "</g>\n";
  // Cells: one rectangle per run of equal colour, one text element per row.
  for (unsigned long r = firstRow; r < firstRow + rowSpan; ++r) {
    const std::string& text = rows_[r];
    const std::vector<unsigned char>& colours = colours_[r];
    unsigned long c = firstColumn;
    while (c < firstColumn + columnSpan) {
      if (text[c] == '-') {
        ++c;
        continue;
      }
      const unsigned char colour = colours[c];
      unsigned long end = c + 1;
      while (end < firstColumn + columnSpan && text[end] != '-' && colours[end] == colour) ++end;
      const QColor fill = paletteColour(colour);
      if (fill.isValid() || !lettersShown()) {
        svg << "<rect x=\"" << cellX(c) << "\" y=\"" << rowY(r) << "\" width=\""
            << (end - c) * static_cast<unsigned long>(cellWidth_) << "\" height=\"" << cellHeight_ << "\" fill=\""
            << (fill.isValid() ? svgColour(fill) : svgColour(QColor(kPlainResidue))) << "\"/>\n";
      }
      c = end;
    }
    if (lettersShown()) {
      svg << "<g font-size=\"" << cellPixels << "\" text-anchor=\"middle\" dominant-baseline=\"central\">";
      for (unsigned long col = firstColumn; col < firstColumn + columnSpan; ++col) {
        if (text[col] == '-') continue;
        svg << "<text x=\"" << cellX(col) + cellWidth_ / 2 << "\" y=\"" << rowY(r) + cellHeight_ / 2 << "\">"
            << xmlEscaped(QString(QLatin1Char(text[col]))) << "</text>";
      }
      svg << "</g>\n";
    }
  }
  // Names.
  svg << "<rect x=\"0\" y=\"" << rulerHeight_ << "\" width=\"" << namesWidth_ << "\" height=\""
      << static_cast<int>(rowSpan) * cellHeight_ << "\" fill=\"" << svgColour(kNamesBackground) << "\"/>\n";
  if (namesShown_) {
    const QFontMetrics metrics(namesFont_);
    svg << "<g font-size=\"" << namePixels << "\" dominant-baseline=\"central\">\n";
    for (unsigned long r = firstRow; r < firstRow + rowSpan; ++r) {
      svg << "<text x=\"" << kNamePadding << "\" y=\"" << rowY(r) + cellHeight_ / 2 << "\">"
          << xmlEscaped(metrics.elidedText(names_[r], Qt::ElideMiddle, namesWidth_ - 2 * kNamePadding)) << "</text>\n";
    }
    svg << "</g>\n";
  }
  // Annotation rows.
  if (annotationHeight() > 0) {
    const int top = size.height() - annotationHeight();
    const double sequences = static_cast<double>(std::max<unsigned long>(1, rowCount()));
    svg << "<g font-size=\"" << textPixels << "\" dominant-baseline=\"central\">\n";
    const char* labels[3] = {"Consensus", "Conservation", "Gaps"};
    const int middles[3] = {top + annotationRow_ / 2, top + 2 * annotationRow_,
                            top + 3 * annotationRow_ + annotationRow_ / 2};
    for (int i = 0; i < 3; ++i) {
      svg << "<text x=\"" << kNamePadding << "\" y=\"" << middles[i] << "\">" << labels[i] << "</text>\n";
    }
    svg << "</g>\n";
    for (unsigned long c = firstColumn; c < firstColumn + columnSpan; ++c) {
      const ColumnStats& column = stats_[c];
      if (column.consensus != '-') {
        svg << "<text x=\"" << cellX(c) + cellWidth_ / 2 << "\" y=\"" << middles[0] << "\" font-size=\"" << cellPixels
            << "\" text-anchor=\"middle\" dominant-baseline=\"central\">" << column.consensus << "</text>\n";
      }
      const int conserved =
          static_cast<int>((2 * annotationRow_ - 2) * static_cast<double>(column.consensusCount) / sequences + 0.5);
      if (conserved > 0) {
        svg << "<rect x=\"" << cellX(c) << "\" y=\"" << top + 3 * annotationRow_ - 1 - conserved << "\" width=\""
            << cellWidth_ << "\" height=\"" << conserved << "\" fill=\"" << svgColour(kConservationBar) << "\"/>\n";
      }
      const int gaps = static_cast<int>((annotationRow_ - 2) * static_cast<double>(column.gaps) / sequences + 0.5);
      if (gaps > 0) {
        svg << "<rect x=\"" << cellX(c) << "\" y=\"" << top + 4 * annotationRow_ - 1 - gaps << "\" width=\""
            << cellWidth_ << "\" height=\"" << gaps << "\" fill=\"" << svgColour(kGapBar) << "\"/>\n";
      }
    }
  }
  svg << "</svg>\n";
  return svg.str();
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
