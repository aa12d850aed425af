// Residue classes and their colours.
#include "app/gui/residue_colors.h"

#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <string>
#include <vector>

namespace karvo_gui {
namespace {

// Which amino acid goes in which class is the colour table itself; what can
// go wrong is a letter left out or a case treated differently.
TEST(ResidueClass, EveryAminoAcidHasAColouredClassInEitherCaseGapsAndOthersNot) {
  for (const char code : std::string("ACDEFGHIKLMNPQRSTVWY")) {
    EXPECT_NE(residueClass(code), ResidueClass::Gap) << code;
    EXPECT_NE(residueClass(code), ResidueClass::Other) << code;
    EXPECT_EQ(residueClass(static_cast<char>(std::tolower(code))), residueClass(code)) << code;
  }
  for (const char code : std::string("-. ")) EXPECT_EQ(residueClass(code), ResidueClass::Gap) << code;
  for (const char code : std::string("BZXUOJ*1")) EXPECT_EQ(residueClass(code), ResidueClass::Other) << code;
  EXPECT_EQ(residueClass('\0'), ResidueClass::Other);
}

TEST(ResidueColor, EveryResidueClassHasItsOwnColourAndGapsNone) {
  std::set<QRgb> colours;
  for (ResidueClass c : {ResidueClass::Hydrophobic, ResidueClass::Acidic, ResidueClass::Basic, ResidueClass::Polar,
                         ResidueClass::GlycineProline, ResidueClass::Other}) {
    ASSERT_TRUE(residueClassColor(c).isValid());
    colours.insert(residueClassColor(c).rgb());
  }
  EXPECT_EQ(colours.size(), 6u);
  EXPECT_FALSE(residueClassColor(ResidueClass::Gap).isValid());
}

TEST(ColumnColours, ConservationNeedsTheColumnToPassItsThreshold) {
  // Column 0: 7 L, 3 A (all hydrophobic); column 1: K in 6 of 10 (60 % is not
  // more than 60 %); column 2: K in 7 of 10; column 3: gaps in 4 of 10.
  std::vector<std::string> rows(10, "LKK-");
  for (int r = 7; r < 10; ++r) rows[static_cast<std::size_t>(r)] = "ASS-";
  rows[6][1] = 'S';
  for (int r = 0; r < 6; ++r) rows[static_cast<std::size_t>(r)][3] = 'G';
  const std::vector<ColumnStats> stats = columnStats(rows);
  ASSERT_EQ(stats.size(), 4u);
  EXPECT_EQ(stats[0].consensus, 'L');
  EXPECT_EQ(stats[0].consensusCount, 7u);
  EXPECT_EQ(stats[3].gaps, 4u);
  const auto colour = [&](char code, int column) {
    return cellColourIndex(ColourScheme::Conservation, code, stats[static_cast<std::size_t>(column)], 10);
  };
  EXPECT_NE(colour('A', 0), 0);
  EXPECT_EQ(colour('A', 0), colour('L', 0));
  EXPECT_EQ(colour('K', 1), 0);
  EXPECT_NE(colour('K', 2), 0);
  EXPECT_NE(colour('G', 3), 0);  // glycine always
  // Identity to the consensus: only the consensus residue, shaded by how many share it.
  EXPECT_EQ(cellColourIndex(ColourScheme::Identity, 'A', stats[0], 10), 0);
  EXPECT_NE(cellColourIndex(ColourScheme::Identity, 'L', stats[0], 10),
            cellColourIndex(ColourScheme::Identity, 'K', stats[2], 10) + 5);
  EXPECT_NE(cellColourIndex(ColourScheme::Hydrophobicity, 'I', {}, 10),
            cellColourIndex(ColourScheme::Hydrophobicity, 'R', {}, 10));
  EXPECT_EQ(cellColourIndex(ColourScheme::None, 'I', {}, 10), 0);
  for (const std::string& name : colourSchemeNames()) EXPECT_EQ(colourSchemeName(*colourSchemeFromName(name)), name);
  EXPECT_FALSE(colourSchemeFromName("rainbow"));
}

}  // namespace
}  // namespace karvo_gui
