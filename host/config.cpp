#include "host/config.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <utility>

namespace Config {

namespace {

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

std::string homeDirectory(const std::string& home) {
  if (!home.empty()) return home;
  const passwd* entry = ::getpwuid(::geteuid());
  return entry != nullptr && entry->pw_dir != nullptr ? std::string(entry->pw_dir) : std::string();
}

std::string withoutTrailingSlashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

// Creates every missing level of path with mode 0700; a failure is left for
// the caller to notice when it uses the directory.
void makePath(const std::string& path) {
  for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
    ::mkdir(path.substr(0, slash).c_str(), 0700);
  }
  ::mkdir(path.c_str(), 0700);
}

struct SettingsInForce {
  std::mutex mutex;
  std::optional<HostSettings> settings;
};

SettingsInForce& inForce() {
  static SettingsInForce kept;
  return kept;
}

}  // namespace

HostSettings SettingsFromEnvironment() {
  return {environment("KARVO_TMPDIR"), environment("XDG_RUNTIME_DIR"), environment("HOME"),
          environment("KARVO_VERBOSE") == "1"};
}

HostSettings Settings() {
  SettingsInForce& kept = inForce();
  const std::lock_guard<std::mutex> lock(kept.mutex);
  if (!kept.settings) kept.settings = SettingsFromEnvironment();
  return *kept.settings;
}

void UseSettings(HostSettings settings) {
  SettingsInForce& kept = inForce();
  const std::lock_guard<std::mutex> lock(kept.mutex);
  kept.settings = std::move(settings);
}

PersonalTmpDir LocatePersonalTmpDir() { return LocatePersonalTmpDir(Settings()); }

PersonalTmpDir LocatePersonalTmpDir(const HostSettings& settings) {
  std::string dir = settings.tmpDir;
  const bool chosen = !dir.empty();
  if (!chosen) {
    const std::string& runtime = settings.runtimeDir;
    if (!runtime.empty()) {
      dir = runtime + "/karvo";
    } else {
      const std::string home = homeDirectory(settings.home);
      if (home.empty()) return {"karvo", "no home directory"};
      dir = home + "/.cache/karvo";
    }
  }

  const std::string checked = withoutTrailingSlashes(dir);
  struct stat info {};
  if (::lstat(checked.c_str(), &info) != 0) {
    if (errno != ENOENT) return {dir, ""};
    if (chosen) {
      ::mkdir(checked.c_str(), 0700);
    } else {
      makePath(checked);
    }
    // Still missing: the caller reports that it cannot create it.
    if (::lstat(checked.c_str(), &info) != 0) return {dir, ""};
  }
  if (S_ISLNK(info.st_mode)) return {dir, "it is a symbolic link"};
  if (info.st_uid != ::geteuid()) return {dir, "it is owned by another user"};
  return {dir, ""};
}

std::string GetPersonalTmpDir() {
  const PersonalTmpDir found = LocatePersonalTmpDir();
  if (found.refusal.empty()) return found.path;
  std::fprintf(stderr, "karvo: refusing temporary directory %s: %s\n", found.path.c_str(), found.refusal.c_str());
  return "/dev/null" + std::string(found.path.front() == '/' ? "" : "/") + found.path;
}

}  // namespace Config
