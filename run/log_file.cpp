#include "run/log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <vector>

#include "host/file_io.h"

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

// dir/logName, or nothing when the name is refused.
std::optional<std::string> targetPath(const std::string& dir, const std::string& logName) {
  if (logName.empty() || logName.front() == '/') return std::nullopt;
  const std::vector<std::string> parts = components(logName);
  if (parts.empty()) return std::nullopt;
  for (const std::string& part : parts)
    if (part == "..") return std::nullopt;
  if (!foldersAreReal(dir, parts)) return std::nullopt;
  std::string target = dir;
  for (const std::string& part : parts) target += "/" + part;
  struct stat info;
  if (lstat(target.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) return std::nullopt;
  return target;
}

std::string folderPart(const std::string& path) { return path.substr(0, path.rfind('/')); }

std::string temporaryName(const std::string& target) {
  static std::mutex randomMutex;
  static std::mt19937_64 random{std::random_device{}()};
  std::uint64_t suffix = 0;
  {
    const std::lock_guard<std::mutex> lock(randomMutex);
    suffix = random();
  }
  const auto slash = target.rfind('/');
  std::ostringstream name;
  name.exceptions(std::ios::badbit);
  name << target.substr(0, slash + 1) << "." << target.substr(slash + 1) << "." << std::hex << suffix << ".tmp";
  return name.str();
}

// Temporary files of runs in progress, removed if the process ends before
// they are committed (the engine ends the process itself in a few cases).
std::mutex pendingMutex;
std::set<std::string>& pendingFiles() {
  static std::set<std::string> files;
  return files;
}

void removePendingFiles() {
  const std::lock_guard<std::mutex> lock(pendingMutex);
  for (const std::string& path : pendingFiles()) ::unlink(path.c_str());
}

void registerPending(const std::string& path) {
  // The set is made first, so that it is destroyed after the handler ran.
  static const bool registered = (pendingFiles(), std::atexit(removePendingFiles) == 0);
  (void)registered;
  const std::lock_guard<std::mutex> lock(pendingMutex);
  pendingFiles().insert(path);
}

void unregisterPending(const std::string& path) {
  const std::lock_guard<std::mutex> lock(pendingMutex);
  pendingFiles().erase(path);
}

bool readAt(int fd, char* data, std::size_t size, off_t offset) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t n = ::pread(fd, data + done, size - done, offset + static_cast<off_t>(done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

}  // namespace

// Collects text in a fixed buffer and hands it to the file, or to memory
// once the file is out of the picture.
class RunLogFile::Buffer : public std::streambuf {
 public:
  Buffer(const std::string& dir, const std::string& logName, bool toFile, bool keepText)
      : data_(kBufferBytes), discard_(!keepText) {
    setp(data_.data(), data_.data() + data_.size());
    if (!toFile) {
      problem_ = "no log file was asked for";
    } else if (auto target = targetPath(dir, logName)) {
      target_ = std::move(*target);
      temporary_ = temporaryName(target_);
      fd_ = ::open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
      if (fd_ >= 0)
        registerPending(temporary_);
      else
        problem_ = "cannot create a file in " + folderPart(target_) + ": " + std::strerror(errno);
    } else {
      problem_ = "the log name '" + logName + "' is refused: it must stay inside " + dir +
                 " (no absolute name, no '..', no symbolic link, not a folder)";
    }
  }

  const std::string& problem() const { return problem_; }

  ~Buffer() override {
    if (fd_ >= 0) ::close(fd_);
    if (!committed_ && !temporary_.empty()) {
      ::unlink(temporary_.c_str());
      unregisterPending(temporary_);
    }
  }

  bool commit() {
    drain();
    if (fd_ < 0) return false;
    if (::fsync(fd_) != 0 || ::rename(temporary_.c_str(), target_.c_str()) != 0) {
      problem_ = "cannot put the log in place as " + target_ + ": " + std::strerror(errno);
      moveToMemory();
      return false;
    }
    committed_ = true;
    unregisterPending(temporary_);
    return true;
  }

  void readBack(const std::function<void(std::string_view)>& consume) {
    drain();
    if (fd_ < 0) {
      consume(memory_);
      return;
    }
    for (off_t offset = 0; offset < written_;) {
      const std::size_t size = static_cast<std::size_t>(std::min<off_t>(written_ - offset, kBufferBytes));
      if (!readAt(fd_, data_.data(), size, offset)) return;
      consume(std::string_view(data_.data(), size));
      offset += static_cast<off_t>(size);
    }
  }

 protected:
  int_type overflow(int_type c) override {
    drain();
    if (!traits_type::eq_int_type(c, traits_type::eof())) {
      *pptr() = traits_type::to_char_type(c);
      pbump(1);
    }
    return traits_type::not_eof(c);
  }

  int sync() override {
    drain();
    return 0;
  }

 private:
  // Moves the buffered text on; a failed write sends everything to memory.
  void drain() {
    const std::size_t size = static_cast<std::size_t>(pptr() - pbase());
    if (size == 0) return;
    const std::string_view pending(pbase(), size);
    if (fd_ >= 0 && !KARVO::writeAll(fd_, pending)) {
      problem_ = "cannot write " + temporary_ + ": " + std::strerror(errno);
      moveToMemory();
    }
    if (fd_ >= 0) {
      written_ += static_cast<off_t>(size);
    } else if (!discard_) {
      memory_.append(pending);
    }
    setp(data_.data(), data_.data() + data_.size());
  }

  // Takes back what the file holds so far; the file itself goes.
  void moveToMemory() {
    std::string text(static_cast<std::size_t>(written_), '\0');
    if (!readAt(fd_, text.data(), text.size(), 0)) text.clear();
    memory_ = std::move(text);
    ::close(fd_);
    fd_ = -1;
    ::unlink(temporary_.c_str());
    unregisterPending(temporary_);
  }

  std::vector<char> data_;
  std::string target_;
  std::string temporary_;
  int fd_ = -1;
  off_t written_ = 0;
  std::string memory_;
  std::string problem_;
  bool committed_ = false;
  bool discard_ = false;  // no file and nobody to read the text: it is dropped
};

RunLogFile::RunLogFile(const std::string& dir, const std::string& logName, bool toFile, bool keepText)
    : buffer_(std::make_unique<Buffer>(dir, logName, toFile, toFile || keepText)), stream_(buffer_.get()) {}

const std::string& RunLogFile::problem() const { return buffer_->problem(); }

RunLogFile::~RunLogFile() = default;

bool RunLogFile::commit() {
  stream_.flush();
  return buffer_->commit();
}

void RunLogFile::readBack(const std::function<void(std::string_view)>& consume) { buffer_->readBack(consume); }
