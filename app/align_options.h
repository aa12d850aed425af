// Pure helpers that turn the align command's option texts into values.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace karvo_app {

// A column range as the user writes it: 1-based, both ends included.
struct ColumnSpan {
  unsigned long first = 0;
  unsigned long last = 0;
};

// "FIRST:LAST" with 1 <= FIRST <= LAST; nullopt for anything else.
std::optional<ColumnSpan> parseColumnRange(std::string_view text);

// Why parseColumnRange refuses text, as a one-line message.
std::string columnRangeProblem(std::string_view text);

// Why text is not a gap penalty (a whole number from 0 to 100), as a
// one-line message; empty when it is one.
std::string gapPenaltyProblem(std::string_view text);

// "unknown command 'aling'; did you mean 'align'?" when one of commands is
// at most two edits away, else the message lists the commands.
std::string unknownCommandMessage(std::string_view word, const std::vector<std::string_view>& commands);

// Where the run log goes. Without --log it is the default scratch log in the
// personal temporary directory; a --log argument is a path like any other,
// relative to the current folder.
struct LogTarget {
  std::string folder;  // empty: the personal temporary directory
  std::string name;    // the file name in folder
  std::string given;   // the --log argument; empty for the default log
};

// The target for a --log argument (empty: the default log); nullopt when
// the argument cannot name a file (ends with '/', "." or "..").
std::optional<LogTarget> logTargetFor(const std::string& argument);

inline constexpr const char* kDefaultLogName = "zemtra.log";

}  // namespace karvo_app
