// Runs the built karvo binary in a child process with a chosen environment
// and collects its exit status and output.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

struct ProcessResult {
  int status = -1;  // exit status, or 128 + signal for a killed child
  std::string out;
  std::string err;  // with a terminal: everything the terminal showed
};

struct KarvoLaunch {
  std::string program = KARVO_BINARY;
  std::vector<std::string> args{};                                  // after the program name
  std::map<std::string, std::optional<std::string>> environment{};  // nullopt unsets
  bool terminal = false;                                            // standard input and error on a pseudo-terminal
  std::string typed{};                                              // typed at the terminal before the program reads
  bool interruptOnceHandled = false;                                // send SIGINT once the child catches it
  std::string workingDir{};                                         // empty: the caller's
  std::string stdoutPath{};                                         // empty: collected into out
  std::optional<unsigned> runAsUser{};                              // switch user and group first (needs root)
  std::optional<unsigned long> addressSpaceLimit{};                 // bytes, RLIMIT_AS of the child
};

ProcessResult runKarvo(const KarvoLaunch& launch);
