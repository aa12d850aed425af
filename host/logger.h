#pragma once

#include <QString>

namespace Logger {

// Appends text to the host's own log (karvo.log in the personal temporary
// directory) and, in verbose mode, to standard error.
void Write(const QString& text);

void SetVerbose(bool verbose);

}  // namespace Logger
