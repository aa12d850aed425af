// Entry points of the plug-in, looked up by name. libZemtra.so.0 has them
// all; libZemtraBatch.so.0, the same plug-in without its window for hosts
// that have none, has all but Execute1 and LastRunReport and loads no
// toolkit.
//
// The contract with a host:
// - Everything a host learns about a call comes back in a ZemtraRunReport:
//   from ExecuteWithParameters through its report argument, from Execute1
//   through LastRunReport(). How the call ended (exchange, run.outcome),
//   where the run log went (run.logPath, run.logWritten, run.logProblem),
//   the join history (run.history), the guide tree when asked for, the
//   timings (run.timings) and, when asked for, the log text itself.
// - The run log goes to ZemtraParameters::logFolder (the personal temporary
//   directory when empty) under logName; Execute1 always uses the personal
//   temporary directory and the dialog's name. The name is refused, and the
//   log kept only in memory, when it is absolute, has a ".." component,
//   passes through a symbolic link or names a folder. An existing log is
//   replaced only after RunInteraction::confirmOverwrite said yes. With
//   writeLogFile false no file is made and nothing is asked.
// - A few conditions end the process (see SetExitHandler); a host that must
//   not end installs a handler that throws.
// - The engine's debug texts go to the output set with SetDebugOutput.
// Debug output and exit handler are process-wide; runs on different threads
// at the same time do not otherwise share anything.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "run/run_interaction.h"
#include "run/zemtra_kv.h"

namespace KARVO {
class Alignment;
}

// How a range is re-aligned. Progressive is the method of the dialog and
// the default; Consistency is the second method (pair-HMM posteriors made
// consistent over third sequences, posterior-maximising progressive
// alignment and refinement), run only through ExecuteWithParameters. It
// takes no matrix and no gap penalty, has no width limit and never ends the
// process; its report has the same shape: run.history holds its guide tree
// (joins of the groups' lowest run rows, distance 1 - expected accuracy of
// the two groups, NaN for a prealigned block), run.identity the percent
// identity in the re-aligned range, run.distance the distance of the join
// that united each pair, and the log is the method's own short report.
enum class ZemtraMethod { Progressive, Consistency };

// The run parameters that the dialog otherwise asks for, and where the log
// goes.
struct ZemtraParameters {
  ZemtraMethod method = ZemtraMethod::Progressive;
  int consistencyRounds = 2;  // Consistency only: rounds of the consistency transformation
  int refineIterations = 100;  // Consistency only: refinement attempts
  int matNo = 0;
  int gap = 40;
  int prealigned = 0;
  std::string logName = "zemtra.log";  // in the file system's encoding, below logFolder
  std::string logFolder;               // an existing folder; empty = personal temporary directory
  bool writeLogFile = true;            // false: no log file is made, no overwrite question; the text is
                                       // only handed back (logText when wantLogText)
};

// A node of the guide tree as the tree builder places it; left and right
// index the node list (-1 for none); index is the run row of a leaf, -1 for
// an inner node.
struct GuideTreeNode {
  int id = 0;
  int size = 1;
  long index = -1;
  float height = 0.0f;
  float x = 0.0f;
  int left = -1;
  int right = -1;
};

// What a window-less host learns about one call.
enum class ExchangeOutcome {
  Rewritten,              // the run driver ran and the range was written back
  NoRange,                // "No range set for alignment"
  NoAdditionalSequences,  // "No additional sequences to align"
  FewerThanTwo,           // "Fewer than two sequences to align"
  Declined,               // the parameters were not given (dialog cancelled)
};

