#include "draw/figure.h"

#include <sstream>

#include "draw/svg_text.h"

namespace KARVO::figure {

bool rulerNumberAt(unsigned long column, unsigned long step) { return (column + 1) % step == 0; }

std::vector<TrackPlace> annotationTracks(int rowHeight, bool withConfidence) {
  std::vector<TrackPlace> tracks{{Track::Consensus, 0, rowHeight},
                                 {Track::Conservation, rowHeight, 2 * rowHeight},
                                 {Track::Gaps, 3 * rowHeight, rowHeight}};
  if (withConfidence) tracks.push_back({Track::Confidence, 4 * rowHeight, rowHeight});
  return tracks;
}

int annotationBandHeight(int rowHeight, bool withConfidence) { return (withConfidence ? 5 : 4) * rowHeight; }

const char* trackLabel(Track track) {
  switch (track) {
    case Track::Consensus:
      return "Consensus";
    case Track::Conservation:
      return "Conservation";
    case Track::Gaps:
      return "Gaps";
    case Track::Confidence:
      return "Confidence";
  }
  return "";
}

int barHeight(double share, int trackHeight) { return static_cast<int>((trackHeight - 2) * share + 0.5); }

namespace {

struct Writer {
  const Figure& figure;
  std::ostringstream svg;

  int cellX(unsigned long c) const {
    return figure.metrics.namesWidth + static_cast<int>(c) * figure.metrics.cellWidth;
  }
  int rowY(std::size_t r) const { return figure.metrics.rulerHeight + static_cast<int>(r) * figure.metrics.cellHeight; }
  void rect(int x, int y, long width, int height, std::uint32_t fill) {
    svg << "<rect x=\"" << x << "\" y=\"" << y << "\" width=\"" << width << "\" height=\"" << height << "\" fill=\""
        << hexColour(fill) << "\"/>\n";
  }

  void ruler() {
    const Metrics& m = figure.metrics;
    svg << "<rect x=\"0\" y=\"0\" width=\"" << figure.width << "\" height=\"" << m.rulerHeight << "\" fill=\""
        << hexColour(kRulerBackground) << "\"/>\n<g font-size=\"" << m.textPixels << "\" text-anchor=\"middle\">\n";
    for (unsigned long c = 0; c < figure.columns.size(); ++c) {
      const unsigned long column = figure.firstColumn + c;
      if (!rulerNumberAt(column, figure.rulerStep)) continue;
      const int middle = cellX(c) + m.cellWidth / 2;
      svg << "<text x=\"" << middle << "\" y=\"" << m.textPixels + 1 << "\">" << column + 1 << "</text><path d=\"M"
          << middle << ' ' << m.rulerHeight - 6 << "v5\" stroke=\"#000000\"/>\n";
    }
    svg << "</g>\n";
  }

  // One rectangle per run of equal colour, one text element per row.
  void cells() {
    const Metrics& m = figure.metrics;
    for (std::size_t r = 0; r < figure.rows.size(); ++r) {
      const Row& row = figure.rows[r];
      const unsigned long width = row.text.size();
      for (unsigned long c = 0; c < width;) {
        const std::uint32_t fill = row.fills[c];
        unsigned long end = c + 1;
        if (row.text[c] != '-') {
          while (end < width && row.text[end] != '-' && row.fills[end] == fill) ++end;
          if (fill != kNoFill) rect(cellX(c), rowY(r), static_cast<long>(end - c) * m.cellWidth, m.cellHeight, fill);
        }
        c = end;
      }
      if (!figure.letters) continue;
      svg << "<g font-size=\"" << m.cellPixels << "\" text-anchor=\"middle\" dominant-baseline=\"central\">";
      for (unsigned long c = 0; c < width; ++c) {
        if (row.text[c] == '-') continue;
        svg << "<text x=\"" << cellX(c) + m.cellWidth / 2 << "\" y=\"" << rowY(r) + m.cellHeight / 2 << "\">"
            << xmlText(std::string(1, row.text[c])) << "</text>";
      }
      svg << "</g>\n";
    }
  }

  void names() {
    const Metrics& m = figure.metrics;
    svg << "<rect x=\"0\" y=\"" << m.rulerHeight << "\" width=\"" << m.namesWidth << "\" height=\""
        << static_cast<int>(figure.rows.size()) * m.cellHeight << "\" fill=\"" << hexColour(kNamesBackground)
        << "\"/>\n";
    if (!figure.names) return;
    svg << "<g font-size=\"" << m.namePixels << "\" dominant-baseline=\"central\">\n";
    for (std::size_t r = 0; r < figure.rows.size(); ++r) {
      svg << "<text x=\"" << m.namePadding << "\" y=\"" << rowY(r) + m.cellHeight / 2 << "\">"
          << xmlText(figure.rows[r].name) << "</text>\n";
    }
    svg << "</g>\n";
  }

  void bar(unsigned long c, const TrackPlace& place, int top, double share, std::uint32_t colour) {
    const int height = barHeight(share, place.height);
    if (height > 0)
      rect(cellX(c), top + place.top + place.height - 1 - height, figure.metrics.cellWidth, height, colour);
  }

  void annotations() {
    const Metrics& m = figure.metrics;
    if (m.annotationRow == 0) return;
    const int top = figure.height - annotationBandHeight(m.annotationRow, figure.confidence);
    const std::vector<TrackPlace> tracks = annotationTracks(m.annotationRow, figure.confidence);
    svg << "<g font-size=\"" << m.textPixels << "\" dominant-baseline=\"central\">\n";
    for (const TrackPlace& place : tracks) {
      svg << "<text x=\"" << m.namePadding << "\" y=\"" << top + place.top + place.height / 2 << "\">"
          << trackLabel(place.track) << "</text>\n";
    }
    svg << "</g>\n";
    for (unsigned long c = 0; c < figure.columns.size(); ++c) {
      const Column& column = figure.columns[c];
      if (column.consensus != '-') {
        svg << "<text x=\"" << cellX(c) + m.cellWidth / 2 << "\" y=\"" << top + tracks[0].height / 2
            << "\" font-size=\"" << m.cellPixels << "\" text-anchor=\"middle\" dominant-baseline=\"central\">"
            << column.consensus << "</text>\n";
      }
      bar(c, tracks[1], top, column.conserved, kConservationBar);
      bar(c, tracks[2], top, column.gaps, kGapBar);
      if (figure.confidence && column.confidence >= 0) bar(c, tracks[3], top, column.confidence, kConfidenceBar);
    }
  }
};

}  // namespace

std::string figureSvg(const Figure& figure) {
  Writer writer{figure, {}};
  writer.svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
             << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << figure.width << "\" height=\"" << figure.height
             << "\" viewBox=\"0 0 " << figure.width << ' ' << figure.height << "\" font-family=\"monospace\">\n"
             << "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
  writer.ruler();
  writer.cells();
  writer.names();
  writer.annotations();
  writer.svg << "</svg>\n";
  return writer.svg.str();
}

}  // namespace KARVO::figure
