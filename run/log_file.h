// Writing the run log into the personal temporary directory without ever
// leaving it, following a symbolic link or leaving a half-written file.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

// The log of one run as the run produces it. A large run's log is tens of
// megabytes, so the text goes straight to a temporary file beside the
// target and is renamed into place by commit(); nothing else sees a partial
// log. The name is refused when it is empty, absolute, has a ".." component,
// names a folder, or passes through a symbolic link or a missing folder
// below dir. When the name is refused, no temporary file can be made, or a
// write to it fails, the text is kept in memory instead and
// the log counts as not written. An uncommitted temporary file is removed
// on destruction and when the process exits. With toFile false no file is
// made at all and the text is only kept in memory, or, when nobody reads
// it (keepText false), not kept at all.
class RunLogFile {
 public:
  // The text passes through a buffer of this size on its way to the file.
  static constexpr std::size_t kBufferBytes = 64 * 1024;

  RunLogFile(const std::string& dir, const std::string& logName, bool toFile = true, bool keepText = true);
  ~RunLogFile();
  RunLogFile(const RunLogFile&) = delete;
  RunLogFile& operator=(const RunLogFile&) = delete;

  // The stream the run writes to; its buffer throws std::bad_alloc on
  // through the stream when memory runs out.
  std::ostream& stream() { return stream_; }

  // Puts the finished text in place. False when it is only in memory.
  bool commit();

  // Why the log is only in memory, one line; empty when it is in a file.
  const std::string& problem() const;

  // Hands the complete text written so far to consume, in pieces, in order.
  void readBack(const std::function<void(std::string_view piece)>& consume);

 private:
  class Buffer;
  std::unique_ptr<Buffer> buffer_;
  std::ostream stream_;
};
