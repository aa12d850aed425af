// karvo: the command-line host of the Zemtra plug-in. Each subcommand lives
// in its own file and the whole command line in command_line.cpp; main only
// dispatches.
#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>

#include "app/align_options.h"
#include "app/command_line.h"
#include "app/completion.h"
#include "app/exit_status.h"
#include "app/gui/gui_launch.h"
#include "app/man_page.h"

namespace {

using karvo_app::CommandLine;

bool isCommand(const CommandLine& commandLine, std::string_view word) {
  for (const std::string_view name : karvo_app::commandNames(commandLine.app)) {
    if (name == word) return true;
  }
  return false;
}

// `karvo FILE` opens FILE in the window.
bool isBareFile(const CommandLine& commandLine, int argc, char** argv) {
  if (argc != 2) return false;
  const std::string arg = argv[1];
  std::error_code error;
  return !arg.empty() && arg[0] != '-' && !isCommand(commandLine, arg) && std::filesystem::is_regular_file(arg, error);
}

// The first word when it is neither an option nor a command.
std::optional<std::string> unknownCommand(const CommandLine& commandLine, int argc, char** argv) {
  if (argc < 2) return std::nullopt;
  const std::string word = argv[1];
  if (word.empty() || word[0] == '-' || isCommand(commandLine, word)) return std::nullopt;
  return word;
}

// The build's hidden requests: `karvo --man-page [COMMAND]` writes a manual
// page, `karvo --bash-completion` the completion script, to standard output.
std::optional<int> writeGenerated(const CommandLine& commandLine, int argc, char** argv) {
  if (argc < 2) return std::nullopt;
  const std::string request = argv[1];
  if (request == "--bash-completion" && argc == 2) {
    std::cout << karvo_app::bashCompletion(commandLine.app);
    return karvo_app::kExitOk;
  }
  if (request != "--man-page" || argc > 3) return std::nullopt;
  const std::string command = argc == 3 ? argv[2] : "";
  const auto page = karvo_app::manPage(commandLine.app, command, KARVO_VERSION);
  if (!page) {
    std::cerr << "karvo: --man-page: no command '" << command << "'\n";
    return karvo_app::kExitUsage;
  }
  std::cout << *page;
  return karvo_app::kExitOk;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace karvo_app;
  CommandLine commandLine(KARVO_VERSION);
  if (isBareFile(commandLine, argc, argv)) {
    karvo_gui::GuiOptions options;
    options.file = argv[1];
    return karvo_gui::launchGui(options);
  }
  if (const auto status = writeGenerated(commandLine, argc, argv)) return *status;
  if (const auto word = unknownCommand(commandLine, argc, argv)) {
    std::cerr << "karvo: " << unknownCommandMessage(*word, commandNames(commandLine.app)) << '\n';
    return kExitUsage;
  }
  CLI::App& app = commandLine.app;
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

  if (commandLine.alignCommand->parsed()) return runAlign(commandLine.align);
  if (commandLine.matricesCommand->parsed()) return runMatrices(commandLine.matrices);
  if (commandLine.guiCommand->parsed()) return karvo_gui::launchGui(commandLine.gui.parsed());
  return kExitUsage;
}
