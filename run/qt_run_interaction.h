// The run's dialogs on the host's GUI thread: the overwrite question as a
// message box and a progress dialog with a cancel button.
#pragma once

#include <memory>

#include "plugin/zemtra_types.h"

class QProgressDialog;

class QtRunInteraction : public RunInteraction {
 public:
  QtRunInteraction();
  ~QtRunInteraction() override;
  QtRunInteraction(const QtRunInteraction&) = delete;
  QtRunInteraction& operator=(const QtRunInteraction&) = delete;

  bool confirmOverwrite(const std::string& logPath) override;
  void progressStart(int totalSteps) override;
  void progressSet(int value) override;
  bool progressCanceled() override;
  void progressEnd() override;
  void processEvents() override;
  void debugMessage(const std::string& text) override;

 private:
  std::unique_ptr<QProgressDialog> progress_;
};
