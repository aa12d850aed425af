#include "run/zemtra_kv.h"

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <string>

#include "host/logger.h"
#include "pairwise/pair_kv.h"
#include "run/log_file.h"
#include "run/multiple_phase.h"
#include "run/pairwise_phase.h"
#include "run/report.h"
#include "run/run_log.h"

namespace {

const std::string kStars75(75, '*');
const std::string kStars24(24, '*');
const std::string kStars18(18, '*');

void writeBanner(std::ostream& log) {
  log << '\n' << kStars75;
  log << '\n' << kStars75;
  log << "\n*      "
      << "[version 4.0 (kbt:24-06-90) (last update: 21-10-94)]" << ' ';
  log << '\n' << kStars75;
  log << '\n' << kStars75 << '\n';
}

void writePenalty(std::ostream& log, int gap) {
  log << '\n' << "\n    Penalty: " << gap << '\n' << '\n' << kStars75 << "\n\n";
}

void writePairwiseTables(std::ostream& log, const RunInput& input, const RunStorage& storage) {
  const unsigned long ns = input.seqs.rows();
  log << '\n'
      << '\n'
      << kStars75 << '\n'
      << kStars24 << " Pairwise comparison statistics: " << kStars18 << '\n'
      << kStars75;
  printIndices(log, ns, "Percentage identities:");
  printMatrix(log, ns, input.names, storage.pid);
  printIndices(log, ns, "Normalized alignment scores (NAS = 100.0 * Sreal/Smax):");
  printMatrix(log, ns, input.names, storage.fscore);
  log << '\n';
}

// The pairwise phase's tables as the host receives them; fscore already
// holds the distances.
void keepPairwiseTables(const RunStorage& storage, unsigned long ns, RunDetails& result) {
  result.identity.resize(ns * ns);
  result.distance.resize(ns * ns);
  for (unsigned long r = 0; r < ns; ++r) {
    std::copy(storage.pid[r], storage.pid[r] + ns, result.identity.begin() + static_cast<long>(r * ns));
    std::copy(storage.fscore[r], storage.fscore[r] + ns, result.distance.begin() + static_cast<long>(r * ns));
  }
}

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

void zemtra_kv(RunInteraction& interaction, bool* ok, const std::string& logName, unsigned long* len,
               unsigned long* nres, const KARVO::Matrix<char>& names, KARVO::Matrix<char>& seqs, unsigned int fixed,
               int matNo, int gap, RunDetails* details, const zemtra::EngineOptions& engine) {
  RunLogOptions log;
  log.name = logName;
  zemtra_kv(interaction, ok, log, len, nres, names, seqs, fixed, matNo, gap, details, engine);
}

void zemtra_kv(RunInteraction& interaction, bool* ok, const RunLogOptions& logOptions, unsigned long* len,
               unsigned long* nres, const KARVO::Matrix<char>& names, KARVO::Matrix<char>& seqs, unsigned int fixed,
               int matNo, int gap, RunDetails* details, const zemtra::EngineOptions& engine) {
  const auto started = std::chrono::steady_clock::now();
  RunDetails unreported;
  RunDetails& result = details != nullptr ? *details : unreported;
  result = RunDetails{};

  const unsigned long ns = seqs.rows();
  if (ns < 2) {
    interaction.debugMessage("Fewer than two sequences: nothing to align");
    *ok = false;
    result.outcome = RunOutcome::FewerThanTwoSequences;
    return;
  }

  // Nobody reads the log's text when it goes to no file, no caller and no
  // host logger; the tables and measures only the log shows are skipped then.
  const bool logRead = logOptions.writeFile || logOptions.text != nullptr || Logger::Wanted();
  const bool keepTables = logOptions.keepTables && details != nullptr;
  RunStorage storage(ns, seqs.cols(), logRead || keepTables);
  const RunInput input{len, nres, names, seqs, fixed, matNo, gap};

  RunLogPlace place;
  if (!placeRunLog(interaction, logOptions, result, place)) {
    *ok = false;
    return;
  }

  RunLogFile logFile(place.dir, logOptions.name, logOptions.writeFile, logOptions.text != nullptr || Logger::Wanted());
  std::ostream& log = logFile.stream();
  // An allocation failure must reach the host, not end in a cut-off log.
  log.exceptions(std::ios::badbit);
  log << std::fixed << std::right << std::setprecision(1);
  writeBanner(log);
  writePenalty(log, gap);

  const int pairs = static_cast<int>(ns * (ns - 1) / 2);
  RunProgress progress{interaction, 0, pairs + 1};
  interaction.progressStart(progress.totalSteps);

  const bool completed = pairwisePhase(log, input, storage, progress, engine);
  result.timings.pairwise = secondsSince(started);
  if (!completed) {
    log << "\nzemtra:: Process was cancelled ";
    *ok = false;
    interaction.progressEnd();
  }
  for (unsigned long d = 0; d < ns; ++d) {
    if (!storage.pid.empty()) storage.pid[d][d] = 100.0f;
    storage.fscore[d][d] = 100.0f;
  }

  if (completed) {
    if (logRead) writePairwiseTables(log, input, storage);
    treeDistances(storage.fscore);
    if (keepTables) keepPairwiseTables(storage, ns, result);
    storage.pid = KARVO::Matrix<float>();
    if (ns == 2) {
      log << "\n\n";
      *ok = true;
      interaction.progressSet(progress.totalSteps);
      interaction.progressEnd();
      const unsigned long first[] = {0};
      const unsigned long second[] = {1};
      copy_kv(first, 1, second, 1, storage.alen, seqs, storage.path, len);
    } else {
      multipleAlignmentPhase(log, input, storage, progress, details != nullptr ? &result.history : nullptr, engine,
                             logRead, result.timings);
      *ok = true;
    }
  }

  result.outcome = completed ? RunOutcome::Completed : RunOutcome::Cancelled;
  finishRunLog(logFile, place, logOptions, result);
  result.timings.total = secondsSince(started);
}
