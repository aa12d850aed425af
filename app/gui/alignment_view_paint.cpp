// The alignment view's painting: the grid from pre-drawn cells, the
// selection and find highlights, the ruler, the names and the annotation
// rows, on the screen or into a figure (an image, or SVG through the figure
// drawing the export shares).
#include <QFontInfo>
#include <QPainter>
#include <algorithm>
#include <array>
#include <cstring>

#include "app/gui/alignment_view.h"
#include "app/gui/view_geometry.h"
#include "draw/figure.h"

namespace karvo_gui {

namespace figure = KARVO::figure;

namespace {

const QColor kRulerBackground = QColor::fromRgb(figure::kRulerBackground);
const QColor kNamesBackground = QColor::fromRgb(figure::kNamesBackground);
const QColor kBorder = QColor::fromRgb(figure::kBorder);
const QColor kSelectionBand(0x3d, 0x6f, 0xd8);
const QColor kMatchFill(0xff, 0xd4, 0x00, 110);
const QColor kMatchBorder(0xe0, 0x80, 0x00);
const QColor kCurrentMatch(0xd0, 0x10, 0x10);
const QColor kConservationBar = QColor::fromRgb(figure::kConservationBar);
const QColor kGapBar = QColor::fromRgb(figure::kGapBar);
const QColor kConfidenceBar = QColor::fromRgb(figure::kConfidenceBar);
const QRgb kPlainResidue = 0xff000000 | figure::kPlainResidue;

}  // namespace

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
      if (figure::rulerNumberAt(column, step)) {
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
  const std::vector<figure::TrackPlace> tracks = figure::annotationTracks(annotationRow_, hasConfidence());
  painter.setPen(Qt::black);
  const QFontMetrics metrics(font());
  for (const figure::TrackPlace& place : tracks) {
    const QRect cell(kNamePadding, top + place.top, namesWidth_ - 2 * kNamePadding, place.height);
    painter.drawText(cell, Qt::AlignLeft | Qt::AlignVCenter,
                     metrics.elidedText(tr(figure::trackLabel(place.track)), Qt::ElideRight, cell.width()));
  }
  painter.setClipRect(QRect(namesWidth_, top, frame.size.width() - namesWidth_, height));
  const double sequences = static_cast<double>(std::max<unsigned long>(1, rowCount()));
  painter.setFont(cellFont_);
  const auto bar = [&](int x, const figure::TrackPlace& place, double share, const QColor& colour) {
    const int pixels = figure::barHeight(share, place.height);
    if (pixels > 0) painter.fillRect(QRect(x, top + place.top + place.height - 1 - pixels, cellWidth_, pixels), colour);
  };
  for (unsigned long c = 0; c < frame.columns; ++c) {
    const ColumnStats& column = stats_[frame.firstColumn + c];
    const int x = namesWidth_ + static_cast<int>(c) * cellWidth_;
    if (column.consensus != '-') {
      const QRect cell(x, top + tracks[0].top, cellWidth_, tracks[0].height);
      if (lettersShown()) {
        painter.setPen(Qt::black);
        painter.drawText(cell, Qt::AlignCenter, QString(QLatin1Char(column.consensus)));
      } else {
        painter.fillRect(cell.adjusted(0, 2, 0, -2), residueClassColor(residueClass(column.consensus)));
      }
    }
    bar(x, tracks[1], static_cast<double>(column.consensusCount) / sequences, kConservationBar);
    bar(x, tracks[2], static_cast<double>(column.gaps) / sequences, kGapBar);
    if (tracks.size() > 3 && column.confidence >= 0) bar(x, tracks[3], column.confidence, kConfidenceBar);
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
  figure::Figure drawing;
  const QSize size = figureSize(rows, columns);
  drawing.width = size.width();
  drawing.height = size.height();
  drawing.metrics = {namesWidth_,
                     kNamePadding,
                     rulerHeight_,
                     cellWidth_,
                     cellHeight_,
                     annotationHeight() > 0 ? annotationRow_ : 0,
                     QFontInfo(font()).pixelSize(),
                     QFontInfo(cellFont_).pixelSize(),
                     QFontInfo(namesFont_).pixelSize()};
  const unsigned long firstRow = rows.first < rows.second ? rows.first : 0;
  const unsigned long rowSpan = rows.first < rows.second ? rows.second - rows.first : rowCount();
  const unsigned long firstColumn = columns.first < columns.second ? columns.first : 0;
  const unsigned long columnSpan = columns.first < columns.second ? columns.second - columns.first : columnCount();
  drawing.firstColumn = firstColumn;
  drawing.rulerStep = rulerStep();
  drawing.letters = lettersShown();
  drawing.names = namesShown_;
  drawing.confidence = hasConfidence();
  const QFontMetrics metrics(namesFont_);
  for (unsigned long r = firstRow; r < firstRow + rowSpan; ++r) {
    figure::Row row;
    row.name = metrics.elidedText(names_[r], Qt::ElideMiddle, namesWidth_ - 2 * kNamePadding).toStdString();
    row.text = rows_[r].substr(firstColumn, columnSpan);
    for (unsigned long c = firstColumn; c < firstColumn + columnSpan; ++c) {
      const QColor fill = paletteColour(colours_[r][c]);
      row.fills.push_back(fill.isValid() ? fill.rgb() & 0xffffffu
                                         : (lettersShown() ? figure::kNoFill : figure::kPlainResidue));
    }
    drawing.rows.push_back(std::move(row));
  }
  const double sequences = static_cast<double>(std::max<unsigned long>(1, rowCount()));
  for (unsigned long c = firstColumn; c < firstColumn + columnSpan; ++c) {
    const ColumnStats& stats = stats_[c];
    drawing.columns.push_back({stats.consensus, static_cast<double>(stats.consensusCount) / sequences,
                               static_cast<double>(stats.gaps) / sequences, stats.confidence});
  }
  return figure::figureSvg(drawing);
}

}  // namespace karvo_gui
