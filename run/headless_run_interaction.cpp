#include "run/headless_run_interaction.h"

bool HeadlessRunInteraction::confirmOverwrite(const std::string& logPath) {
  return answerOverwrite ? answerOverwrite(logPath) : false;
}

void HeadlessRunInteraction::progressStart(int totalSteps) {
  totalSteps_ = totalSteps;
  progressActive_ = true;
}

void HeadlessRunInteraction::progressSet(int value) {
  if (onProgress) onProgress(value, totalSteps_);
}

bool HeadlessRunInteraction::progressCanceled() {
  if (externalCancel_ != nullptr && externalCancel_->load()) return true;
  return cancelled_.load();
}

void HeadlessRunInteraction::progressEnd() { progressActive_ = false; }

void HeadlessRunInteraction::processEvents() {
  if (onProcessEvents) onProcessEvents();
}

void HeadlessRunInteraction::debugMessage(const std::string& text) {
  debugMessages_.push_back(text);
  if (onDebugMessage) onDebugMessage(text);
}
