// Finding and loading plug-in libraries the way the host application does:
// in folders the user names, next to the executable, or in the plug-in
// folder of an installed tree.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "plugin/zemtra_plugin.h"

namespace karvo_app {

// The command line takes the plug-in's window-less build, which loads no
// toolkit, and the windowed one where a folder has only that.
inline const std::vector<std::string> kPluginFileNames{"libZemtraBatch.so.0", "libZemtra.so.0"};

// Folders of an installed tree relative to the folder holding karvo
// (bin/../lib/karvo/plugins in the GNU layout), set by the build from the
// install layout, so that a tree moved to another prefix still finds them.
inline constexpr const char* kInstalledPluginDir = KARVO_PLUGIN_DIR_FROM_BIN;
inline constexpr const char* kInstalledPrivateLibDir = KARVO_PRIVATE_LIBDIR_FROM_BIN;

class PluginError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct PluginSearch {
  std::string explicitDir;    // --plugin-dir: when set, the only place looked at
  std::string pathVariable;   // KARVO_PLUGIN_PATH: folders separated by ':'
  std::string executableDir;  // the folder of the running executable
};

// KARVO_PLUGIN_PATH as the process started with it, read on the first call.
const std::string& pluginPathVariable();

// The folders to look in, in order, without empty entries: the explicit
// folder alone, else the path variable's folders, the executable's folder
// and the installed plug-in folder beside it.
std::vector<std::string> pluginSearchDirs(const PluginSearch& search);

// The folder of the running executable ("" when it cannot be told).
std::string executableDir();

// executableDir joined with a relative path, without "." and ".." steps;
// "" when executableDir is "".
std::string besideExecutable(const std::string& executableDir, const std::string& relative);

// A loaded plug-in library; released (after its Cleanup) on destruction,
// though it stays mapped until the process ends.
class LoadedPlugin {
 public:
  LoadedPlugin(const LoadedPlugin&) = delete;
  LoadedPlugin& operator=(const LoadedPlugin&) = delete;
  ~LoadedPlugin();

  // Opens path with every symbol bound at once. Throws PluginError when the
  // library cannot be loaded.
  static std::unique_ptr<LoadedPlugin> open(const std::string& path);

  const std::string& path() const { return path_; }
  // A symbol defined by the library itself (not by one it depends on), null
  // when it has none.
  void* symbol(const char* name) const;
  // The contract version the library reports (ZemtraContractVersion), 0
  // when it exports none.
  int contractVersion() const;
  // The window-less entry point; throws PluginError when it is missing or
  // the library speaks another contract version than this host. A plug-in
  // whose entry point was taken gets its Cleanup call before unloading.
  ExecuteWithParametersFn executeWithParameters();
  // The report of the last Execute1 call, from plug-ins of this host's
  // contract version that keep one; null otherwise.
  LastRunReportFn lastRunReport() const;

 private:
  LoadedPlugin(void* handle, std::string path) : handle_(handle), path_(std::move(path)) {}
  void* handle_;
  std::string path_;
  bool used_ = false;
};

// Loads the first of fileNames that the first folder having any of them has.
// Throws PluginError naming the folders when none has one, or the library's
// own error.
std::unique_ptr<LoadedPlugin> loadPlugin(const std::vector<std::string>& dirs,
                                         const std::vector<std::string>& fileNames);

struct PluginInfo {
  std::string name;  // file name as found
  std::string path;
};

// The libraries (lib*.so*) in the folders that load and export Execute1,
// each file once even when reached through several names.
std::vector<PluginInfo> listPlugins(const std::vector<std::string>& dirs);

}  // namespace karvo_app
