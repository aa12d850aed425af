// The one scratch directory of the test suites, and the small file and
// environment helpers that go with it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

namespace ztest {

// A fresh directory for one test, removed with everything in it (also after
// a test took its permissions away). In memory when the system has a memory
// file system: nothing written here needs to reach a disk.
class ScratchDir {
 public:
  ScratchDir() {
    std::string pattern = std::filesystem::is_directory("/dev/shm") ? std::string("/dev/shm")
                                                                    : std::filesystem::temp_directory_path().string();
    pattern += "/zemtra-test-XXXXXX";
    path_ = ::mkdtemp(pattern.data()) ? pattern : "";
  }
  ~ScratchDir() {
    if (path_.empty()) return;
    std::error_code ignored;
    for (auto it = std::filesystem::recursive_directory_iterator(path_, ignored);
         it != std::filesystem::recursive_directory_iterator(); it.increment(ignored))
      if (it->is_directory(ignored))
        std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all, ignored);
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  std::string file(const std::string& name) const { return *this / name; }
  bool exists(const std::string& name) const { return std::filesystem::exists(file(name)); }

  // Writes text to the named file here and returns its path.
  std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(file(name), std::ios::binary | std::ios::trunc) << text;
    return file(name);
  }

  // A new empty subdirectory.
  std::string fresh() {
    const std::string dir = file(std::to_string(next_++));
    std::filesystem::create_directories(dir);
    return dir;
  }

 private:
  std::string path_;
  int next_ = 0;
};

// The whole file, byte for byte; empty when it cannot be read.
inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Sets (or with nullopt removes) an environment variable for one scope.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::optional<std::string>& value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    set(value);
  }
  ~ScopedEnv() { set(old_); }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  void set(const std::optional<std::string>& value) {
    if (value)
      ::setenv(name_, value->c_str(), 1);
    else
      ::unsetenv(name_);
  }
  const char* name_;
  std::optional<std::string> old_;
};

}  // namespace ztest
