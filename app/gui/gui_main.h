// The desktop window's entry point, called by the karvo command.
#pragma once

#include <optional>
#include <string>

#include "app/gui/view_geometry.h"

namespace karvo_gui {

struct GuiOptions {
  std::optional<std::string> file;        // opened at start
  std::optional<ColumnSpan> select;       // 1-based inclusive, needs file
  std::optional<std::string> screenshot;  // PNG of the window, then exit
  bool run = false;                       // run the plug-in at start: on --select, else on all columns
  bool verbose = false;                   // show the plug-in's diagnostic messages
  std::string pluginDir;                  // empty: $KARVO_PLUGIN_PATH, then the executable's folder
};

// Shows the window and returns the exit status once it closes. With a
// screenshot path nothing is asked: the plug-in's dialog (with --run) is
// accepted as it stands, the picture is written, and the status is 0, or 1
// when the file, the selection, the run or the picture failed (the reason
// goes to standard error). Creates the QApplication unless one exists.
int runGui(const GuiOptions& options);

}  // namespace karvo_gui
