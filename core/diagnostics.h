// Diagnostics shared by the engine: fixed debug texts, process exits and
// assertions that stay active in release builds.
#pragma once

#include <cassert>

namespace zemtra {

// Where debug texts go. The default writes the text and a newline to
// standard error; a windowed host routes them to its toolkit's debug output.
using DebugOutput = void (*)(const char* text);

// Installs output (null restores the default) and returns the previous one.
DebugOutput setDebugOutput(DebugOutput output);

// Writes one fixed text to the debug output, exactly as given.
void debugMessage(const char* text);

// Writes the text to the debug output and ends the process with the status.
[[noreturn]] void fatalExit(const char* text, int status);

}  // namespace zemtra

// An assertion that reports the failed expression, the source file name and
// the full signature of the routine, whatever NDEBUG says.
#define ZEMTRA_ASSERT(expr) \
  ((expr) ? static_cast<void>(0) : __assert_fail(#expr, __FILE_NAME__, __LINE__, __PRETTY_FUNCTION__))
