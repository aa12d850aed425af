#pragma once

#include <QString>

namespace Logger {

// Appends text, as UTF-8 and followed by a newline unless it ends with one,
// to the host's own log (karvo.log in the personal temporary directory, made
// with mode 0600, never through a symbolic link) and, in verbose mode, to
// standard error. Failures are silent: logging never stops a run.
void Write(const QString& text);

// Verbose mode is on after SetVerbose(true) or when KARVO_VERBOSE is "1".
void SetVerbose(bool verbose);

}  // namespace Logger
