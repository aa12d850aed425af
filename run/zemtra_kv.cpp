#include "run/zemtra_kv.h"

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <string>

#include "host/config.h"
#include "host/logger.h"
#include "pairwise/pair_kv.h"
#include "run/log_file.h"
#include "run/multiple_phase.h"
#include "run/pairwise_phase.h"
#include "run/report.h"

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

// Puts the log file in place and hands the text to the host's logger, which
// also receives it when the file cannot be written, and to text when asked.
// Returns whether the file was written.
bool finishLog(RunLogFile& log, const std::string& logPath, bool fileAsked, std::string* text) {
  const bool written = log.commit();
  if (text != nullptr) {
    text->clear();
    log.readBack([text](std::string_view piece) { text->append(piece); });
  }
  Logger::Entry entry;
  log.readBack([&entry](std::string_view piece) { entry.append(piece); });
  if (!written && fileAsked) {
    entry.append("\nCould not open ");
    entry.append(logPath);
    entry.append("! ZEMTRA::PROCESS no log file");
  }
  return written;
}

// The pairwise phase's tables as the host receives them.
void keepPairwiseTables(const RunStorage& storage, unsigned long ns, RunDetails& result) {
  KARVO::Matrix<float> distance(ns, ns);
  for (unsigned long r = 0; r < ns; ++r) std::copy(storage.fscore[r], storage.fscore[r] + ns, distance[r]);
  treeDistances(distance);
  result.identity.resize(ns * ns);
  result.distance.resize(ns * ns);
  for (unsigned long r = 0; r < ns; ++r) {
    std::copy(storage.pid[r], storage.pid[r] + ns, result.identity.begin() + static_cast<long>(r * ns));
    std::copy(distance[r], distance[r] + ns, result.distance.begin() + static_cast<long>(r * ns));
  }
}

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

bool isDirectory(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool exists(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0;
}

// Finds the log's folder (the personal one is made when missing) and asks
// before an existing log is replaced. False, with the outcome and the
// problem in result, when the run must not go on; result.logPath is set
// either way.
bool placeLog(RunInteraction& interaction, const RunLogOptions& logOptions, std::string& dir, RunDetails& result) {
  // Without a file the personal directory is not even looked for.
  const bool personal = logOptions.folder.empty();
  dir = !logOptions.writeFile ? std::string() : personal ? Config::GetPersonalTmpDir() : logOptions.folder;
  const std::string logPath = logOptions.writeFile ? dir + "/" + logOptions.name : std::string();
  result.logPath = logPath;
  if (logOptions.writeFile && !isDirectory(dir) && (!personal || ::mkdir(dir.c_str(), 0700) != 0)) {
    interaction.debugMessage("zemtra::Can not create dir : " + dir);
    interaction.debugMessage("        multiple alignment process interrupted. ");
    result.outcome = RunOutcome::DirectoryFailed;
    result.logProblem = (personal ? "cannot create the log folder " : "the log folder is not a folder: ") + dir;
    return false;
  }
  if (logOptions.writeFile && exists(logPath) && !interaction.confirmOverwrite(logPath)) {
    interaction.debugMessage("Cancel");
    result.outcome = RunOutcome::OverwriteRefused;
    result.logProblem = "the existing log " + logPath + " was kept";
    return false;
  }
  return true;
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

  RunStorage storage(ns, seqs.cols());
  const RunInput input{len, nres, names, seqs, fixed, matNo, gap};

  std::string dir;
  if (!placeLog(interaction, logOptions, dir, result)) {
    *ok = false;
    return;
  }
  const std::string& logName = logOptions.name;
  const std::string& logPath = result.logPath;

  RunLogFile logFile(dir, logName, logOptions.writeFile);
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
    storage.pid[d][d] = 100.0f;
    storage.fscore[d][d] = 100.0f;
  }

  if (completed) {
    writePairwiseTables(log, input, storage);
    if (details != nullptr) keepPairwiseTables(storage, ns, result);
    if (ns == 2) {
      log << "\n\n";
      *ok = true;
      interaction.progressSet(progress.totalSteps);
      interaction.progressEnd();
      const unsigned long first[] = {0};
      const unsigned long second[] = {1};
      copy_kv(first, 1, second, 1, storage.alen, seqs, storage.path, len);
    } else {
      const auto treeStarted = std::chrono::steady_clock::now();
      multipleAlignmentPhase(log, input, storage, progress, details != nullptr ? &result.history : nullptr, engine);
      result.timings.tree = secondsSince(treeStarted);
      *ok = true;
    }
  }

  result.outcome = completed ? RunOutcome::Completed : RunOutcome::Cancelled;
  result.logWritten = finishLog(logFile, logPath, logOptions.writeFile, logOptions.text);
  if (!result.logWritten) result.logProblem = logFile.problem();
  result.timings.total = secondsSince(started);
}
