#include "app/gui/gui_launch.h"

#include <dlfcn.h>

#include <iostream>
#include <string>

#include "app/plugin_loader.h"

namespace karvo_gui {

int launchGui(const GuiOptions& options) {
  const std::string path = karvo_app::executableDir() + "/libkarvo_gui.so";
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
