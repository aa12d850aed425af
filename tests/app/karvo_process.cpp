#include "karvo_process.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

extern char** environ;

namespace {

std::string slurp(int fd) {
  std::string text;
  char buffer[4096];
  lseek(fd, 0, SEEK_SET);
  ssize_t n;
  while ((n = read(fd, buffer, sizeof buffer)) > 0) text.append(buffer, static_cast<std::size_t>(n));
  return text;
}

std::vector<std::string> childEnvironment(const KarvoLaunch& launch) {
  std::map<std::string, std::string> merged;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text(*entry);
    const std::size_t eq = text.find('=');
    if (eq != std::string::npos) merged[text.substr(0, eq)] = text.substr(eq + 1);
  }
  // Nothing from the caller's shell may steer the run under test.
  for (const char* name : {"KARVO_PLUGIN_PATH", "KARVO_VERBOSE"}) merged.erase(name);
  for (const auto& [name, value] : launch.environment) {
    if (value) {
      merged[name] = *value;
    } else {
      merged.erase(name);
    }
  }
  std::vector<std::string> list;
  for (const auto& [name, value] : merged) list.push_back(name + "=" + value);
  return list;
}

// SIGINT appears in the child's caught-signal mask once its handler is set.
bool catchesInterrupt(pid_t pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("SigCgt:", 0) == 0) {
      const unsigned long long mask = std::stoull(line.substr(7), nullptr, 16);
      return (mask & (1ull << (SIGINT - 1))) != 0;
    }
  }
  return false;
}

[[noreturn]] void execKarvo(const KarvoLaunch& launch) {
  std::vector<std::string> envText = childEnvironment(launch);
  std::vector<char*> env;
  for (std::string& entry : envText) env.push_back(entry.data());
  env.push_back(nullptr);
  std::vector<std::string> argText{launch.program};
  argText.insert(argText.end(), launch.args.begin(), launch.args.end());
  std::vector<char*> argv;
  for (std::string& arg : argText) argv.push_back(arg.data());
  argv.push_back(nullptr);
  execve(launch.program.c_str(), argv.data(), env.data());
  _exit(127);
}

}  // namespace

ProcessResult runKarvo(const KarvoLaunch& launch) {
  FILE* outFile = tmpfile();
  FILE* errFile = tmpfile();
  int master = -1;
  int slave = -1;
  if (launch.terminal && openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) return {};

  const pid_t pid = fork();
  if (pid == 0) {
    if (launch.terminal) {
      setsid();
      ioctl(slave, TIOCSCTTY, 0);
      dup2(slave, STDIN_FILENO);
      dup2(slave, STDERR_FILENO);
    } else {
      const int devnull = open("/dev/null", O_RDONLY);
      dup2(devnull, STDIN_FILENO);
      dup2(fileno(errFile), STDERR_FILENO);
    }
    if (launch.stdoutPath.empty()) {
      dup2(fileno(outFile), STDOUT_FILENO);
    } else {
      const int out = open(launch.stdoutPath.c_str(), O_WRONLY);
      if (out < 0) _exit(127);
      dup2(out, STDOUT_FILENO);
    }
    if (!launch.workingDir.empty() && chdir(launch.workingDir.c_str()) != 0) _exit(127);
    if (launch.addressSpaceLimit) {
      const rlimit limit{*launch.addressSpaceLimit, *launch.addressSpaceLimit};
      if (setrlimit(RLIMIT_AS, &limit) != 0) _exit(127);
    }
    if (launch.runAsUser) {
      const unsigned id = *launch.runAsUser;
      if (setgroups(0, nullptr) != 0 || setgid(id) != 0 || setuid(id) != 0) _exit(127);
    }
    execKarvo(launch);
  }

  ProcessResult result;
  if (launch.terminal) {
    close(slave);
    if (!launch.typed.empty()) (void)!write(master, launch.typed.data(), launch.typed.size());
    char buffer[4096];
    for (;;) {
      const ssize_t n = read(master, buffer, sizeof buffer);
      if (n > 0) {
        result.err.append(buffer, static_cast<std::size_t>(n));
      } else if (n < 0 && errno == EINTR) {
        continue;
      } else {
        break;  // EIO: the child and everything it started closed the terminal
      }
    }
    close(master);
  }
  int raw = 0;
  bool reaped = false;
  if (launch.interruptOnceHandled) {
    while (!reaped && !catchesInterrupt(pid)) {
      reaped = waitpid(pid, &raw, WNOHANG) == pid;
      if (!reaped) usleep(1000);
    }
    if (!reaped) kill(pid, SIGINT);
  }
  while (!reaped && waitpid(pid, &raw, 0) < 0 && errno == EINTR) {
  }
  result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
  result.out = slurp(fileno(outFile));
  if (!launch.terminal) result.err = slurp(fileno(errFile));
  fclose(outFile);
  fclose(errFile);
  return result;
}
