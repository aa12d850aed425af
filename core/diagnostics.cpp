#include "core/diagnostics.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace zemtra {

namespace {

void writeToStandardError(const char* text) { std::fprintf(stderr, "%s\n", text); }

std::atomic<DebugOutput> installedOutput{nullptr};
std::atomic<ExitHandler> installedExit{nullptr};

}  // namespace

DebugOutput setDebugOutput(DebugOutput output) { return installedOutput.exchange(output); }

void debugMessage(const char* text) {
  const DebugOutput output = installedOutput.load();
  (output != nullptr ? output : writeToStandardError)(text);
}

ExitHandler setExitHandler(ExitHandler handler) { return installedExit.exchange(handler); }

void fatalExit(const char* text, int status, const char* reason) {
  if (text != nullptr) debugMessage(text);
  if (const ExitHandler handler = installedExit.load()) handler(status, reason);
  std::exit(status);
}

}  // namespace zemtra
