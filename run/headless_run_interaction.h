// A run without any window: the overwrite answer, progress, cancellation and
// debug messages go through plain callbacks and flags, for the command line
// and for tests.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "plugin/zemtra_types.h"

class HeadlessRunInteraction : public RunInteraction {
 public:
  // Called with every progress value and the total of the current display.
  std::function<void(int value, int total)> onProgress;
  // Decides whether an existing log may be overwritten; unset means refuse.
  std::function<bool(const std::string& logPath)> answerOverwrite;
  // Called where a windowed run would let pending GUI events run.
  std::function<void()> onProcessEvents;
  // Receives every debug message as well; they are collected in any case.
  std::function<void(const std::string& text)> onDebugMessage;

  // Cancellation comes from the own flag (cancel()) or, when set, from an
  // outside flag such as one raised by a signal handler.
  void cancel() { cancelled_ = true; }
  void setCancelFlag(const std::atomic<bool>* flag) { externalCancel_ = flag; }

  const std::vector<std::string>& debugMessages() const { return debugMessages_; }
  bool progressActive() const { return progressActive_; }

  bool confirmOverwrite(const std::string& logPath) override;
  void progressStart(int totalSteps) override;
  void progressSet(int value) override;
  bool progressCanceled() override;
  void progressEnd() override;
  void processEvents() override;
  void debugMessage(const std::string& text) override;

 private:
  std::atomic<bool> cancelled_ = false;
  const std::atomic<bool>* externalCancel_ = nullptr;
  int totalSteps_ = 0;
  bool progressActive_ = false;
  std::vector<std::string> debugMessages_;
};
