#include "host/logger.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "host/config.h"

namespace Logger {

namespace {

std::atomic<bool> verboseSet{false};

bool verbose() {
  if (verboseSet.load()) return true;
  const char* env = std::getenv("KARVO_VERBOSE");
  return env != nullptr && std::strcmp(env, "1") == 0;
}

// Best effort: a short or failed write is dropped, the logger never stops
// the caller.
void writeAll(int fd, const QByteArray& bytes) {
  qsizetype done = 0;
  while (done < bytes.size()) {
    const ssize_t written = ::write(fd, bytes.constData() + done, static_cast<std::size_t>(bytes.size() - done));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    done += written;
  }
}

}  // namespace

void Write(const QString& text) {
  QByteArray bytes = text.toUtf8();
  if (!bytes.endsWith('\n')) bytes.append('\n');

  const std::string path = Config::GetPersonalTmpDir() + "/karvo.log";
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd >= 0) {
    writeAll(fd, bytes);
    ::close(fd);
  }
  if (verbose()) writeAll(STDERR_FILENO, bytes);
}

void SetVerbose(bool verbose) { verboseSet.store(verbose); }

}  // namespace Logger
