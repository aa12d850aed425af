#include "app/align_options.h"

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

std::optional<LogTarget> logTargetFor(const std::string& argument) {
  if (argument.empty()) return LogTarget{"", kDefaultLogName, ""};
  const std::size_t slash = argument.rfind('/');
  const std::string base = slash == std::string::npos ? argument : argument.substr(slash + 1);
  if (base.empty() || base == "." || base == "..") return std::nullopt;
  const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : argument.substr(0, slash);
  return LogTarget{folder, base, argument};
}

}  // namespace karvo_app
