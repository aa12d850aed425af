// The colouring of residues by physico-chemical class.
#pragma once

#include <QColor>

namespace karvo_gui {

enum class ResidueClass { Hydrophobic, Acidic, Basic, Polar, GlycineProline, Other, Gap };

// Upper- or lower-case one-letter codes; '-', '.' and ' ' are gaps; other
// letters and symbols (B, Z, X, '*', ...) are Other.
ResidueClass residueClass(char code);

// The cell colour of a class; gaps have none (an invalid colour), they stay
// blank.
QColor residueClassColor(ResidueClass residueClass);

}  // namespace karvo_gui
