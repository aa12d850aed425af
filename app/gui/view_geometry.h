// Arithmetic of the alignment view, kept apart from painting: which rows and
// columns are visible, which columns a ruler drag covers, and the texts the
// window shows for them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/align_options.h"
#include "host/alignment.h"

namespace karvo_gui {

// The cells of one axis that a viewport shows: first and count, the last one
// possibly cut off by the viewport's edge.
struct VisibleSpan {
  unsigned long first = 0;
  unsigned long count = 0;
};

struct AxisView {
  unsigned long offset = 0;  // first cell scrolled into view
  long extentPixels = 0;     // room the viewport has for cells
  long cellPixels = 1;
  unsigned long total = 0;  // cells on the axis
};

VisibleSpan visibleSpan(const AxisView& axis);

// Cells that fit entirely into extentPixels (at least 1), the scroll step of
// a page.
unsigned long wholeCells(long extentPixels, long cellPixels);

// The largest scroll offset that still fills the viewport.
unsigned long maximumOffset(unsigned long total, unsigned long wholeCellsVisible);

// The half-open column range from the anchor column to the column under the
// pointer, both included, whichever comes first.
KARVO::ColumnRange rangeBetween(unsigned long anchor, unsigned long column);

// The column under a pixel position of the grid; positions left of the grid
// give the first visible column, positions right of the last column the last
// column. total must not be 0.
unsigned long columnAtPixel(long pixel, unsigned long offset, long cellPixels, unsigned long total);

// A 1-based inclusive column range as given on the command line, FIRST:LAST
// (read by karvo_app::parseColumnRange).
using karvo_app::ColumnSpan;

// The half-open 0-based range of a span; nullopt when it reaches beyond
// columnCount.
std::optional<KARVO::ColumnRange> spanToRange(const ColumnSpan& span, unsigned long columnCount);

// The status bar's text for a selected range: "columns 12–140 selected",
// "column 7 selected", "no columns selected" (UTF-8).
std::string selectionText(const KARVO::ColumnRange& range);

// The colour schemes of the window by their command-line names: "class",
// "conservation", "identity", "hydrophobicity", "none", "confidence".
const std::vector<std::string>& colourSchemeNames();

// The menu entry of a plug-in library: "libZemtra.so.0" -> "Zemtra".
std::string pluginDisplayName(std::string_view fileName);

}  // namespace karvo_gui
