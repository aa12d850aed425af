#include "draw/svg_text.h"

#include <charconv>
#include <cstdio>

namespace KARVO {

std::string xmlText(std::string_view text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        // Control characters are not allowed in XML text.
        out += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
  }
  return out;
}

std::string hexColour(std::uint32_t rgb) {
  char text[8];
  std::snprintf(text, sizeof text, "#%06x", static_cast<unsigned>(rgb & 0xffffffu));
  return text;
}

std::string fixedNumber(double value, int decimals) {
  char buffer[512];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
  return std::string(buffer, result.ptr);
}

}  // namespace KARVO
