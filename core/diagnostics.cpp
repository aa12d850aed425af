#include "core/diagnostics.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace zemtra {

namespace {

void writeToStandardError(const char* text) { std::fprintf(stderr, "%s\n", text); }

std::atomic<DebugOutput> installedOutput{nullptr};

}  // namespace

DebugOutput setDebugOutput(DebugOutput output) { return installedOutput.exchange(output); }

void debugMessage(const char* text) {
  const DebugOutput output = installedOutput.load();
  (output != nullptr ? output : writeToStandardError)(text);
}

void fatalExit(const char* text, int status) {
  if (text != nullptr) debugMessage(text);
  std::exit(status);
}

}  // namespace zemtra
