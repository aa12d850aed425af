#include "app/run_log_output.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>

#include "formats/gzip.h"

namespace karvo_app {
namespace {

// The layout of the log's tables.
constexpr std::uint64_t kCell = 6;           // one value, right-aligned
constexpr std::uint64_t kCellsPerLine = 10;  // then a line break and an indent
constexpr std::uint64_t kIndent = 12;        // as wide as a row label
constexpr std::uint64_t kRowLabel = 3 + 1 + 8;
constexpr std::uint64_t kTables = 9;      // two pairwise tables, seven in the statistics
constexpr std::uint64_t kHeading = 64;    // a table's heading with its blank lines
constexpr std::uint64_t kJoinText = 140;  // a join's rule, score and brackets
constexpr std::uint64_t kFixedText = 1500;
constexpr std::uint64_t kLogNameLength = 7;

std::uint64_t tableBytes(std::uint64_t n) {
  const std::uint64_t breaks = n == 0 ? 0 : (n - 1) / kCellsPerLine;
  const std::uint64_t lineOfCells = n * kCell + breaks * (1 + kIndent);
  // The column header " [  1]" grows past three digits like the row numbers.
  std::uint64_t wideNumbers = 0;
  for (std::uint64_t width = 4, from = 1000; from <= n; ++width, from *= 10) wideNumbers += n - from + 1;
  return kHeading + kIndent + lineOfCells + wideNumbers + n * (1 + kRowLabel + lineOfCells) + wideNumbers;
}

}  // namespace

std::uint64_t runLogBytes(const std::vector<std::string>& names) {
  const auto n = static_cast<std::uint64_t>(names.size());
  std::uint64_t nameBytes = 0;
  for (const std::string& name : names) nameBytes += std::min<std::uint64_t>(name.size(), kLogNameLength) + 1;
  // In a balanced tree each name is listed once per level above it.
  const double levels = n > 1 ? std::log2(static_cast<double>(n)) : 1.0;
  const auto joinNames = static_cast<std::uint64_t>(static_cast<double>(nameBytes) * levels);
  return kFixedText + kTables * tableBytes(n) + (n > 0 ? n - 1 : 0) * kJoinText + joinNames;
}

LogPlan planLog(const LogTarget& target, bool noLog) {
  if (noLog) return {false, "", "", ""};
  if (!KARVO::hasGzipExtension(target.name)) return {true, target.folder, target.name, ""};
  std::random_device random;
  const std::string hidden =
      "." + target.name + "." + std::to_string(::getpid()) + "." + std::to_string(random()) + ".plain";
  return {true, target.folder, hidden, target.given};
}

namespace {

std::string runPath(const LogPlan& plan) { return plan.folder + "/" + plan.runName; }

}  // namespace

void compressRunLog(const LogPlan& plan) {
  try {
    KARVO::gzipFile(runPath(plan), plan.gzipInto);
  } catch (...) {
    discardRunLog(plan);
    throw;
  }
  discardRunLog(plan);
}

void discardRunLog(const LogPlan& plan) {
  if (!plan.gzipInto.empty()) ::unlink(runPath(plan).c_str());
}

std::optional<std::string> largeLogWarning(std::size_t sequences, std::uint64_t bytes, const std::string& path) {
  if (bytes <= kLargeLogBytes) return std::nullopt;
  char size[32];
  std::snprintf(size, sizeof size, "%.1f GiB", static_cast<double>(bytes) / static_cast<double>(kLargeLogBytes));
  return "the run log of " + std::to_string(sequences) + " sequences will take about " + size + " in " + path +
         "; --no-log runs without it, --log FILE.gz keeps it compressed";
}

}  // namespace karvo_app
