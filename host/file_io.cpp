#include "host/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <random>
#include <stdexcept>

namespace KARVO {

bool writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      if (written == 0) errno = EIO;
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

namespace {

[[noreturn]] void throwWriteError(const std::string& path, int error) {
  throw std::runtime_error("cannot write " + path + ": " + std::strerror(error));
}

void writeAllOrThrow(int fd, std::string_view data, const std::string& path) {
  if (!writeAll(fd, data)) throwWriteError(path, errno != 0 ? errno : EIO);
}

// Devices, pipes and the like cannot be replaced by a rename: they are
// written in place.
void writeInPlace(const std::string& path, std::string_view data) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
  if (fd < 0) throwWriteError(path, errno);
  try {
    writeAllOrThrow(fd, data, path);
  } catch (...) {
    ::close(fd);
    throw;
  }
  if (::close(fd) != 0) throwWriteError(path, errno);
}

std::string randomSuffix() {
  static const char kChars[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  // One generator per thread: threads writing files at once share nothing.
  thread_local std::mt19937_64 engine{std::random_device{}()};
  std::uniform_int_distribution<std::size_t> pick(0, sizeof kChars - 2);
  std::string suffix(10, ' ');
  for (char& c : suffix) c = kChars[pick(engine)];
  return suffix;
}

// Creates a new file beside target under a random name that nobody else
// can have opened (O_EXCL).
int createTemporary(const std::string& target, const std::string& path, std::string& tmpPath) {
  const std::size_t slash = target.rfind('/');
  const std::string dir = folderOf(target);
  const std::string base = slash == std::string::npos ? target : target.substr(slash + 1);
  for (int attempt = 0; attempt < 100; ++attempt) {
    tmpPath = dir + "/." + base + "." + randomSuffix() + ".tmp";
    const int fd = ::open(tmpPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (fd >= 0) return fd;
    if (errno != EEXIST) throwWriteError(path, errno);
  }
  throwWriteError(path, EEXIST);
}

void syncDirectoryOf(const std::string& target) {
  const int fd = ::open(folderOf(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  ::fsync(fd);
  ::close(fd);
}

}  // namespace

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

void writeFileAtomically(const std::string& path, std::string_view data) {
  struct stat existing {};
  const bool exists = ::stat(path.c_str(), &existing) == 0;
  if (exists && !S_ISREG(existing.st_mode) && !S_ISDIR(existing.st_mode)) {
    writeInPlace(path, data);
    return;
  }
  // A symbolic link stays a link: the file it points to is replaced.
  std::string target = path;
  struct stat link {};
  if (::lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode)) {
    char resolved[PATH_MAX];
    if (::realpath(path.c_str(), resolved) != nullptr) target = resolved;
  }

  std::string tmpPath;
  const int fd = createTemporary(target, path, tmpPath);
  int error = 0;
  try {
    if (exists) ::fchmod(fd, existing.st_mode & 07777);
    writeAllOrThrow(fd, data, path);
    if (::fsync(fd) != 0) error = errno;
  } catch (...) {
    ::close(fd);
    ::unlink(tmpPath.c_str());
    throw;
  }
  if (::close(fd) != 0 && error == 0) error = errno;
  if (error == 0 && ::rename(tmpPath.c_str(), target.c_str()) != 0) error = errno;
  if (error != 0) {
    ::unlink(tmpPath.c_str());
    throwWriteError(path, error);
  }
  syncDirectoryOf(target);
}

}  // namespace KARVO
