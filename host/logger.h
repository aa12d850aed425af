#pragma once

#include <string_view>

namespace Logger {

// Appends text, followed by a newline unless it ends with one, to the host's
// own log (karvo.log in the personal temporary directory, made with mode
// 0600, never through a symbolic link) and, in verbose mode, to standard
// error. The text is written as the bytes it is. Failures are silent:
// logging never stops a run.
void Write(std::string_view text);

// One entry handed over in pieces, for texts too large to hold twice; the
// entry ends (with the newline rule of Write) when the object is destroyed.
class Entry {
 public:
  Entry();
  ~Entry();
  Entry(const Entry&) = delete;
  Entry& operator=(const Entry&) = delete;

  void append(std::string_view piece);

 private:
  int fd_;
  bool verbose_;
  char last_ = '\n';
  bool empty_ = true;
};

// Verbose mode is on after SetVerbose(true) or when KARVO_VERBOSE is "1".
void SetVerbose(bool verbose);

}  // namespace Logger
