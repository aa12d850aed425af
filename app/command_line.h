// The karvo command line as one CLI11 application: every subcommand and
// option defined once, for parsing, for --help, for the manual pages and for
// the shell completion.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "app/align_command.h"
#include "app/gui/gui_main.h"
#include "app/matrices_command.h"

namespace karvo_app {

inline constexpr std::string_view kProgramName = "karvo";

// The gui command's option texts, turned into the window's options once
// parsed.
struct GuiCommandOptions {
  std::string file, select, screenshot, exportImage, colour;
  karvo_gui::GuiOptions window;
  karvo_gui::GuiOptions parsed() const;
};

// The application with its subcommands, bound to the option values it
// fills. Options point into it, so it stays where it was made.
class CommandLine {
 public:
  explicit CommandLine(const std::string& version);
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  CLI::App app;
  AlignOptions align;
  MatricesOptions matrices;
  GuiCommandOptions gui;
  CLI::App* alignCommand = nullptr;
  CLI::App* matricesCommand = nullptr;
  CLI::App* guiCommand = nullptr;
};

// The subcommands' names, in the order of --help.
std::vector<std::string_view> commandNames(const CLI::App& app);

}  // namespace karvo_app
