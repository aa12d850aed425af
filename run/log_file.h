// Writing the run log into the personal temporary directory without ever
// leaving it, following a symbolic link or leaving a half-written file.
#pragma once

#include <string>

// Writes text to dir/logName: into a new temporary file beside the target,
// then renamed over it. Refused (false, nothing written) when logName is
// empty, absolute, has a ".." component, or passes through a symbolic link
// or a missing folder below dir; false as well when any write fails.
bool writeRunLog(const std::string& dir, const std::string& logName, const std::string& text);