struct ZemtraRunReport {
  // Set by the caller: whether to build the guide tree. The tree builder
  // ends the process when it runs out of memory, so a host that draws no
  // tree leaves it off and keeps every allocation failure catchable.
  bool wantTree = true;
  ExchangeOutcome exchange = ExchangeOutcome::NoRange;
  RunDetails run;                       // valid when exchange is Rewritten
  std::vector<unsigned long> sentRows;  // host row of each run row
  unsigned int fixed = 0;
  std::vector<GuideTreeNode> tree;  // empty unless the tree phase ran
  int treeRoot = -1;
  // Set by the caller: keep the complete run log text in logText.
  bool wantLogText = false;
  std::string logText;  // byte for byte the log file's content (also when no file is written)
  // Consistency runs: per column of the re-aligned range, its reliability in
  // [0, 1]; empty for progressive runs.
  std::vector<float> columnConfidence;
};

extern "C" {

// Shows the parameter dialog (libZemtra.so.0 only) and re-aligns the alignment's selected range.
// True when the alignment was rewritten. Exceptions of the host's alignment
// (std::invalid_argument from rearrange for strings that do not fit, which
// the plug-in never builds) and std::bad_alloc pass to the caller.
bool Execute1(KARVO::Alignment& alignment);

// The report of this thread's last Execute1 call (libZemtra.so.0 only), or
// null before the first. Valid until the thread's next Execute1 call. The
// guide tree is not built for Execute1 and the log text is not kept.
const ZemtraRunReport* LastRunReport();
using LastRunReportFn = const ZemtraRunReport* (*)();

// Nothing to release: the plug-in keeps no state between calls.
void Cleanup();

// Window-less entry point: the same steps as Execute1 without the dialog.
// report may be null.
bool ExecuteWithParameters(KARVO::Alignment& alignment, const ZemtraParameters& parameters, RunInteraction& interaction,
                           ZemtraRunReport* report);

using ExecuteWithParametersFn = bool (*)(KARVO::Alignment&, const ZemtraParameters&, RunInteraction&, ZemtraRunReport*);

// Where the plug-in's own debug texts go (the fixed texts written just
// before the engine ends the process, among them): at first standard error
// in libZemtraBatch.so.0 and Qt's debug output in libZemtra.so.0; null
// means standard error. Returns the previous output.
using DebugOutputFn = void (*)(const char* text);
DebugOutputFn SetDebugOutput(DebugOutputFn output);
using SetDebugOutputFn = DebugOutputFn (*)(DebugOutputFn);

// The engine meets a few conditions it cannot continue from. By default it
// writes its debug text (if any) and ends the process:
//   status 1, reason "gap0 B", "gap A" or "gap B" (debug text the same):
//     an alignment of two sequences or groups paired no position;
//   status 666, reason "rows do not fit" (no debug text): the re-aligned
//     rows would not fit in twice the range width;
//   status 1, reason "out of memory in the tree builder" (debug text
//     "\n\nOut of memory CreateTree2() at pos N.\n\n"): only when the guide
//     tree is asked for.
// An installed handler is called after the debug text with the status and
// the reason (a fixed text). It may end the process itself, or throw a C++
// exception: the engine then unwinds, releasing everything, and the
// exception reaches the caller of Execute1 or ExecuteWithParameters; the
// host's alignment may be partly rearranged (rows packed) and should be
// discarded. Conditions met on the pairwise phase's worker threads reach the
// handler on the calling thread, at the point where the run would have
// ended. If the handler returns, the process ends as by default.
// Null restores the default; returns the previous handler. Process-wide.
using ExitHandlerFn = void (*)(int status, const char* reason);
ExitHandlerFn SetExitHandler(ExitHandlerFn handler);
using SetExitHandlerFn = ExitHandlerFn (*)(ExitHandlerFn);

// Bytes a run of that many sequences over a range of width columns holds at
// its peak, worked out from the sizes the run allocates: the engine and
// thread count it will use (threads 0: as the run chooses them, from
// ZEMTRA_REFERENCE_ENGINE and ZEMTRA_THREADS or one per core). Saturates
// instead of overflowing.
std::uint64_t EstimateRunMemory(unsigned long sequences, unsigned long width, unsigned threads);
using EstimateRunMemoryFn = std::uint64_t (*)(unsigned long, unsigned long, unsigned);
}
