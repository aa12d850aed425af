// The engine ends the process itself in a few documented cases: status 1
// after the debug text "gap0 B", "gap A" or "gap B" (an alignment that pairs
// no position), status 1 after "Out of memory ..." (the tree builder), and
// status 666 without a text (re-aligned rows that would not fit). Debug texts
// are hidden unless --verbose, so karvo names such an ending in its usual
// one-line form instead of leaving a bare exit status.
#pragma once

#include <string>

namespace karvo_app {

// The one-line message (without "karvo: ") for a process ended with status
// while the run was active, lastDebug being the last debug text it wrote.
std::string engineExitMessage(int status, const std::string& lastDebug);

// Remembers the latest debug text of the plug-in.
void noteDebugMessage(const std::string& text);

// While one exists, an exit of the process is reported on standard error.
class EngineExitWatch {
 public:
  EngineExitWatch();
  ~EngineExitWatch();
  EngineExitWatch(const EngineExitWatch&) = delete;
  EngineExitWatch& operator=(const EngineExitWatch&) = delete;
};

}  // namespace karvo_app
