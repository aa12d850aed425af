// Host settings for the span of one test, in place of the environment the
// host reads once per process.
#pragma once

#include <string>
#include <utility>

#include "host/config.h"

namespace ztest {

// The settings in force with another personal temporary directory.
inline Config::HostSettings withTmpDir(std::string dir) {
  Config::HostSettings settings = Config::Settings();
  settings.tmpDir = std::move(dir);
  return settings;
}

// Puts settings in force for one scope; the earlier ones come back after.
class ScopedHostSettings {
 public:
  explicit ScopedHostSettings(Config::HostSettings settings) : old_(Config::Settings()) {
    Config::UseSettings(std::move(settings));
  }
  ~ScopedHostSettings() { Config::UseSettings(old_); }
  ScopedHostSettings(const ScopedHostSettings&) = delete;
  ScopedHostSettings& operator=(const ScopedHostSettings&) = delete;

 private:
  Config::HostSettings old_;
};

}  // namespace ztest
