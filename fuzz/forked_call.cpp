#include "forked_call.h"

#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/diagnostics.h"

extern "C" {
// Bounds of the inline coverage counters of the executable, set by the linker.
extern std::uint8_t __start___sancov_cntrs[] __attribute__((weak));
extern std::uint8_t __stop___sancov_cntrs[] __attribute__((weak));
void __sanitizer_set_death_callback(void (*callback)());
// Absent from builds without AddressSanitizer: no leak check there.
int __lsan_do_recoverable_leak_check() __attribute__((weak));
}

namespace {

int reportFd = -1;
std::string lastDebugText;

std::size_t counterBytes() {
  if (__start___sancov_cntrs == nullptr || __stop___sancov_cntrs == nullptr) return 0;
  return static_cast<std::size_t>(__stop___sancov_cntrs - __start___sancov_cntrs);
}

void writeAll(int fd, const void* data, std::size_t size) {
  const char* bytes = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t n = ::write(fd, bytes, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return;
    bytes += n;
    size -= static_cast<std::size_t>(n);
  }
}

// Report layout: the counters, one kind byte, the status as 4 bytes, then
// free text up to the end.
void sendReport(ChildEnding::Kind kind, int status, const std::string& text) {
  if (reportFd < 0) return;
  writeAll(reportFd, __start___sancov_cntrs, counterBytes());
  const char kindByte = static_cast<char>(kind);
  writeAll(reportFd, &kindByte, 1);
  writeAll(reportFd, &status, sizeof status);
  writeAll(reportFd, text.data(), text.size());
  ::close(reportFd);
  reportFd = -1;
}

void onExit(int status, void*) {
  sendReport(ChildEnding::Exited, status, lastDebugText);
  // Skips the fuzzer's own exit handler, which would call this a crash.
  ::_exit(status);
}

void onAbort(int) {
  sendReport(ChildEnding::Aborted, 0, lastDebugText);
  ::_exit(128 + SIGABRT);
}

void onSanitizerDeath() { sendReport(ChildEnding::Sanitizer, 0, ""); }

void recordDebug(const char* text) { lastDebugText = text; }

[[noreturn]] void childMain(const std::function<void()>& body, int reportWrite, int stderrFd, unsigned timeout,
                            bool checkLeaks) {
  reportFd = reportWrite;
  ::dup2(stderrFd, STDERR_FILENO);
  ::signal(SIGALRM, SIG_DFL);
  ::alarm(timeout);
  ::signal(SIGABRT, onAbort);
  __sanitizer_set_death_callback(onSanitizerDeath);
  ::on_exit(onExit, nullptr);
  zemtra::setDebugOutput(recordDebug);
  body();
  if (checkLeaks && &__lsan_do_recoverable_leak_check != nullptr && __lsan_do_recoverable_leak_check() != 0) {
    sendReport(ChildEnding::Sanitizer, 0, "leak");
    ::_exit(2);
  }
  sendReport(ChildEnding::Returned, 0, "");
  ::_exit(0);
}

std::string readAllFrom(int fd) {
  std::string data;
  char buffer[65536];
  for (;;) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    data.append(buffer, static_cast<std::size_t>(n));
  }
  return data;
}

int capturedStderr() {
  static const int fd = ::memfd_create("child-stderr", MFD_CLOEXEC);
  return fd;
}

}  // namespace

void failCheckInChild(const std::string& message) {
  sendReport(ChildEnding::CheckFailed, 0, message);
  ::_exit(3);
}

ChildEnding runInChild(const std::function<void()>& body, unsigned timeoutSeconds, bool checkLeaks) {
  const int stderrFd = capturedStderr();
  ::ftruncate(stderrFd, 0);
  ::lseek(stderrFd, 0, SEEK_SET);
  int pipeFds[2];
  if (::pipe(pipeFds) != 0) {
    std::perror("pipe");
    std::abort();
  }
  std::fflush(nullptr);
  const pid_t pid = ::fork();
  if (pid < 0) {
    std::perror("fork");
    std::abort();
  }
  if (pid == 0) {
    ::close(pipeFds[0]);
    childMain(body, pipeFds[1], stderrFd, timeoutSeconds, checkLeaks);
  }
  ::close(pipeFds[1]);
  const std::string report = readAllFrom(pipeFds[0]);
  ::close(pipeFds[0]);
  int wait = 0;
  while (::waitpid(pid, &wait, 0) < 0 && errno == EINTR) {
  }

  ChildEnding ending;
  ::lseek(stderrFd, 0, SEEK_SET);
  ending.stderrText = readAllFrom(stderrFd);
  const std::size_t counters = counterBytes();
  if (report.size() < counters + 1 + sizeof(int)) {
    ending.kind = ChildEnding::Died;
    ending.status = wait;
    return ending;
  }
  // What the child covered counts as covered here.
  for (std::size_t i = 0; i < counters; ++i) {
    const auto seen = static_cast<std::uint8_t>(report[i]);
    if (seen > __start___sancov_cntrs[i]) __start___sancov_cntrs[i] = seen;
  }
  ending.kind = static_cast<ChildEnding::Kind>(report[counters]);
  std::memcpy(&ending.status, report.data() + counters + 1, sizeof(int));
  const std::string text = report.substr(counters + 1 + sizeof(int));
  if (ending.kind == ChildEnding::CheckFailed) {
    ending.checkMessage = text;
  } else {
    ending.lastDebug = text;
  }
  return ending;
}

void reportDefect(const ChildEnding& ending, const std::string& what) {
  std::fprintf(stderr, "%s\n==== defect: %s\n", ending.stderrText.c_str(), what.c_str());
  std::fflush(stderr);
  std::abort();
}
