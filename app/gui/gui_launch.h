// Opening the desktop window from the karvo command. The window and its
// toolkit live in libkarvo_gui.so.0, loaded only when the window is asked for,
// so that the command line never maps the toolkit's libraries.
#pragma once

#include "app/gui/gui_main.h"

namespace karvo_gui {

// The window library's file and the name it exports its entry point under.
inline constexpr const char* kGuiLibrary = "libkarvo_gui.so.0";
inline constexpr const char* kGuiEntryPoint = "karvoRunGui";
using RunGuiFn = int (*)(const GuiOptions& options);

// Why the window cannot be shown in this environment, as one line; empty
// when it can. Looks at QT_QPA_PLATFORM, WAYLAND_DISPLAY and DISPLAY (a local
// X display needs its socket), so that a missing display is reported before
// the toolkit would abort the process.
std::string displayProblem();

// Loads the window library from the executable's folder (or, installed,
// karvo's library folder beside it) and runs the window;
// returns its exit status, or 1 after a one-line message when there is no
// display or the library cannot be loaded.
int launchGui(const GuiOptions& options);

}  // namespace karvo_gui
