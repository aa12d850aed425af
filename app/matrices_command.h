// "karvo matrices": the built-in substitution matrices, listed or printed.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace karvo_app {

struct MatricesOptions {
  std::string matrix;  // empty: list them all
};

CLI::App* addMatricesCommand(CLI::App& parent, MatricesOptions& options);
int runMatrices(const MatricesOptions& options);

// One line per matrix: its number, right-aligned in two places, its name,
// the range of its scores, its source and scale, and its aliases.
std::string matrixListText();

// The matrix as a table over the twenty residues A C D E F G H I K L M N P Q
// R S T V W Y, headed by its name and number.
std::string matrixTableText(int matNo);

}  // namespace karvo_app
