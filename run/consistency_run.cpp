#include "run/consistency_run.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <iomanip>
#include <ostream>

#include "host/logger.h"
#include "run/consistency_tables.h"
#include "run/log_file.h"
#include "run/run_log.h"

namespace {

namespace consistency = zemtra::consistency;

unsigned long residueCount(const std::string& row) {
  return static_cast<unsigned long>(std::count_if(row.begin(), row.end(), [](char c) { return c != '-' && c != '.'; }));
}

// The engine's progress on the interaction: the display starts with the
// first report (the engine knows the total), Cancel is read at each report.
// Like the progressive run's, the display counts one step more than the
// reports, the run's end; totals beyond an int are scaled down.
class ProgressBridge {
 public:
  explicit ProgressBridge(RunInteraction& interaction) : interaction_(interaction) {}
  ~ProgressBridge() { end(); }
  ProgressBridge(const ProgressBridge&) = delete;
  ProgressBridge& operator=(const ProgressBridge&) = delete;

  consistency::Progress progress() {
    return {[this](long done, long total) { report(done, total); }, &cancel_};
  }

  void end() {
    if (started_) interaction_.progressEnd();
    started_ = false;
  }

 private:
  void report(long done, long total) {
    const long scale = total / (INT_MAX - 1) + 1;
    if (!started_) {
      interaction_.progressStart(static_cast<int>(total / scale) + 1);
      started_ = true;
    }
    interaction_.progressSet(static_cast<int>(std::min(done, total) / scale));
    interaction_.processEvents();
    if (interaction_.progressCanceled()) cancel_ = true;
  }

  RunInteraction& interaction_;
  std::atomic<bool> cancel_ = false;
  bool started_ = false;
};

void writeParameters(std::ostream& out, const ConsistencyRunInput& input) {
  const std::size_t width = input.rows.empty() ? 0 : input.rows.front().size();
  out << "Zemtra re-alignment, consistency method\n\n"
      << "Parameters\n"
      << "  consistency rounds    " << std::max(0, input.consistencyRounds) << '\n'
      << "  refinement attempts   " << std::max(0, input.refineIterations) << '\n'
      << "  re-estimation passes  " << consistency::profilePassesFor({}, input.rows.size()) << '\n'
      << "  prealigned sequences  " << input.fixed << '\n'
      << "  columns re-aligned    " << width << "\n\n";
}

void writeSequences(std::ostream& out, const ConsistencyRunInput& input) {
  std::size_t nameWidth = 4;
  for (const std::string& name : input.names) nameWidth = std::max(nameWidth, name.size());
  out << "Sequences (" << input.rows.size() << ")\n";
  out << "  " << std::setw(5) << "row"
      << "  " << std::left << std::setw(static_cast<int>(nameWidth)) << "name" << std::right << "  residues\n";
  for (std::size_t r = 0; r < input.rows.size(); ++r) {
    out << "  " << std::setw(5) << r + 1 << "  " << std::left << std::setw(static_cast<int>(nameWidth))
        << input.names[r] << std::right << "  " << std::setw(8) << residueCount(input.rows[r]) << '\n';
  }
  out << '\n';
}

// Leaves are rows 1 to n; join k makes node n + k.
void writeTree(std::ostream& out, const std::vector<consistency::TreeJoin>& tree, std::size_t rows) {
  out << "Guide tree (distance: 1 - expected accuracy of the two groups)\n"
      << "   join   node   left  right  distance\n";
  for (std::size_t k = 0; k < tree.size(); ++k) {
    out << std::setw(7) << k + 1 << std::setw(7) << rows + k + 1 << std::setw(7) << tree[k].left + 1 << std::setw(7)
        << tree[k].right + 1 << "  " << std::setprecision(6) << tree[k].distance << '\n';
  }
  out << '\n';
}

void writeTimings(std::ostream& out, const consistency::Timings& t) {
  out << std::setprecision(3) << "Timings (seconds): posteriors " << t.posteriors << ", consistency " << t.consistency
      << ", tree " << t.tree << ", progressive " << t.progressive << ", refinement " << t.refinement << ", total "
      << t.total << '\n';
}

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Hands the engine's result to details and output.
ConsistencyRunOutput keepResult(consistency::Result& result, const ConsistencyRunInput& input, bool keepTables,
                                RunDetails& details) {
  ConsistencyRunOutput output;
  if (result.cancelled) {
    details.outcome = RunOutcome::Cancelled;
    return output;
  }
  const auto n = static_cast<unsigned long>(input.rows.size());
  details.outcome = RunOutcome::Completed;
  details.history = joinHistoryOf(result.tree, n, input.fixed);
  if (keepTables) {
    details.identity = alignedIdentity(result.rows);
    details.distance = joinDistanceTable(result.tree, n);
  }
  output.rows = std::move(result.rows);
  output.columnConfidence = std::move(result.columnConfidence);
  return output;
}

}  // namespace

void writeConsistencyLog(std::ostream& out, const ConsistencyRunInput& input, const consistency::Result& result) {
  out << std::fixed << std::right;
  writeParameters(out, input);
  writeSequences(out, input);
  if (result.cancelled) {
    out << "Cancelled: the range was not re-aligned\n\n";
  } else {
    writeTree(out, result.tree, input.rows.size());
    out << "Refinement: " << result.refinementTried << " attempts over " << result.alignments << " alignments, "
        << result.refinementKept << " kept\n"
        << "Objective: " << std::setprecision(3) << result.objective
        << " (summed transformed posterior of aligned residue pairs)\n"
        << "Result: " << (result.rows.empty() ? 0 : result.rows.front().size()) << " columns\n\n";
  }
  writeTimings(out, result.timings);
}

ConsistencyRunOutput consistencyRun(RunInteraction& interaction, const RunLogOptions& logOptions,
                                    const ConsistencyRunInput& input, RunDetails& details) {
  const auto started = std::chrono::steady_clock::now();
  details = RunDetails{};
  if (input.rows.size() < 2) {
    interaction.debugMessage("Fewer than two sequences: nothing to align");
    details.outcome = RunOutcome::FewerThanTwoSequences;
    return {};
  }
  RunLogPlace place;
  if (!placeRunLog(interaction, logOptions, details, place)) return {};

  RunLogFile logFile(place.dir, logOptions.name, logOptions.writeFile, logOptions.text != nullptr || Logger::Wanted());
  std::ostream& log = logFile.stream();
  log.exceptions(std::ios::badbit);

  consistency::Options options;
  options.consistencyRounds = std::max(0, input.consistencyRounds);
  options.refineIterations = std::max(0, input.refineIterations);
  options.threads = std::max(1u, input.threads);
  ProgressBridge progress(interaction);
  consistency::Result result = consistency::align(input.rows, input.fixed, options, progress.progress());
  progress.end();

  writeConsistencyLog(log, input, result);
  ConsistencyRunOutput output = keepResult(result, input, logOptions.keepTables, details);
  details.timings.pairwise = result.timings.posteriors + result.timings.consistency;
  details.timings.tree = result.timings.tree + result.timings.progressive + result.timings.refinement;
  finishRunLog(logFile, place, logOptions, details);
  details.timings.total = secondsSince(started);
  return output;
}
