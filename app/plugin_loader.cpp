#include "app/plugin_loader.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>

namespace karvo_app {
namespace fs = std::filesystem;

std::vector<std::string> pluginSearchDirs(const PluginSearch& search) {
  if (!search.explicitDir.empty()) return {search.explicitDir};
  std::vector<std::string> dirs;
  std::size_t start = 0;
  while (start <= search.pathVariable.size()) {
    const std::size_t colon = std::min(search.pathVariable.find(':', start), search.pathVariable.size());
    if (colon > start) dirs.push_back(search.pathVariable.substr(start, colon - start));
    start = colon + 1;
  }
  if (!search.executableDir.empty()) {
    dirs.push_back(search.executableDir);
    const std::string installed = besideExecutable(search.executableDir, kInstalledPluginDir);
    if (installed != search.executableDir) dirs.push_back(installed);
  }
  return dirs;
}

std::string besideExecutable(const std::string& executableDir, const std::string& relative) {
  if (executableDir.empty()) return "";
  std::string joined = (fs::path(executableDir) / relative).lexically_normal().string();
  if (joined.size() > 1 && joined.back() == '/') joined.pop_back();
  return joined;
}

const std::string& pluginPathVariable() {
  static const std::string value = [] {
    const char* text = std::getenv("KARVO_PLUGIN_PATH");
    return std::string(text != nullptr ? text : "");
  }();
  return value;
}

std::string executableDir() {
  std::error_code error;
  const fs::path self = fs::read_symlink("/proc/self/exe", error);
  return error ? std::string() : self.parent_path().string();
}

LoadedPlugin::~LoadedPlugin() {
  if (used_) {
    if (auto cleanup = reinterpret_cast<void (*)()>(symbol("Cleanup"))) cleanup();
  }
  dlclose(handle_);
}

std::unique_ptr<LoadedPlugin> LoadedPlugin::open(const std::string& path) {
  // Never unmapped: a plug-in and the libraries it brings (a toolkit among
  // them) keep process-wide state that must outlive the handle.
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NODELETE);
  if (handle == nullptr) {
    const char* reason = dlerror();
    throw PluginError("cannot load " + path + ": " + (reason ? reason : "unknown error"));
  }
  return std::unique_ptr<LoadedPlugin>(new LoadedPlugin(handle, path));
}

void* LoadedPlugin::symbol(const char* name) const {
  // dlsym also searches the libraries this one depends on; only the
  // library's own definitions count.
  void* address = dlsym(handle_, name);
  Dl_info info{};
  if (address == nullptr || dladdr(address, &info) == 0 || info.dli_fname == nullptr) return nullptr;
  std::error_code error;
  return fs::equivalent(info.dli_fname, path_, error) ? address : nullptr;
}

int LoadedPlugin::contractVersion() const {
  const auto version = reinterpret_cast<ZemtraContractVersionFn>(symbol("ZemtraContractVersion"));
  return version != nullptr ? version() : 0;
}

LastRunReportFn LoadedPlugin::lastRunReport() const {
  if (contractVersion() != kZemtraContractVersion) return nullptr;
  return reinterpret_cast<LastRunReportFn>(symbol("LastRunReport"));
}

ExecuteWithParametersFn LoadedPlugin::executeWithParameters() {
  if (const int version = contractVersion(); version != kZemtraContractVersion) {
    throw PluginError(path_ + " speaks plug-in contract version " + std::to_string(version) + ", this host version " +
                      std::to_string(kZemtraContractVersion) + ": install the plug-in that came with it");
  }
  auto function = reinterpret_cast<ExecuteWithParametersFn>(symbol("ExecuteWithParameters"));
  if (function == nullptr) throw PluginError(path_ + " does not export ExecuteWithParameters");
  used_ = true;
  return function;
}

std::unique_ptr<LoadedPlugin> loadPlugin(const std::vector<std::string>& dirs,
                                         const std::vector<std::string>& fileNames) {
  std::string looked;
  for (const std::string& dir : dirs) {
    for (const std::string& fileName : fileNames) {
      const fs::path candidate = fs::path(dir) / fileName;
      std::error_code error;
      if (fs::exists(candidate, error)) return LoadedPlugin::open(candidate.string());
    }
    looked += (looked.empty() ? "" : ", ") + dir;
  }
  std::string names;
  for (const std::string& fileName : fileNames) names += (names.empty() ? "" : " or ") + fileName;
  throw PluginError("the plug-in " + names + " was not found (looked in " +
                    (looked.empty() ? std::string("no folder") : looked) + ")");
}

std::vector<PluginInfo> listPlugins(const std::vector<std::string>& dirs) {
  std::vector<PluginInfo> found;
  std::set<fs::path> seenFiles;
  for (const std::string& dir : dirs) {
    std::error_code error;
    std::vector<fs::path> candidates;
    for (const auto& entry : fs::directory_iterator(dir, error)) {
      const std::string name = entry.path().filename().string();
      if (name.starts_with("lib") && name.find(".so") != std::string::npos) candidates.push_back(entry.path());
    }
    std::sort(candidates.begin(), candidates.end());
    for (const fs::path& candidate : candidates) {
      const fs::path real = fs::canonical(candidate, error);
      if (error || !fs::is_regular_file(real, error) || !seenFiles.insert(real).second) continue;
      try {
        const auto plugin = LoadedPlugin::open(candidate.string());
        if (plugin->symbol("Execute1") != nullptr) found.push_back({candidate.filename().string(), candidate.string()});
      } catch (const PluginError&) {
        // A library that does not load here is not a plug-in of this host.
      }
    }
  }
  return found;
}

}  // namespace karvo_app
