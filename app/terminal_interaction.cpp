#include "app/terminal_interaction.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <iostream>

namespace karvo_app {
namespace {

volatile std::sig_atomic_t interrupted = 0;

extern "C" void onInterrupt(int) { interrupted = 1; }

constexpr int kBarWidth = 30;

}  // namespace

void installInterruptHandler() {
  struct sigaction action {};
  action.sa_handler = onInterrupt;
  sigemptyset(&action.sa_mask);
  // SA_RESETHAND: the next Ctrl-C finds the default handler and ends the
  // process at once, for a user who does not want to wait for the row. No
  // SA_RESTART, so that a Ctrl-C also ends a pending overwrite question.
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
}

bool interruptRequested() { return interrupted != 0; }

std::string progressLine(int value, int total, int barWidth) {
  const int shown = std::clamp(value, 0, std::max(total, 0));
  const int filled = total > 0 ? static_cast<int>(static_cast<long long>(shown) * barWidth / total) : barWidth;
  return "aligning pairs [" + std::string(static_cast<std::size_t>(filled), '#') +
         std::string(static_cast<std::size_t>(barWidth - filled), ' ') + "] " + std::to_string(shown) + "/" +
         std::to_string(total);
}

bool isYes(const std::string& answer) {
  const std::size_t start = answer.find_first_not_of(" \t");
  return start != std::string::npos && (answer[start] == 'y' || answer[start] == 'Y');
}

bool TerminalInteraction::confirmOverwrite(const std::string& logPath) {
  if (settings_.force) {
    decision_ = OverwriteDecision::Forced;
    return true;
  }
  if (!settings_.canAsk) {
    decision_ = OverwriteDecision::Refused;
    return false;
  }
  std::cerr << "Overwrite " << logPath << "? [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  decision_ = isYes(answer) ? OverwriteDecision::Accepted : OverwriteDecision::Declined;
  return decision_ == OverwriteDecision::Accepted;
}

// The run counts pairs plus one final step; the bar shows the pairs.
void TerminalInteraction::progressStart(int totalSteps) {
  total_ = std::max(totalSteps - 1, 0);
  value_ = 0;
  draw(true);
}

void TerminalInteraction::progressSet(int value) {
  // The last pair is always shown, however soon after the one before.
  const bool finished = value >= total_ && drawnValue_ < total_;
  value_ = value;
  draw(finished);
}

bool TerminalInteraction::progressCanceled() { return interruptRequested(); }

void TerminalInteraction::progressEnd() { clear(); }

void TerminalInteraction::debugMessage(const std::string& text) {
  if (!settings_.verbose) return;
  clear();
  std::cerr << text << '\n' << std::flush;
}

void TerminalInteraction::draw(bool force) {
  if (!settings_.showProgress) return;
  const auto now = std::chrono::steady_clock::now();
  if (!force && drawn_ && now - lastDraw_ < kRedrawInterval) return;
  std::cerr << '\r' << progressLine(value_, total_, kBarWidth) << std::flush;
  drawn_ = true;
  drawnValue_ = value_;
  lastDraw_ = now;
  ++draws_;
}

void TerminalInteraction::clear() {
  if (!drawn_) return;
  // Erase to the end of the line: also clears a "^C" the terminal echoed.
  std::cerr << "\r\033[K" << std::flush;
  drawn_ = false;
}

}  // namespace karvo_app
