// Residue classes and their colours.
#include "app/gui/residue_colors.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace karvo_gui {
namespace {

void expectClass(const std::string& letters, ResidueClass expected) {
  for (char code : letters) EXPECT_EQ(residueClass(code), expected) << "'" << code << "'";
}

TEST(ResidueClass, SortsTheTwentyAminoAcids) {
  expectClass("AVLIMFWC", ResidueClass::Hydrophobic);
  expectClass("DE", ResidueClass::Acidic);
  expectClass("KRH", ResidueClass::Basic);
  expectClass("STNQY", ResidueClass::Polar);
  expectClass("GP", ResidueClass::GlycineProline);
}

TEST(ResidueClass, IgnoresCase) {
  expectClass("avlimfwc", ResidueClass::Hydrophobic);
  expectClass("de", ResidueClass::Acidic);
  expectClass("krh", ResidueClass::Basic);
  expectClass("stnqy", ResidueClass::Polar);
  expectClass("gp", ResidueClass::GlycineProline);
}

TEST(ResidueClass, GapsAndUnusualCodes) {
  expectClass("-. ", ResidueClass::Gap);
  expectClass("BZXUOJ*1", ResidueClass::Other);
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
