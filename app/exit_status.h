// The exit statuses of the karvo command, one per kind of ending, so that
// scripts can tell a refused run from a broken input.
#pragma once

namespace karvo_app {

enum ExitStatus : int {
  kExitOk = 0,
  kExitUsage = 1,          // bad option, unreadable input, plug-in missing
  kExitRunRefused = 2,     // nothing to align, log kept, log folder missing
  kExitLogNotWritten = 3,  // the result was written, the run log was not
  kExitOutputFailed = 4,   // an output file could not be written
  kExitCancelled = 130,    // interrupted by the user (128 + SIGINT)
};

inline constexpr const char* kExitStatusHelp =
    "Exit status: 0 success; 1 usage or input error (bad option, unreadable\n"
    "input, unknown matrix, range out of bounds, plug-in not found); 2 run\n"
    "refused (nothing to align, existing log kept, log folder not made);\n"
    "3 alignment written but run log not written; 4 an output file could not\n"
    "be written; 130 cancelled with Ctrl-C (nothing written).";

}  // namespace karvo_app
