// The run's questions, progress and cancellation at a terminal: a progress
// bar on standard error, a y/N question for the overwrite, and Ctrl-C as the
// cancel button.
#pragma once

#include <chrono>
#include <string>

#include "plugin/zemtra_types.h"

namespace karvo_app {

struct TerminalSettings {
  bool showProgress = false;  // standard error is a terminal and not --quiet
  bool canAsk = false;        // standard input and error are terminals
  bool force = false;         // --force: overwrite without asking
  bool verbose = false;       // pass the run's diagnostic texts on
};

// How the last overwrite question was settled.
enum class OverwriteDecision { NotAsked, Forced, Accepted, Declined, Refused };

class TerminalInteraction final : public RunInteraction {
 public:
  explicit TerminalInteraction(const TerminalSettings& settings) : settings_(settings) {}

  bool confirmOverwrite(const std::string& logPath) override;
  void progressStart(int totalSteps) override;
  void progressSet(int value) override;
  bool progressCanceled() override;
  void progressEnd() override;
  void processEvents() override {}
  void debugMessage(const std::string& text) override;

  OverwriteDecision overwriteDecision() const { return decision_; }

 private:
  // Draws the bar, at most every kRedrawInterval unless forced: the run
  // reports every pair, which is far more often than a terminal can show.
  void draw(bool force = false);
  void clear();

  TerminalSettings settings_;
  OverwriteDecision decision_ = OverwriteDecision::NotAsked;
  bool drawn_ = false;
  int total_ = 0;
  int value_ = 0;
  std::chrono::steady_clock::time_point lastDraw_{};
  int drawnValue_ = -1;
  unsigned long draws_ = 0;

 public:
  static constexpr std::chrono::milliseconds kRedrawInterval{100};
  // How often the bar was drawn, for tests.
  unsigned long drawCount() const { return draws_; }
};

// Makes the first Ctrl-C a cancel request; a second one ends the process the
// usual way.
void installInterruptHandler();
bool interruptRequested();

// One progress line: "aligning pairs [#####     ] 12/28", the bar barWidth
// characters wide; value is clamped to 0..total.
std::string progressLine(int value, int total, int barWidth);

// True for an answer that starts with 'y' or 'Y' (leading blanks skipped).
bool isYes(const std::string& answer);

}  // namespace karvo_app
