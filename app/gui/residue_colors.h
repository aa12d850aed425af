// The colouring of residues: by physico-chemical class, by column
// conservation with the usual residue groups and thresholds, by identity to
// the column's consensus, by hydrophobicity, by the confidence of the last
// consistency run in the column, or none. Colours that depend on
// the column come from statistics computed once per change of the alignment.
#pragma once

#include <QColor>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/gui/view_geometry.h"

namespace karvo_gui {

enum class ResidueClass { Hydrophobic, Acidic, Basic, Polar, GlycineProline, Other, Gap };

// Upper- or lower-case one-letter codes; '-', '.' and ' ' are gaps; other
// letters and symbols (B, Z, X, '*', ...) are Other.
ResidueClass residueClass(char code);

// The cell colour of a class; gaps have none (an invalid colour), they stay
// blank.
QColor residueClassColor(ResidueClass residueClass);

// What the colouring and the annotation rows need to know of one column.
struct ColumnStats {
  char consensus = '-';            // most frequent residue (upper case, first in A-Z on ties); '-' all gaps
  unsigned consensusCount = 0;     // sequences with the consensus residue
  unsigned gaps = 0;               // sequences with a gap
  unsigned short clustalSets = 0;  // bit i: residue set i of the conservation colouring passes its threshold
  float confidence = -1.0f;        // from the last consistency run, in [0, 1]; below 0: none
};

// One entry per column of the rows (text rows of equal width, '-' gaps).
std::vector<ColumnStats> columnStats(const std::vector<std::string>& rows);

enum class ColourScheme { ResidueClass, Conservation, Identity, Hydrophobicity, None, Confidence };

// By the names of colourSchemeNames() (view_geometry.h), in that order.
std::optional<ColourScheme> colourSchemeFromName(std::string_view name);
std::string colourSchemeName(ColourScheme scheme);

// Cell colours are small palette indices so that painting can keep one
// pre-drawn cell per index and letter; 0 is no colour (the background).
inline constexpr int kPaletteSize = 40;
unsigned char cellColourIndex(ColourScheme scheme, char code, const ColumnStats& column, unsigned long sequences);
QColor paletteColour(unsigned char index);

}  // namespace karvo_gui
