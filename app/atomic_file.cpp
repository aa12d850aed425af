#include "app/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace karvo_app {
namespace {

[[noreturn]] void fail(const std::string& path, int error) {
  throw std::runtime_error("cannot write " + path + ": " + std::strerror(error));
}

// New files get the permissions an ordinary open would give them; mkstemp's
// are owner-only.
mode_t permissionsForNewFile() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

bool writeAll(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(fd, text.data(), text.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

void writeFileAtomically(const std::string& path, std::string_view text) {
  std::string pattern = folderOf(path) + "/.karvo-XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  const int fd = ::mkstemp(name.data());
  if (fd < 0) fail(path, errno);
  const std::string temporary(name.data());

  struct stat existing {};
  const mode_t mode = ::stat(path.c_str(), &existing) == 0 ? (existing.st_mode & 07777) : permissionsForNewFile();
  bool ok = ::fchmod(fd, mode) == 0 && writeAll(fd, text);
  int error = ok ? 0 : errno;
  if (::close(fd) != 0 && ok) {
    ok = false;
    error = errno;
  }
  if (ok && ::rename(temporary.c_str(), path.c_str()) != 0) {
    ok = false;
    error = errno;
  }
  if (!ok) {
    ::unlink(temporary.c_str());
    fail(path, error);
  }
}

}  // namespace karvo_app
