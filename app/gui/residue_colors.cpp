#include "app/gui/residue_colors.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "app/gui/run_results.h"

namespace karvo_gui {

namespace {

char upperCase(char code) { return (code >= 'a' && code <= 'z') ? static_cast<char>(code - 'a' + 'A') : code; }

// The residue sets of the conservation colouring: a set passes in a column
// when more than percent of the column's sequences (gaps count against it)
// carry one of its residues.
struct ResidueSet {
  int percent;
  std::string_view residues;
};
constexpr std::array<ResidueSet, 13> kSets{{
    {60, "WLVIMAFCHP"},    // 0 hydrophobic
    {60, "KR"},            // 1
    {85, "KRQ"},           // 2
    {50, "QE"},            // 3
    {50, "ED"},            // 4
    {85, "EQD"},           // 5
    {50, "N"},             // 6
    {85, "NY"},            // 7
    {85, "QEKR"},          // 8
    {50, "TS"},            // 9
    {85, "ST"},            // 10
    {85, "C"},             // 11
    {85, "WYACPQFHILMV"},  // 12
}};

constexpr unsigned short sets(std::initializer_list<int> indices) {
  unsigned short mask = 0;
  for (int i : indices) mask = static_cast<unsigned short>(mask | (1u << i));
  return mask;
}

// Palette: 1-6 residue classes, 7-14 conservation colours, 15-17 identity
// shades, 18-28 hydrophobicity from most hydrophilic to most hydrophobic,
// 29-38 confidence from least to most confident.
enum : unsigned char {
  kBlue = 7,
  kRed,
  kMagenta,
  kGreen,
  kPink,
  kOrange,
  kYellow,
  kCyan,
  kIdentityHigh,
  kIdentityMiddle,
  kIdentityLow,
  kHydroFirst
};
constexpr int kHydroSteps = 11;
constexpr int kConfidenceFirst = kHydroFirst + kHydroSteps;
constexpr int kConfidenceSteps = 10;
static_assert(kConfidenceFirst + kConfidenceSteps <= kPaletteSize);

int mix(int from, int to, double share) { return static_cast<int>(std::lround(from + (to - from) * share)); }

unsigned char conservationColour(char code, const ColumnStats& column) {
  const auto passes = [&column](unsigned short mask) { return (column.clustalSets & mask) != 0; };
  switch (upperCase(code)) {
    case 'A':
    case 'I':
    case 'L':
    case 'M':
    case 'F':
    case 'W':
    case 'V':
      return passes(sets({0})) ? kBlue : 0;
    case 'C':
      if (passes(sets({11}))) return kPink;
      return passes(sets({0})) ? kBlue : 0;
    case 'K':
    case 'R':
      return passes(sets({1, 2})) ? kRed : 0;
    case 'E':
      return passes(sets({1, 3, 4, 5})) ? kMagenta : 0;
    case 'D':
      return passes(sets({1, 2, 4})) ? kMagenta : 0;
    case 'N':
      return passes(sets({6, 7})) ? kGreen : 0;
    case 'Q':
      return passes(sets({1, 3, 8})) ? kGreen : 0;
    case 'S':
    case 'T':
      return passes(sets({0, 9, 10})) ? kGreen : 0;
    case 'G':
      return kOrange;
    case 'P':
      return kYellow;
    case 'H':
    case 'Y':
      return passes(sets({0, 12})) ? kCyan : 0;
    default:
      return 0;
  }
}

// Kyte and Doolittle's hydropathy index; 0 for letters it does not rate.
double hydropathy(char code) {
  switch (upperCase(code)) {
    case 'I':
      return 4.5;
    case 'V':
      return 4.2;
    case 'L':
      return 3.8;
    case 'F':
      return 2.8;
    case 'C':
      return 2.5;
    case 'M':
      return 1.9;
    case 'A':
      return 1.8;
    case 'G':
      return -0.4;
    case 'T':
      return -0.7;
    case 'S':
      return -0.8;
    case 'W':
      return -0.9;
    case 'Y':
      return -1.3;
    case 'P':
      return -1.6;
    case 'H':
      return -3.2;
    case 'E':
    case 'Q':
    case 'D':
    case 'N':
      return -3.5;
    case 'K':
      return -3.9;
    case 'R':
      return -4.5;
    default:
      return 0.0;
  }
}

}  // namespace

ResidueClass residueClass(char code) {
  const auto in = [code](std::string_view letters) { return letters.find(upperCase(code)) != std::string_view::npos; };
  if (in("AVLIMFWC")) return ResidueClass::Hydrophobic;
  if (in("DE")) return ResidueClass::Acidic;
  if (in("KRH")) return ResidueClass::Basic;
  if (in("STNQY")) return ResidueClass::Polar;
  if (in("GP")) return ResidueClass::GlycineProline;
  if (in("-. ")) return ResidueClass::Gap;
  return ResidueClass::Other;
}

QColor residueClassColor(ResidueClass residueClass) {
  // Light tints, so that the black letters on them stay readable.
  switch (residueClass) {
    case ResidueClass::Hydrophobic:
      return QColor(0x9f, 0xc3, 0xf5);
    case ResidueClass::Acidic:
      return QColor(0xf5, 0x9a, 0x9a);
    case ResidueClass::Basic:
      return QColor(0xd4, 0xa8, 0xf0);
    case ResidueClass::Polar:
      return QColor(0xa8, 0xe0, 0xa0);
    case ResidueClass::GlycineProline:
      return QColor(0xf8, 0xcf, 0x80);
    case ResidueClass::Other:
      return QColor(0xd8, 0xd8, 0xd8);
    case ResidueClass::Gap:
      break;
  }
  return QColor();
}

std::vector<ColumnStats> columnStats(const std::vector<std::string>& rows) {
  const std::size_t width = rows.empty() ? 0 : rows.front().size();
  constexpr std::size_t kSlots = 28;  // A-Z, gap, anything else
  std::vector<unsigned> counts(width * kSlots, 0);
  for (const std::string& row : rows) {
    unsigned* slot = counts.data();
    for (std::size_t c = 0; c < width; ++c, slot += kSlots) {
      const char code = upperCase(row[c]);
      ++slot[code >= 'A' && code <= 'Z' ? static_cast<std::size_t>(code - 'A') : (code == '-' ? 26 : 27)];
    }
  }
  const unsigned long sequences = rows.size();
  std::vector<ColumnStats> stats(width);
  for (std::size_t c = 0; c < width; ++c) {
    const unsigned* slot = counts.data() + c * kSlots;
    ColumnStats& column = stats[c];
    column.gaps = slot[26];
    for (int letter = 0; letter < 26; ++letter) {
      if (slot[letter] > column.consensusCount) {
        column.consensusCount = slot[letter];
        column.consensus = static_cast<char>('A' + letter);
      }
    }
    for (std::size_t s = 0; s < kSets.size(); ++s) {
      unsigned long inSet = 0;
      for (char residue : kSets[s].residues) inSet += slot[residue - 'A'];
      if (inSet * 100 > static_cast<unsigned long>(kSets[s].percent) * sequences) {
        column.clustalSets = static_cast<unsigned short>(column.clustalSets | (1u << s));
      }
    }
  }
  return stats;
}

std::optional<ColourScheme> colourSchemeFromName(std::string_view name) {
  const auto& names = colourSchemeNames();
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) return std::nullopt;
  return static_cast<ColourScheme>(found - names.begin());
}

