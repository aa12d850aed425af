#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

namespace Logger {

// Receives the host log's text in pieces, in order; entries end with a
// newline. Called with the logger's lock held: a sink must not log itself.
using Sink = std::function<void(std::string_view piece)>;

// Decides where the host log's text goes. Empty (the default) keeps no copy:
// a host that wants the text installs a sink. Returns nothing; the previous
// sink is dropped.
void SetSink(Sink sink);

// True when what is written goes somewhere: a sink is installed or verbose
// mode is on. A writer of large texts may leave them out otherwise.
bool Wanted();

// Appends text, followed by a newline unless it ends with one, to the sink
// and, in verbose mode, to standard error. The text is passed on as the
// bytes it is. Logging never stops a run.
void Write(std::string_view text);

// One entry handed over in pieces, for texts too large to hold twice; the
// entry ends (with the newline rule of Write) when the object is destroyed.
// Entries of different threads do not interleave.
class Entry {
 public:
  Entry();
  ~Entry();
  Entry(const Entry&) = delete;
  Entry& operator=(const Entry&) = delete;

  void append(std::string_view piece);

 private:
  std::unique_lock<std::mutex> lock_;
  bool verbose_;
  char last_ = '\n';
  bool empty_ = true;
};

// The last limit bytes of everything appended: a bounded in-memory host log
// for a sink.
class BoundedText {
 public:
  explicit BoundedText(std::size_t limit) : limit_(limit) {}
  void append(std::string_view piece);
  const std::string& text() const { return text_; }

 private:
  std::size_t limit_;
  std::string text_;
};

// Verbose mode copies every entry to standard error. It starts as
// KARVO_VERBOSE says ("1": on), read once, and follows SetVerbose after.
void SetVerbose(bool verbose);

}  // namespace Logger
