#include "app/gui/residue_colors.h"

#include <string_view>

namespace karvo_gui {

ResidueClass residueClass(char code) {
  const auto in = [code](std::string_view letters) {
    const char upper = (code >= 'a' && code <= 'z') ? static_cast<char>(code - 'a' + 'A') : code;
    return letters.find(upper) != std::string_view::npos;
  };
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

}  // namespace karvo_gui
