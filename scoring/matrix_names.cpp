#include "scoring/matrix_names.h"

#include <array>
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

struct MatrixAbout {
  std::vector<std::string_view> aliases;
  std::string_view description;
};

// Aliases only where the table is the published matrix rescaled exactly;
// GRANTHAM and LEVIN each differ from theirs in one entry.
const std::array<MatrixAbout, kMatrixCount>& aboutMatrices() {
  static const std::array<MatrixAbout, kMatrixCount> about{{
      {{}, "structure-based table of unidentified source; as given"},
      {{"PAM250"}, "Dayhoff, Schwartz & Orcutt 1978, PAM250 log-odds (Atlas Fig. 84); 4*(s+8)"},
      {{}, "Feng, Johnson & Doolittle 1985, structure-genetic matrix (0 to 6); round(100*s/6)"},
      {{}, "Fitch 1966, fewest nucleotide changes d between codons (0 to 3); 100 on the diagonal, else 25*(3-d)"},
      {{}, "Grantham 1974, chemical distance d (5 to 215); 100 on the diagonal, else round(100*(215-d)/215), I/L 95"},
      {{}, "Levin, Robson & Garnier 1986 (-1 to 3); 25*(s+1), A/A 50"},
      {{}, "McLachlan 1971 (0 to 9); round(100*s/9)"},
      {{},
       "Miyata, Miyazawa & Yasunaga 1979, distance d (0.06 to 5.13); 100 on the diagonal, else "
       "round(100*(5.13-d)/5.07)"},
      {{"EMPAR"}, "Mohana Rao 1987, EMPAR (2 to 16); round(100*(s-2)/14)"},
      {{}, "Risler, Delorme, Delacroix & Henaut 1988 (-1.8 to 2.2); round(100*(s+1.8)/4)"},
      {{"GONNET1992"}, "Gonnet, Cohen & Benner 1992 (-5.2 to 14.2); round(100*(s+5.2)/19.4)"},
      {{"BLOSUM62"}, "Henikoff & Henikoff 1992, BLOSUM62 (-4 to 11); round(100*(s+4)/15)"},
      {{"PET91"}, "Jones, Taylor & Thornton 1992, PET91 at 250 PAM (-0.5 to 1.5); 5*(10*s+5)"},
      {{}, "Dayhoff model at 120 PAM as distributed with BLAST (scale ln(2)/2); 5*(s+8)"},
      {{}, "synthetic test matrix: off the diagonal 4*s-1 from the PAM250 scores of DAYHOFF, A/V 30"},
  }};
  return about;
}

}  // namespace

const std::vector<std::string_view>& matrixAliases(int matNo) {
  return aboutMatrices().at(static_cast<std::size_t>(matNo)).aliases;
}

std::string_view matrixDescription(int matNo) {
  return aboutMatrices().at(static_cast<std::size_t>(matNo)).description;
}

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
    for (const std::string_view alias : matrixAliases(k)) {
      if (sameMatrixName(nameOrNumber, alias)) return k;
    }
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
  std::string aliases;
  for (int k = 0; k < kMatrixCount; ++k) {
    for (const std::string_view alias : matrixAliases(k)) {
      aliases += (aliases.empty() ? "" : ", ") + std::string(alias) + " = " + m_names[k];
    }
  }
  return "unknown matrix '" + std::string(given) + "' (valid: " + matrixNameList() + "; also " + aliases +
         "; or a number from 0 to " + std::to_string(kMatrixCount - 1) + ")";
}

}  // namespace ScoMat
