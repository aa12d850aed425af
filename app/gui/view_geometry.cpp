#include "app/gui/view_geometry.h"

#include <algorithm>
#include <charconv>

namespace karvo_gui {

VisibleSpan visibleSpan(const AxisView& axis) {
  if (axis.offset >= axis.total || axis.extentPixels <= 0 || axis.cellPixels <= 0) return {axis.offset, 0};
  const unsigned long fitting = static_cast<unsigned long>((axis.extentPixels + axis.cellPixels - 1) / axis.cellPixels);
  return {axis.offset, std::min(fitting, axis.total - axis.offset)};
}

unsigned long wholeCells(long extentPixels, long cellPixels) {
  if (extentPixels <= 0 || cellPixels <= 0) return 1;
  return static_cast<unsigned long>(std::max(1L, extentPixels / cellPixels));
}

unsigned long maximumOffset(unsigned long total, unsigned long wholeCellsVisible) {
  return total > wholeCellsVisible ? total - wholeCellsVisible : 0;
}

KARVO::ColumnRange rangeBetween(unsigned long anchor, unsigned long column) {
  return {std::min(anchor, column), std::max(anchor, column) + 1};
}

unsigned long columnAtPixel(long pixel, unsigned long offset, long cellPixels, unsigned long total) {
  const unsigned long last = total - 1;
  if (pixel < 0 || cellPixels <= 0) return std::min(offset, last);
  return std::min(offset + static_cast<unsigned long>(pixel / cellPixels), last);
}

std::optional<KARVO::ColumnRange> spanToRange(const ColumnSpan& span, unsigned long columnCount) {
  if (span.first == 0 || span.first > span.last || span.last > columnCount) return std::nullopt;
  return KARVO::ColumnRange{span.first - 1, span.last};
}

std::string selectionText(const KARVO::ColumnRange& range) {
  if (range.first >= range.second) return "no columns selected";
  if (range.second - range.first == 1) return "column " + std::to_string(range.first + 1) + " selected";
  return "columns " + std::to_string(range.first + 1) + "\u2013" + std::to_string(range.second) + " selected";
}

const std::vector<std::string>& colourSchemeNames() {
  static const std::vector<std::string> names{"class",          "conservation", "identity",
                                              "hydrophobicity", "none",         "confidence"};
  return names;
}

std::string pluginDisplayName(std::string_view fileName) {
  if (fileName.starts_with("lib")) fileName.remove_prefix(3);
  const std::size_t so = fileName.find(".so");
  if (so != std::string_view::npos) fileName = fileName.substr(0, so);
  return std::string(fileName);
}

}  // namespace karvo_gui
