#include "app/align_options.h"

#include <algorithm>
#include <charconv>

namespace karvo_app {
namespace {

// A decimal number that fills the whole text.
std::optional<unsigned long> parseWhole(std::string_view text) {
  unsigned long value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (text.empty() || error != std::errc() || stop != end) return std::nullopt;
  return value;
}

}  // namespace

std::optional<ColumnSpan> parseColumnRange(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const auto first = parseWhole(text.substr(0, colon));
  const auto last = parseWhole(text.substr(colon + 1));
  if (!first || !last || *first == 0 || *first > *last) return std::nullopt;
  return ColumnSpan{*first, *last};
}

std::string columnRangeProblem(std::string_view text) {
  const std::string quoted = "'" + std::string(text) + "'";
  const std::size_t colon = text.find(':');
  const auto first = colon == std::string_view::npos ? std::nullopt : parseWhole(text.substr(0, colon));
  const auto last = colon == std::string_view::npos ? std::nullopt : parseWhole(text.substr(colon + 1));
  if (!first || !last) return "invalid range " + quoted + " (expected FIRST:LAST, two column numbers)";
  if (*first == 0) return "invalid range " + quoted + ": columns are numbered from 1";
  if (*first > *last) return "empty range " + quoted + ": LAST comes before FIRST";
  return "invalid range " + quoted;
}

std::string gapPenaltyProblem(std::string_view text) {
  const auto value = parseWhole(text);
  if (value && *value <= 100) return "";
  return "the gap penalty is a whole number from 0 to 100, not '" + std::string(text) + "'";
}

namespace {

// Levenshtein distance: insertions, deletions and substitutions.
std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t above = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

}  // namespace

std::string unknownCommandMessage(std::string_view word, const std::vector<std::string_view>& commands) {
  const std::string text = "unknown command '" + std::string(word) + "'";
  std::string_view best;
  std::size_t bestDistance = 3;
  for (const std::string_view command : commands) {
    const std::size_t distance = editDistance(word, command);
    if (distance < bestDistance) {
      bestDistance = distance;
      best = command;
    }
  }
  if (!best.empty()) return text + "; did you mean '" + std::string(best) + "'?";
  std::string list;
  for (const std::string_view command : commands) list += (list.empty() ? "" : ", ") + std::string(command);
  return text + " (commands: " + list + "; see karvo --help)";
}

std::optional<LogTarget> logTargetFor(const std::string& argument) {
  if (argument.empty()) return LogTarget{"", kDefaultLogName, ""};
  const std::size_t slash = argument.rfind('/');
  const std::string base = slash == std::string::npos ? argument : argument.substr(slash + 1);
  if (base.empty() || base == "." || base == "..") return std::nullopt;
  const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : argument.substr(0, slash);
  return LogTarget{folder, base, argument};
}

}  // namespace karvo_app
