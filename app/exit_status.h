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
    "input, unknown matrix, range out of bounds or too wide for the memory,\n"
    "an output name without a format or in a folder that cannot be written,\n"
    "plug-in not found, out of memory); 2 run refused (nothing to align,\n"
    "existing log kept, log folder not made or not private); 3 alignment\n"
    "written but run log not written; 4 an output file could not be written;\n"
    "130 cancelled with Ctrl-C (nothing written); 154 and 134 the engine\n"
    "ended the process (nothing written).";

}  // namespace karvo_app
