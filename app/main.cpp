// karvo: the command-line host of the Zemtra plug-in. Each subcommand lives
// in its own file; main only dispatches.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

#include "app/align_command.h"
#include "app/align_options.h"
#include "app/exit_status.h"
#include "app/gui/gui_launch.h"
#include "app/matrices_command.h"

namespace {

constexpr std::array<std::string_view, 3> kCommands{"align", "matrices", "gui"};

bool isCommand(std::string_view word) { return std::find(kCommands.begin(), kCommands.end(), word) != kCommands.end(); }

// `karvo FILE` opens FILE in the window.
bool isBareFile(int argc, char** argv) {
  if (argc != 2) return false;
  const std::string arg = argv[1];
  std::error_code error;
  return !arg.empty() && arg[0] != '-' && !isCommand(arg) && std::filesystem::is_regular_file(arg, error);
}

// The first word when it is neither an option nor a command.
std::optional<std::string> unknownCommand(int argc, char** argv) {
  if (argc < 2) return std::nullopt;
  const std::string word = argv[1];
  if (word.empty() || word[0] == '-' || isCommand(word)) return std::nullopt;
  return word;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace karvo_app;
  if (isBareFile(argc, argv)) {
    karvo_gui::GuiOptions options;
    options.file = argv[1];
    return karvo_gui::launchGui(options);
  }
  if (const auto word = unknownCommand(argc, argv)) {
    std::cerr << "karvo: " << unknownCommandMessage(*word, {kCommands.begin(), kCommands.end()}) << '\n';
    return kExitUsage;
  }
  CLI::App app("Re-aligns protein sequences with the Zemtra plug-in.", "karvo");
  app.set_version_flag("--version", "karvo " KARVO_VERSION);
  app.require_subcommand(1);
  app.footer(kExitStatusHelp);

  AlignOptions alignOptions;
  const CLI::App* align = addAlignCommand(app, alignOptions);
  MatricesOptions matricesOptions;
  const CLI::App* matrices = addMatricesCommand(app, matricesOptions);

  karvo_gui::GuiOptions guiOptions;
  std::string guiFile, guiSelect, guiScreenshot;
  CLI::App* gui = app.add_subcommand("gui", "Opens the desktop window.");
  gui->add_option("file", guiFile, "Alignment to open");
  gui->add_option("--select", guiSelect, "Columns FIRST:LAST to select (1-based, inclusive)")
      ->check(
          [](const std::string& text) { return parseColumnRange(text) ? std::string() : columnRangeProblem(text); });
  gui->add_option("--screenshot", guiScreenshot, "Write a PNG picture of the window and exit");
  gui->add_flag("--run", guiOptions.run,
                "Run the plug-in first with the dialog's defaults, on the selection or else on all columns");
  gui->add_option("--plugin-dir", guiOptions.pluginDir, "Look for plug-ins only in this folder");
  gui->add_flag("--verbose", guiOptions.verbose, "Show the plug-in's diagnostic messages");

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& request) {
    return app.exit(request);
  } catch (const CLI::CallForAllHelp& request) {
    return app.exit(request);
  } catch (const CLI::CallForVersion& request) {
    return app.exit(request);
  } catch (const CLI::ParseError& error) {
    std::cerr << "karvo: " << error.what() << " (see karvo --help)\n";
    return kExitUsage;
  }

  if (align->parsed()) return runAlign(alignOptions);
  if (matrices->parsed()) return runMatrices(matricesOptions);
  if (gui->parsed()) {
    if (!guiFile.empty()) guiOptions.file = guiFile;
    if (!guiSelect.empty()) guiOptions.select = parseColumnRange(guiSelect);
    if (!guiScreenshot.empty()) guiOptions.screenshot = guiScreenshot;
    return karvo_gui::launchGui(guiOptions);
  }
  return kExitUsage;
}
