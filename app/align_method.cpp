#include "app/align_method.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <ostream>
#include <sstream>

#include "app/align_command.h"
#include "app/run_memory.h"
#include "consistency/consistency.h"
#include "pairwise/engine_options.h"
#include "plugin/zemtra_plugin.h"

namespace karvo_app {

void addMethodOptions(CLI::App& command, AlignOptions& options) {
  command
      .add_option("--method", options.method,
                  "Re-alignment method: progressive (pairwise distances, average-linkage tree, profile alignment) "
                  "or consistency (pair-HMM posteriors made consistent over third sequences, then refined)")
      ->type_name("progressive|consistency")
      ->capture_default_str()
      ->check(CLI::IsMember({"progressive", "consistency"}));
  command
      .add_option("--consistency-rounds", options.consistencyRounds,
                  "Consistency method: rounds of the consistency transformation (default " +
                      std::to_string(ZemtraParameters{}.consistencyRounds) + ")")
      ->type_name("N")
      ->check(CLI::NonNegativeNumber);
  command
      .add_option("--refine", options.refine,
                  "Consistency method: refinement attempts, 0 for none (default " +
                      std::to_string(ZemtraParameters{}.refineIterations) + ")")
      ->type_name("N")
      ->check(CLI::NonNegativeNumber);
  command
      .add_option("--confidence", options.confidence,
                  "Consistency method: write each re-aligned column's confidence (0 to 1) as TSV: column number "
                  "in the written alignment, value (a Stockholm output carries them as a #=GC PP_cons line)")
      ->type_name("FILE");
}

std::string methodOptionsProblem(const AlignOptions& options) {
  if (options.method == "consistency") return "";
  const char* given = options.consistencyRounds >= 0 ? "--consistency-rounds"
                      : options.refine >= 0          ? "--refine"
                      : !options.confidence.empty()  ? "--confidence"
                                                     : nullptr;
  if (given == nullptr) return "";
  return std::string(given) + " belongs to the consistency method; add --method consistency or leave " + given + " out";
}

RangeSize rangeSize(const KARVO::Alignment& alignment, const KARVO::ColumnRange& range) {
  RangeSize size;
  unsigned long residues = 0;
  for (unsigned long row = 0; row < alignment.sequenceCount(); ++row) {
    unsigned long own = 0;
    for (unsigned long column = range.first; column < range.second; ++column)
      if (alignment.getItem(row, column) != nullptr) ++own;
    if (own == 0) continue;
    ++size.sequences;
    residues += own;
    size.maxLength = std::max(size.maxLength, own);
  }
  size.meanLength = size.sequences == 0 ? 0 : (residues + size.sequences / 2) / size.sequences;
  return size;
}

namespace {

std::string durationText(double seconds) {
  std::ostringstream text;
  if (seconds < 120)
    text << std::lround(seconds) << " seconds";
  else if (seconds < 7200)
    text << std::lround(seconds / 60) << " minutes";
  else
    text << std::lround(seconds / 3600) << " hours";
  return text.str();
}

std::string sizeText(const RangeSize& size) {
  return std::to_string(size.sequences) + " sequences of mean length " + std::to_string(size.meanLength);
}

}  // namespace

std::string consistencyEstimateLine(const RangeSize& size, std::uint64_t bytes, double seconds) {
  if (seconds < 60 && bytes < (std::uint64_t{1} << 30)) return "";
  return "the consistency method on " + sizeText(size) + " takes about " + durationText(seconds) + " and " +
         gibText(bytes) + " GiB of memory";
}

std::optional<std::string> consistencyMemoryRefusal(const RangeSize& size, std::uint64_t bytes,
                                                    std::uint64_t available) {
  if (bytes <= available) return std::nullopt;
  return "re-aligning " + sizeText(size) + " with the consistency method needs about " + gibText(bytes) +
         " GiB of memory; this machine has " + gibText(available) +
         " GiB available; choose a smaller --range, fewer sequences, or --method progressive";
}

std::optional<std::string> checkConsistencyRun(const KARVO::Alignment& alignment, int rounds, int refine,
                                               unsigned threads, std::ostream* notes) {
  const RangeSize size = rangeSize(alignment, alignment.selection);
  const std::uint64_t bytes = zemtra::consistency::estimateBytes(size.sequences, size.meanLength);
  if (const std::optional<std::uint64_t> available = availableMemory()) {
    if (auto refusal = consistencyMemoryRefusal(size, bytes, *available)) return refusal;
  }
  const double seconds =
      zemtra::consistency::estimateSeconds(size.sequences, size.meanLength, size.maxLength, threads, rounds, refine);
  const std::string line = consistencyEstimateLine(size, bytes, seconds);
  if (notes != nullptr && !line.empty()) *notes << "karvo: " << line << '\n';
  return std::nullopt;
}

unsigned long firstColumnAfterRun(const KARVO::Alignment& input, const KARVO::ColumnRange& range) {
  unsigned long first = range.first;
  for (unsigned long column = 0; column < range.first; ++column) {
    bool allGaps = true;
    for (unsigned long row = 0; row < input.sequenceCount() && allGaps; ++row)
      allGaps = input.getItem(row, column) == nullptr;
    if (allGaps) --first;
  }
  return first;
}

std::string confidenceTsv(const std::vector<float>& confidence, unsigned long firstColumn) {
  std::ostringstream text;
  text.setf(std::ios::fixed);
  text.precision(3);
  text << "column\tconfidence\n";
  for (std::size_t i = 0; i < confidence.size(); ++i) text << firstColumn + i + 1 << '\t' << confidence[i] << '\n';
  return text.str();
}

KARVO::ColumnMarks confidenceMarks(const std::vector<float>& confidence, unsigned long firstColumn,
                                   unsigned long columns) {
  std::string marks(columns, '.');
  for (std::size_t i = 0; i < confidence.size() && firstColumn + i < columns; ++i) {
    const int digit = std::clamp(static_cast<int>(std::floor(confidence[i] * 10.0f)), 0, 9);
    marks[firstColumn + i] = static_cast<char>('0' + digit);
  }
  return {kConfidenceTag, marks};
}

}  // namespace karvo_app
