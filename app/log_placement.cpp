#include "app/log_placement.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "host/config.h"
#include "host/file_io.h"

namespace karvo_app {
namespace fs = std::filesystem;

namespace {

constexpr const char* kTmpDirVariable = "KARVO_TMPDIR";
constexpr const char* kHostLogName = "karvo.log";

}  // namespace

LogPlacement::LogPlacement(const LogTarget& target) : target_(target) {
  if (target_.kind != LogKind::Path) return;
  // The host log must keep going to the user's own directory, so find it
  // while KARVO_TMPDIR still says where that is.
  personalDir_ = Config::GetPersonalTmpDir();
  std::string pattern = KARVO::folderOf(target_.value) + "/.karvo-log-XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  if (::mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("cannot write the run log " + target_.value + ": " + std::strerror(errno));
  }
  privateDir_ = name.data();
  if (const char* saved = std::getenv(kTmpDirVariable)) savedTmpDir_ = saved;
  ::setenv(kTmpDirVariable, privateDir_.c_str(), 1);
}

LogPlacement::~LogPlacement() {
  if (!finished_) finish(false);
}

std::string LogPlacement::logName() const {
  return target_.kind == LogKind::Path ? std::string(kDefaultLogName) : target_.value;
}

std::string LogPlacement::shownPath(const std::string& runLogPath) const {
  return target_.kind == LogKind::Path ? target_.value : runLogPath;
}

bool LogPlacement::finish(bool logWritten) {
  if (finished_) return true;
  finished_ = true;
  if (target_.kind != LogKind::Path) return true;
  restoreEnvironment();
  bool moved = true;
  if (logWritten) {
    const std::string written = privateDir_ + "/" + kDefaultLogName;
    moved = ::rename(written.c_str(), target_.value.c_str()) == 0;
  }
  carryHostLog();
  std::error_code ignored;
  fs::remove_all(privateDir_, ignored);
  return moved;
}

void LogPlacement::restoreEnvironment() {
  if (savedTmpDir_) {
    ::setenv(kTmpDirVariable, savedTmpDir_->c_str(), 1);
  } else {
    ::unsetenv(kTmpDirVariable);
  }
}

// The host logger appended to karvo.log in the stand-in folder; those lines
// belong at the end of the user's own host log. Copied in pieces: a large
// run's log is tens of megabytes.
void LogPlacement::carryHostLog() {
  const std::string from = privateDir_ + "/" + kHostLogName;
  const int in = ::open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  if (in < 0) return;
  const std::string path = personalDir_ + "/" + kHostLogName;
  const int out = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (out >= 0) {
    std::vector<char> buffer(64 * 1024);
    for (;;) {
      const ssize_t got = ::read(in, buffer.data(), buffer.size());
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0 || !KARVO::writeAll(out, std::string_view(buffer.data(), static_cast<std::size_t>(got)))) break;
    }
    ::close(out);
  }
  ::close(in);
}

}  // namespace karvo_app
