// Finding a built-in matrix by what a user types: its name or its number.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ScoMat {

// A matrix name (any case; '_' may stand for a blank) or a matrix number
// 0 to 14; nullopt when neither matches.
std::optional<int> findMatrix(std::string_view nameOrNumber);

// "STRMAT110, DAYHOFF, ..., TEST MATRIX", for messages.
std::string matrixNameList();

// The one-line refusal of a name or number that findMatrix does not know.
std::string unknownMatrixMessage(std::string_view given);

}  // namespace ScoMat
