// Everything a run asks of its user: the overwrite question, progress,
// cancellation, event processing and debug messages. The Qt implementation
// shows real dialogs; hosts without a window supply their own. Texts and
// paths are byte strings (paths in the file system's encoding).
#pragma once

#include <string>

class RunInteraction {
 public:
  virtual ~RunInteraction() = default;

  // The run log already exists at logPath; true means overwrite it (Yes),
  // false means stop the run (Cancel or Escape).
  virtual bool confirmOverwrite(const std::string& logPath) = 0;

  // The progress display is created with totalSteps steps, set, and finally
  // ended (the dialog is deleted). canceled() is read at each row start.
  virtual void progressStart(int totalSteps) = 0;
  virtual void progressSet(int value) = 0;
  virtual bool progressCanceled() = 0;
  virtual void progressEnd() = 0;

  // Lets pending GUI events run between the pairs of the pairwise phase.
  virtual void processEvents() = 0;

  // One fixed diagnostic text, written as it is.
  virtual void debugMessage(const std::string& text) = 0;
};
