#include "app/engine_exit.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "host/file_io.h"

namespace karvo_app {
namespace {

bool watching = false;
bool registered = false;
std::string lastText;

void reportExit(int status, void*) {
  if (!watching) return;
  const std::string line = "karvo: " + engineExitMessage(status, lastText) + "\n";
  KARVO::writeAll(STDERR_FILENO, line);
}

}  // namespace

std::string engineExitMessage(int status, const std::string& lastDebug) {
  const std::string tail = "; nothing was written";
  if (status == 666) {
    return "the run ended the process (status 666): the re-aligned rows would not fit in twice the range width" + tail;
  }
  if (status == 1 && (lastDebug == "gap0 B" || lastDebug == "gap A" || lastDebug == "gap B")) {
    return "the run ended the process (status 1, \"" + lastDebug +
           "\"): an alignment of two sequences or groups paired no position" + tail;
  }
  if (status == 1 && lastDebug.find("Out of memory") != std::string::npos) {
    return "the run ended the process (status 1): out of memory while building the guide tree" + tail;
  }
  return "the run ended the process with status " + std::to_string(status) + tail;
}

void noteDebugMessage(const std::string& text) { lastText = text; }

EngineExitWatch::EngineExitWatch() {
  if (!registered) registered = ::on_exit(reportExit, nullptr) == 0;
  lastText.clear();
  watching = true;
}

EngineExitWatch::~EngineExitWatch() { watching = false; }

}  // namespace karvo_app
