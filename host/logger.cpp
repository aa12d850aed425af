#include "host/logger.h"

#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <string>

#include "host/config.h"
#include "host/file_io.h"

namespace Logger {

namespace {

// The host settings' verbose mode, until SetVerbose says otherwise.
std::atomic<bool>& verboseFlag() {
  static std::atomic<bool> flag{Config::Settings().verbose};
  return flag;
}

bool verbose() { return verboseFlag().load(); }

std::mutex& entryMutex() {
  static std::mutex mutex;
  return mutex;
}

Sink& installedSink() {
  static Sink sink;
  return sink;
}

}  // namespace

void SetSink(Sink sink) {
  const std::lock_guard<std::mutex> lock(entryMutex());
  installedSink() = std::move(sink);
}

bool Wanted() {
  const std::lock_guard<std::mutex> lock(entryMutex());
  return static_cast<bool>(installedSink()) || verbose();
}

Entry::Entry() : lock_(entryMutex()), verbose_(verbose()) {}

Entry::~Entry() {
  if (empty_ || last_ != '\n') append("\n");
}

void Entry::append(std::string_view piece) {
  if (piece.empty()) return;
  // Best effort: a failing sink or write is dropped, the logger never stops
  // the caller.
  try {
    if (const Sink& sink = installedSink()) sink(piece);
  } catch (...) {
  }
  if (verbose_) KARVO::writeAll(STDERR_FILENO, piece);
  last_ = piece.back();
  empty_ = false;
}

void Write(std::string_view text) {
  Entry entry;
  entry.append(text);
}

void BoundedText::append(std::string_view piece) {
  if (piece.size() >= limit_) {
    text_.assign(piece.substr(piece.size() - limit_));
    return;
  }
  const std::size_t keep = limit_ - piece.size();
  if (text_.size() > keep) text_.erase(0, text_.size() - keep);
  text_.append(piece);
}

void SetVerbose(bool verbose) { verboseFlag().store(verbose); }

}  // namespace Logger
