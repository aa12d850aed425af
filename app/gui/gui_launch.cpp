#include "app/gui/gui_launch.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

#include "app/plugin_loader.h"

namespace karvo_gui {

namespace {

std::string environmentValue(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

// Beside the executable in the build folder, in karvo's own library folder
// when installed; the first of them when neither has it (its load error
// then names the file).
std::string windowLibraryPath() {
  const std::string dir = karvo_app::executableDir();
  const std::string beside = dir + "/" + kGuiLibrary;
  const std::string installed =
      karvo_app::besideExecutable(dir, karvo_app::kInstalledPrivateLibDir) + "/" + kGuiLibrary;
  std::error_code error;
  return !std::filesystem::exists(beside, error) && std::filesystem::exists(installed, error) ? installed : beside;
}

}  // namespace

std::string displayProblem() {
  const std::string platform = environmentValue("QT_QPA_PLATFORM");
  const std::string wayland = environmentValue("WAYLAND_DISPLAY");
  const std::string x11 = environmentValue("DISPLAY");
  const bool wantsX11 = platform.starts_with("xcb");
  const bool wantsWayland = platform.starts_with("wayland");
  // offscreen, vnc, linuxfb and the like need no display server.
  if (!platform.empty() && !wantsX11 && !wantsWayland) return "";
  if (!wantsX11 && !wayland.empty()) return "";
  if (wantsWayland) return "the window needs a display, and WAYLAND_DISPLAY is not set";
  if (x11.empty()) {
    return "the window needs a display, and DISPLAY is not set (karvo align works without one; "
           "QT_QPA_PLATFORM=offscreen with --screenshot draws the window without a display)";
  }
  // ":N" or ":N.S" is a local server listening on its socket.
  if (x11.front() == ':') {
    const std::string number =
        x11.substr(1, x11.find('.') == std::string::npos ? std::string::npos : x11.find('.') - 1);
    const std::string socket = "/tmp/.X11-unix/X" + number;
    if (::access(socket.c_str(), F_OK) != 0)
      return "cannot reach the display " + x11 + " (no X server at " + socket + ")";
  }
  return "";
}

int launchGui(const GuiOptions& options) {
  if (const std::string problem = displayProblem(); !problem.empty()) {
    std::cerr << "karvo: " << problem << '\n';
    return 1;
  }
  const std::string path = windowLibraryPath();
  // Kept loaded until the process ends: the toolkit registers exit handlers.
  void* handle = dlopen(path.c_str(), RTLD_NOW);
  if (handle == nullptr) {
    const char* reason = dlerror();
    std::cerr << "karvo: the desktop window is not available: " << (reason ? reason : path) << '\n';
    return 1;
  }
  auto run = reinterpret_cast<RunGuiFn>(dlsym(handle, kGuiEntryPoint));
  if (run == nullptr) {
    std::cerr << "karvo: " << path << " does not export " << kGuiEntryPoint << '\n';
    return 1;
  }
  return run(options);
}

}  // namespace karvo_gui
