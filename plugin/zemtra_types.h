// The types a run and its host exchange: the host's answers to the run's
// questions, how a run ended, its timings and join history, and the exit
// statuses of the conditions the engine cannot continue from. Part of the
// plug-in's contract (with zemtra_plugin.h): needs nothing but the standard
// library, so a host includes it without any other folder of the project,
// and the engine uses the same definitions.
#pragma once

#include <string>
#include <utility>
#include <vector>

// Everything a run asks of its user: the overwrite question, progress,
// cancellation, event processing and debug messages. The Qt implementation
// shows real dialogs; hosts without a window supply their own. Texts and
// paths are byte strings (paths in the file system's encoding).
class RunInteraction {
 public:
  virtual ~RunInteraction() = default;

  // The run log already exists at logPath; true means overwrite it (Yes),
  // false means stop the run (Cancel or Escape).
  virtual bool confirmOverwrite(const std::string& logPath) = 0;

  // The progress display is created with totalSteps steps, set, and finally
  // ended (the dialog is deleted). canceled() is read at each row start.
  virtual void progressStart(int totalSteps) = 0;
  virtual void progressSet(int value) = 0;
  virtual bool progressCanceled() = 0;
  virtual void progressEnd() = 0;

  // Lets pending GUI events run between the pairs of the pairwise phase.
  virtual void processEvents() = 0;

  // One fixed diagnostic text, written as it is.
  virtual void debugMessage(const std::string& text) = 0;
};

// How a run ended, for hosts that report it; the log is unaffected.
enum class RunOutcome {
  Completed,
  FewerThanTwoSequences,  // nothing was run
  DirectoryFailed,        // the log folder could not be made (personal) or is not a folder
  OverwriteRefused,       // the user kept the existing log
  Cancelled,              // cancelled in the pairwise phase; the log was written
};

// Wall-clock seconds of the phases of one run.
struct RunTimings {
  double pairwise = 0;  // the pairwise phase
  double tree = 0;      // the tree phase: guide tree and progressive merges
  double total = 0;     // the whole run, log included
};

// What a tree phase did, for hosts that draw or export the guide tree.
struct JoinHistory {
  // One entry per join, in joining order: the row numbers (sequence number - 1)
  // of the first member of the join's first group and of its second group. A
  // block of k prealigned sequences is listed as (0, 1), (0, 2), ..., (0, k - 1).
  std::vector<std::pair<unsigned long, unsigned long>> joins;
  // One per entry of joins: the average-linkage distance between the two
  // groups at which the join was chosen; NaN for the joins of a prealigned
  // block, which were never compared.
  std::vector<float> distances;
  // The family table rows in use after the tree phase: 1-based sequence
  // numbers; row 0 is the branching order.
  std::vector<std::vector<unsigned long>> families;
};

struct RunDetails {
  RunOutcome outcome = RunOutcome::Completed;
  std::string logPath;      // where the log went (or should have gone)
  bool logWritten = false;  // false when the file could not be opened
  std::string logProblem;   // empty when the log was written; else why not, one line
  JoinHistory history;      // joins of the tree phase (empty for two sequences)
  // Filled once the pairwise phase finished, when the host asked for them
  // (ZemtraParameters::wantTables; always for Execute1): ns x ns, row-major,
  // run rows in input order. identity is the percent identity of the log's pairwise
  // table; distance the distance the tree phase clusters, -100 ln(NAS/100).
  std::vector<float> identity;
  std::vector<float> distance;
  RunTimings timings;
};

// The process exit statuses of the conditions the engine cannot continue
// from (see SetExitHandler), one name per condition.
namespace ZemtraExit {
// An alignment of two sequences or groups paired no position ("gap0 B",
// "gap A", "gap B").
constexpr int kPairedNoPosition = 1;
// The re-aligned rows would not fit in the working alignment.
constexpr int kRowsDoNotFit = 666;
// The guide tree builder could not allocate a node.
constexpr int kTreeOutOfMemory = 1;
}  // namespace ZemtraExit
