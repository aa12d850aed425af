// Finding a built-in matrix by what a user types: its name, the published
// name of the matrix it rescales, or its number; and what each matrix is.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ScoMat {

// A matrix name or alias (any case; '_' may stand for a blank) or a matrix
// number 0 to 14; nullopt when none matches.
std::optional<int> findMatrix(std::string_view nameOrNumber);

// The published names of matrix matNo where its table is that published
// matrix rescaled (HENIKOFF: BLOSUM62); empty for the others.
const std::vector<std::string_view>& matrixAliases(int matNo);

// One line on matrix matNo: its source and how the published scores s (or
// distances d) were scaled, e.g. "Henikoff & Henikoff 1992, BLOSUM62
// (-4 to 11); round(100*(s+4)/15)".
std::string_view matrixDescription(int matNo);

// "STRMAT110, DAYHOFF, ..., TEST MATRIX", for messages.
std::string matrixNameList();

// The one-line refusal of a name or number that findMatrix does not know.
std::string unknownMatrixMessage(std::string_view given);

}  // namespace ScoMat
