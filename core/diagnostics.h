// Diagnostics shared by the engine: fixed debug texts, process exits and
// assertions that stay active in release builds.
#pragma once

#include <cassert>

namespace zemtra {

// Where debug texts go. The default writes the text and a newline to
// standard error; a windowed host routes them to its toolkit's debug output.
using DebugOutput = void (*)(const char* text);

// Installs output (null restores the default) and returns the previous one.
// Process-wide; safe to call while runs are active on other threads.
DebugOutput setDebugOutput(DebugOutput output);

// Writes one fixed text to the debug output, exactly as given.
void debugMessage(const char* text);

// Called instead of ending the process when the engine meets a condition it
// cannot continue from: status is the process exit status it would end with,
// reason one short fixed text ("gap0 B", "gap A", "gap B", "rows do not fit",
// "out of memory in the tree builder"). The handler may end the process
// itself or throw; when it returns, the process ends with status as before.
using ExitHandler = void (*)(int status, const char* reason);

// Installs handler (null restores the default: end the process) and returns
// the previous one. Process-wide, like the debug output.
ExitHandler setExitHandler(ExitHandler handler);

// Writes the text (if any) to the debug output, then hands status and reason
// to the exit handler and, unless it throws, ends the process with status.
[[noreturn]] void fatalExit(const char* text, int status, const char* reason);

// The same where the debug text is the reason itself.
[[noreturn]] inline void fatalExit(const char* text, int status) { fatalExit(text, status, text); }

}  // namespace zemtra

// An assertion that reports the failed expression, the source file name and
// the full signature of the routine, whatever NDEBUG says.
#define ZEMTRA_ASSERT(expr) ZEMTRA_ASSERT_IN(__FILE_NAME__, expr)

// The same naming the source file given, for routines whose reports name
// the file of the phase they belong to.
#define ZEMTRA_ASSERT_IN(file, expr) \
  ((expr) ? static_cast<void>(0) : __assert_fail(#expr, file, __LINE__, __PRETTY_FUNCTION__))
