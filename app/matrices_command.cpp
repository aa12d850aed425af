#include "app/matrices_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>
#include <iostream>

#include "app/align_options.h"
#include "app/exit_status.h"
#include "scoring/matrix_names.h"
#include "scoring/scomat.h"

namespace karvo_app {
namespace {

constexpr std::string_view kResidues = "ACDEFGHIKLMNPQRSTVWY";

std::string rightAligned(const std::string& text, std::size_t width) {
  return std::string(width > text.size() ? width - text.size() : 0, ' ') + text;
}

}  // namespace

std::string matrixListText() {
  std::size_t nameWidth = 0;
  for (int k = 0; k < ScoMat::kMatrixCount; ++k) nameWidth = std::max(nameWidth, std::strlen(ScoMat::m_names[k]));
  std::string text;
  for (int k = 0; k < ScoMat::kMatrixCount; ++k) {
    int low = ScoMat::pairScore(k, 'A', 'A');
    int high = low;
    for (const char a : kResidues) {
      for (const char b : kResidues) {
        low = std::min(low, ScoMat::pairScore(k, a, b));
        high = std::max(high, ScoMat::pairScore(k, a, b));
      }
    }
    const std::string name = ScoMat::m_names[k];
    text += rightAligned(std::to_string(k), 2) + "  " + name + std::string(nameWidth - name.size(), ' ') + "  " +
            rightAligned(std::to_string(low), 3) + " to " + rightAligned(std::to_string(high), 3) + "  " +
            std::string(ScoMat::matrixDescription(k));
    for (const std::string_view alias : ScoMat::matrixAliases(k)) text += "; also " + std::string(alias);
    text += '\n';
  }
  return text;
}

std::string matrixTableText(int matNo) {
  std::size_t width = 2;
  for (const char a : kResidues) {
    for (const char b : kResidues) width = std::max(width, std::to_string(ScoMat::pairScore(matNo, a, b)).size());
  }
  width += 1;
  std::string text = std::string(ScoMat::m_names[matNo]) + " (matrix " + std::to_string(matNo) + ")\n ";
  for (const char b : kResidues) text += rightAligned(std::string(1, b), width);
  text += '\n';
  for (const char a : kResidues) {
    text += a;
    for (const char b : kResidues) text += rightAligned(std::to_string(ScoMat::pairScore(matNo, a, b)), width);
    text += '\n';
  }
  return text;
}

CLI::App* addMatricesCommand(CLI::App& parent, MatricesOptions& options) {
  CLI::App* command = parent.add_subcommand("matrices", "List the substitution matrices, or print one");
  command->add_option("matrix", options.matrix, "Name (any case) or number of the matrix to print");
  command->footer(kExitStatusHelp);
  return command;
}

int runMatrices(const MatricesOptions& options) {
  if (options.matrix.empty()) {
    std::cout << matrixListText();
    return kExitOk;
  }
  const auto matNo = ScoMat::findMatrix(options.matrix);
  if (!matNo) {
    std::cerr << "karvo: " << ScoMat::unknownMatrixMessage(options.matrix) << '\n';
    return kExitUsage;
  }
  std::cout << matrixTableText(*matNo);
  return kExitOk;
}

}  // namespace karvo_app
