// Puts the run log where --log asks for it. The run always writes its log
// into the personal temporary directory; a log meant for another place is
// written into a private folder next to that place, which stands in for the
// personal directory during the run, and is then renamed into place, so the
// final file appears complete or not at all.
#pragma once

#include <optional>
#include <string>

#include "app/align_options.h"

namespace karvo_app {

class LogPlacement {
 public:
  // For a path target: makes the private folder and points KARVO_TMPDIR at
  // it. Throws std::runtime_error when the folder cannot be made.
  explicit LogPlacement(const LogTarget& target);
  ~LogPlacement();
  LogPlacement(const LogPlacement&) = delete;
  LogPlacement& operator=(const LogPlacement&) = delete;

  // The log name to hand to the run.
  std::string logName() const;

  // The path to name to the user: the target path, or what the run used.
  std::string shownPath(const std::string& runLogPath) const;

  // After the run: restores KARVO_TMPDIR, moves a written log to the target
  // path and hands the host log lines written meanwhile to the real personal
  // directory. False when a written log could not be moved into place.
  bool finish(bool logWritten);

 private:
  void restoreEnvironment();
  void carryHostLog();

  LogTarget target_;
  std::string privateDir_;
  std::string personalDir_;
  std::optional<std::string> savedTmpDir_;
  bool finished_ = false;
};

}  // namespace karvo_app
