#include "host/logger.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "host/config.h"
#include "host/file_io.h"

namespace Logger {

namespace {

std::atomic<bool> verboseSet{false};

bool verbose() {
  if (verboseSet.load()) return true;
  const char* env = std::getenv("KARVO_VERBOSE");
  return env != nullptr && std::strcmp(env, "1") == 0;
}

}  // namespace

Entry::Entry() : verbose_(verbose()) {
  const std::string path = Config::GetPersonalTmpDir() + "/karvo.log";
  fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC, 0600);
}

Entry::~Entry() {
  if (empty_ || last_ != '\n') append("\n");
  if (fd_ >= 0) ::close(fd_);
}

void Entry::append(std::string_view piece) {
  if (piece.empty()) return;
  // Best effort: a short or failed write is dropped, the logger never stops
  // the caller.
  if (fd_ >= 0) KARVO::writeAll(fd_, piece);
  if (verbose_) KARVO::writeAll(STDERR_FILENO, piece);
  last_ = piece.back();
  empty_ = false;
}

void Write(std::string_view text) {
  Entry entry;
  entry.append(text);
}

void SetVerbose(bool verbose) { verboseSet.store(verbose); }

}  // namespace Logger
