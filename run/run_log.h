// Where a run's log goes, shared by both methods: the folder (the personal
// temporary directory, made when missing, or one the caller names), the
// overwrite question, and handing the finished text to the file, the
// host's logger and the caller.
#pragma once

#include <string>

#include "run/log_file.h"
#include "run/zemtra_kv.h"

// The folder and path of a run's log as options place it.
struct RunLogPlace {
  std::string dir;   // empty when no file is asked for
  std::string path;  // dir + "/" + name; empty when no file is asked for
};

// Finds the log's folder and asks before an existing log is replaced. On
// false the run must not start: result's outcome (DirectoryFailed or
// OverwriteRefused) and logProblem say why. result.logPath is set either way.
bool placeRunLog(RunInteraction& interaction, const RunLogOptions& options, RunDetails& result, RunLogPlace& place);

// Puts the log file in place and hands the text to the host's logger, which
// also receives it when the file cannot be written, and to options.text
// when asked. Sets result.logWritten and, when the file is missing,
// result.logProblem.
void finishRunLog(RunLogFile& log, const RunLogPlace& place, const RunLogOptions& options, RunDetails& result);
