// Residue classes and their colours.
#include "app/gui/residue_colors.h"

#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <string>

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

}  // namespace
}  // namespace karvo_gui
