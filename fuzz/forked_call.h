// Runs one call in a forked child, for fuzzing code that may end the process
// on purpose. The child sends back its coverage counters, so libFuzzer in the
// parent still sees what the call reached, and one report saying how it
// ended: returned, exit() with a status, abort(), a failed check of the
// harness, or a sanitizer report. The parent decides which endings are
// acceptable; everything else ends the fuzzer with the child's standard
// error, so that the input is kept as a crash.
#pragma once

#include <functional>
#include <string>

struct ChildEnding {
  enum Kind { Returned, Exited, Aborted, CheckFailed, Sanitizer, Died } kind = Died;
  int status = 0;            // Exited: the exit status; Died: the wait status
  std::string lastDebug;     // the last Qt debug text the child wrote
  std::string checkMessage;  // CheckFailed: what the harness found
  std::string stderrText;    // everything the child wrote to standard error
};

// Call in the child (from body) when a check of the harness fails; does not
// return.
[[noreturn]] void failCheckInChild(const std::string& message);

// Runs body in a child with its standard error captured, its Qt debug texts
// recorded and a limit of timeoutSeconds; a child still running then is
// killed (a hang). With checkLeaks, leaks left after body returns count as a
// sanitizer report; the check scans the whole heap, fuzzer's included, and
// costs more than a small run, so callers check a sample of their inputs.
ChildEnding runInChild(const std::function<void()>& body, unsigned timeoutSeconds, bool checkLeaks);

// Prints the child's standard error and what was wrong, then aborts.
[[noreturn]] void reportDefect(const ChildEnding& ending, const std::string& what);
