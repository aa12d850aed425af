#include "app/command_line.h"

#include "app/align_options.h"
#include "app/exit_status.h"
#include "app/gui/gui_launch.h"

namespace karvo_app {
namespace {

CLI::App* addGuiCommand(CLI::App& parent, GuiCommandOptions& options) {
  CLI::App* gui = parent.add_subcommand("gui", "Opens the desktop window.");
  gui->add_option("file", options.file, "Alignment to open");
  gui->add_option("--select", options.select, "Columns FIRST:LAST to select (1-based, inclusive)")
      ->type_name("FIRST:LAST")
      ->check(
          [](const std::string& text) { return parseColumnRange(text) ? std::string() : columnRangeProblem(text); });
  gui->add_option("--screenshot", options.screenshot, "Write a PNG picture of the window and exit")->type_name("FILE");
  gui->add_option("--export-image", options.exportImage,
                  "Write a picture of the alignment (.png or .svg; the --select columns) and exit; needs no display")
      ->type_name("FILE");
  gui->add_option("--colour", options.colour, "Colour scheme")->check(CLI::IsMember(karvo_gui::colourSchemeNames()));
  gui->add_flag("--run", options.window.run,
                "Run the plug-in first with the dialog's defaults, on the selection or else on all columns");
  gui->add_option("--plugin-dir", options.window.pluginDir, "Look for plug-ins only in this folder")->type_name("DIR");
  gui->add_flag("--verbose", options.window.verbose, "Show the plug-in's diagnostic messages");
  return gui;
}

}  // namespace

karvo_gui::GuiOptions GuiCommandOptions::parsed() const {
  karvo_gui::GuiOptions result = window;
  if (!file.empty()) result.file = file;
  if (!select.empty()) result.select = parseColumnRange(select);
  if (!screenshot.empty()) result.screenshot = screenshot;
  if (!exportImage.empty()) result.exportImage = exportImage;
  if (!colour.empty()) result.colour = colour;
  return result;
}

CommandLine::CommandLine(const std::string& version)
    : app("Re-aligns protein sequences with the Zemtra plug-in.", std::string(kProgramName)) {
  app.set_version_flag("--version", std::string(kProgramName) + " " + version);
  app.require_subcommand(1);
  app.footer(kExitStatusHelp);
  alignCommand = addAlignCommand(app, align);
  matricesCommand = addMatricesCommand(app, matrices);
  guiCommand = addGuiCommand(app, gui);
}

std::vector<std::string_view> commandNames(const CLI::App& app) {
  std::vector<std::string_view> names;
  for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
  return names;
}

}  // namespace karvo_app
