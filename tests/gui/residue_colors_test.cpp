// Residue classes and their colours.
#include "app/gui/residue_colors.h"

#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <string>

namespace karvo_gui {
namespace {

TEST(ResidueClass, SortsTheTwentyAminoAcidsInEitherCase) {
  const std::pair<const char*, ResidueClass> classes[] = {{"AVLIMFWC", ResidueClass::Hydrophobic},
                                                          {"DE", ResidueClass::Acidic},
                                                          {"KRH", ResidueClass::Basic},
                                                          {"STNQY", ResidueClass::Polar},
                                                          {"GP", ResidueClass::GlycineProline}};
  for (const auto& [letters, expected] : classes) {
    for (const char code : std::string(letters)) {
      EXPECT_EQ(residueClass(code), expected) << code;
      EXPECT_EQ(residueClass(static_cast<char>(std::tolower(code))), expected) << code;
    }
  }
}

TEST(ResidueClass, GapsAndUnusualCodes) {
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
