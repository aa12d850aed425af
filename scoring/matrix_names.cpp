#include "scoring/matrix_names.h"

#include <cctype>
#include <charconv>

#include "scoring/scomat.h"

namespace ScoMat {
namespace {

char foldForMatrixName(char c) {
  if (c == '_') return ' ';
  return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}

bool sameMatrixName(std::string_view given, std::string_view name) {
  if (given.size() != name.size()) return false;
  for (std::size_t i = 0; i < given.size(); ++i) {
    if (foldForMatrixName(given[i]) != name[i]) return false;
  }
  return true;
}

}  // namespace

std::optional<int> findMatrix(std::string_view nameOrNumber) {
  unsigned long number = 0;
  const char* end = nameOrNumber.data() + nameOrNumber.size();
  const auto [stop, error] = std::from_chars(nameOrNumber.data(), end, number);
  if (!nameOrNumber.empty() && error == std::errc() && stop == end) {
    if (number < static_cast<unsigned long>(kMatrixCount)) return static_cast<int>(number);
    return std::nullopt;
  }
  for (int k = 0; k < kMatrixCount; ++k) {
    if (sameMatrixName(nameOrNumber, m_names[k])) return k;
  }
  return std::nullopt;
}

std::string matrixNameList() {
  std::string list;
  for (int k = 0; k < kMatrixCount; ++k) {
    if (k > 0) list += ", ";
    list += m_names[k];
  }
  return list;
}

std::string unknownMatrixMessage(std::string_view given) {
  return "unknown matrix '" + std::string(given) + "' (valid: " + matrixNameList() + ", or a number from 0 to " +
         std::to_string(kMatrixCount - 1) + ")";
}

}  // namespace ScoMat