std::string colourSchemeName(ColourScheme scheme) { return colourSchemeNames()[static_cast<std::size_t>(scheme)]; }

unsigned char cellColourIndex(ColourScheme scheme, char code, const ColumnStats& column, unsigned long sequences) {
  const ResidueClass kind = residueClass(code);
  if (kind == ResidueClass::Gap) return 0;
  switch (scheme) {
    case ColourScheme::ResidueClass:
      return static_cast<unsigned char>(1 + static_cast<int>(kind));
    case ColourScheme::Conservation:
      return conservationColour(code, column);
    case ColourScheme::Identity: {
      if (upperCase(code) != column.consensus || sequences == 0) return 0;
      const unsigned long percent = 100UL * column.consensusCount;
      if (percent > 80 * sequences) return kIdentityHigh;
      if (percent > 60 * sequences) return kIdentityMiddle;
      if (percent > 40 * sequences) return kIdentityLow;
      return 0;
    }
    case ColourScheme::Hydrophobicity: {
      const double scaled = (hydropathy(code) + 4.5) / 9.0 * (kHydroSteps - 1);
      return static_cast<unsigned char>(kHydroFirst + std::lround(std::clamp(scaled, 0.0, kHydroSteps - 1.0)));
    }
    case ColourScheme::Confidence: {
      const int step = confidenceStep(column.confidence, kConfidenceSteps);
      return step < 0 ? 0 : static_cast<unsigned char>(kConfidenceFirst + step);
    }
    case ColourScheme::None:
      return 0;
  }
  return 0;
}

QColor paletteColour(unsigned char index) {
  if (index >= 1 && index <= 6) return residueClassColor(static_cast<ResidueClass>(index - 1));
  switch (index) {
    case kBlue:
      return QColor(0x80, 0xa0, 0xf0);
    case kRed:
      return QColor(0xf0, 0x15, 0x05);
    case kMagenta:
      return QColor(0xc0, 0x48, 0xc0);
    case kGreen:
      return QColor(0x15, 0xc0, 0x15);
    case kPink:
      return QColor(0xf0, 0x80, 0x80);
    case kOrange:
      return QColor(0xf0, 0x90, 0x48);
    case kYellow:
      return QColor(0xc0, 0xc0, 0x00);
    case kCyan:
      return QColor(0x15, 0xa4, 0xa4);
    case kIdentityHigh:
      return QColor(0x64, 0x64, 0xff);
    case kIdentityMiddle:
      return QColor(0x99, 0x99, 0xff);
    case kIdentityLow:
      return QColor(0xcc, 0xcc, 0xff);
    default:
      break;
  }
  if (index >= kHydroFirst && index < kHydroFirst + kHydroSteps) {
    // Blue (hydrophilic) through white to red (hydrophobic).
    const double t = static_cast<double>(index - kHydroFirst) / (kHydroSteps - 1);
    if (t < 0.5) return QColor(mix(0x60, 0xff, t * 2), mix(0x80, 0xff, t * 2), 0xff);
    return QColor(0xff, mix(0xff, 0x60, (t - 0.5) * 2), mix(0xff, 0x60, (t - 0.5) * 2));
  }
  if (index >= kConfidenceFirst && index < kConfidenceFirst + kConfidenceSteps) {
    // Pale red (least confident) to green (most).
    const double t = static_cast<double>(index - kConfidenceFirst) / (kConfidenceSteps - 1);
    return QColor(mix(0xf6, 0x5c, t), mix(0xc4, 0xc0, t), mix(0xb8, 0x80, t));
  }
  return QColor();
}

}  // namespace karvo_gui
