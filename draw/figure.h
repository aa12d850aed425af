// The drawing of an alignment figure that the window's painting and its SVG
// export share: where the annotation rows sit, how tall their bars are, the
// window's fixed colours, and the SVG text of a figure. No toolkit here: a
// figure is plain data, measured by the view that makes it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace KARVO::figure {

// Colours as 0xRRGGBB.
inline constexpr std::uint32_t kRulerBackground = 0xeeeeee;
inline constexpr std::uint32_t kNamesBackground = 0xf5f5f5;
inline constexpr std::uint32_t kBorder = 0xb0b0b0;
inline constexpr std::uint32_t kConservationBar = 0x4a6fb5;
inline constexpr std::uint32_t kGapBar = 0x909090;
inline constexpr std::uint32_t kConfidenceBar = 0x2e9960;
// Residues without a colour of their own, when cells are too small for letters.
inline constexpr std::uint32_t kPlainResidue = 0xc8c8c8;

// Columns are numbered from 1 on the ruler; every step-th (tenth unless
// zoomed out) gets its number.
bool rulerNumberAt(unsigned long column, unsigned long step = 10);

// The annotation rows under the grid, top to bottom: consensus residue one
// row high, conservation two, gaps one, and the confidence of the last
// consistency run one when there is one.
enum class Track { Consensus, Conservation, Gaps, Confidence };
struct TrackPlace {
  Track track;
  int top = 0;  // from the top of the annotation band
  int height = 0;
};
std::vector<TrackPlace> annotationTracks(int rowHeight, bool withConfidence);
int annotationBandHeight(int rowHeight, bool withConfidence);
const char* trackLabel(Track track);

// The height of a bar for a share in [0, 1] in a track of trackHeight
// pixels (a pixel of room above and below).
int barHeight(double share, int trackHeight);

struct Metrics {
  int namesWidth = 0;
  int namePadding = 0;
  int rulerHeight = 0;
  int cellWidth = 1;
  int cellHeight = 1;
  int annotationRow = 0;  // 0: no annotation rows
  int textPixels = 0;     // ruler numbers and labels
  int cellPixels = 0;
  int namePixels = 0;
};

// What the annotation rows show of one column.
struct Column {
  char consensus = '-';
  double conserved = 0.0;   // share of the sequences with the consensus residue
  double gaps = 0.0;        // share of the sequences with a gap
  float confidence = -1.0;  // below 0: none
};

struct Row {
  std::string name;                  // as shown (elided)
  std::string text;                  // the figure's columns, '-' gaps
  std::vector<std::uint32_t> fills;  // per cell; kNoFill: the background
};
inline constexpr std::uint32_t kNoFill = 0xff000000;

struct Figure {
  Metrics metrics;
  int width = 0;
  int height = 0;
  unsigned long firstColumn = 0;  // the number of the first column, from 0
  unsigned long rulerStep = 10;
  bool letters = true;
  bool names = true;
  bool confidence = false;  // the confidence row, when annotation rows are shown
  std::vector<Row> rows;
  std::vector<Column> columns;
};

// The figure as a standalone SVG document: rectangles and text elements.
std::string figureSvg(const Figure& figure);

}  // namespace KARVO::figure
