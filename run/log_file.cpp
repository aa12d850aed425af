#include "run/log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <random>
#include <sstream>
#include <vector>

namespace {

std::vector<std::string> components(const std::string& path) {
  std::vector<std::string> parts;
  std::stringstream in(path);
  in.exceptions(std::ios::badbit);
  std::string part;
  while (std::getline(in, part, '/'))
    if (!part.empty() && part != ".") parts.push_back(part);
  return parts;
}

// The folders between dir and the file must be real folders, not links.
bool foldersAreReal(const std::string& dir, const std::vector<std::string>& parts) {
  std::string path = dir;
  for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
    path += "/" + parts[i];
    struct stat info;
    if (lstat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return false;
  }
  return true;
}

bool writeAll(int fd, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

std::string temporaryName(const std::string& target) {
  static std::mt19937_64 random{std::random_device{}()};
  const auto slash = target.rfind('/');
  std::ostringstream name;
  name.exceptions(std::ios::badbit);
  name << target.substr(0, slash + 1) << "." << target.substr(slash + 1) << "." << std::hex << random() << ".tmp";
  return name.str();
}

}  // namespace

bool writeRunLog(const std::string& dir, const std::string& logName, const std::string& text) {
  if (logName.empty() || logName.front() == '/') return false;
  const std::vector<std::string> parts = components(logName);
  if (parts.empty()) return false;
  for (const std::string& part : parts)
    if (part == "..") return false;
  if (!foldersAreReal(dir, parts)) return false;

  std::string target = dir;
  for (const std::string& part : parts) target += "/" + part;

  struct stat info;
  if (lstat(target.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) return false;

  const std::string temporary = temporaryName(target);
  const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd < 0) return false;
  const bool written = writeAll(fd, text) && ::fsync(fd) == 0;
  const bool closed = ::close(fd) == 0;
  // rename replaces a link at the target itself; it never writes through it.
  if (!written || !closed || ::rename(temporary.c_str(), target.c_str()) != 0) {
    ::unlink(temporary.c_str());
    return false;
  }
  return true;
}
