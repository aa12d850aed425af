// Text as SVG documents hold it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace KARVO {

// Text as it may stand in XML character data or an attribute value: the
// markup characters escaped, control characters as blanks.
std::string xmlText(std::string_view text);

// "#rrggbb" for a colour given as 0xRRGGBB.
std::string hexColour(std::uint32_t rgb);

// value with exactly decimals digits after the point, whatever the locale.
std::string fixedNumber(double value, int decimals);

}  // namespace KARVO
