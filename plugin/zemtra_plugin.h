// The plug-in's contract with its hosts: the entry points, looked up by name
// with dlsym, and the types they take. libZemtra.so.0 has them all;
// libZemtraBatch.so.0, the same plug-in without its window for hosts that
// have none, has all but Execute1 and LastRunReport and loads no toolkit.
// This header and zemtra_types.h beside it are the whole contract: they need
// the standard library and nothing else of the project (the host's
// KARVO::Alignment comes from the host platform, host/alignment.h).
//
// C++ ABI: the types below hold std::string and std::vector and
// RunInteraction is a class with virtual functions, so a host must share the
// plug-in's C++ ABI: the Itanium C++ ABI with GNU libstdc++ and its C++11
// string ABI (_GLIBCXX_USE_CXX11_ABI=1), as GCC and Clang build by default on
// Debian, and load the same libstdc++.so.6. The entry points have plain C
// names. A host calls ZemtraContractVersion() first and goes on only when it
// equals the kZemtraContractVersion it was compiled with; every change of a
// type or entry point below changes that number.
//
// The contract with a host:
// - Everything a host learns about a call comes back in a ZemtraRunReport:
//   from ExecuteWithParameters through its report argument, from Execute1
//   through LastRunReport(). How the call ended (exchange, run.outcome),
//   where the run log went (run.logPath, run.logWritten, run.logProblem),
//   the join history (run.history), the timings (run.timings) and, when
//   asked for, the log text itself. The guide tree is the host's to build
//   from run.history.
// - The run log goes to ZemtraParameters::logFolder (the personal temporary
//   directory when empty) under logName; Execute1 always uses the personal
//   temporary directory and the dialog's name. The name is refused, and the
//   log kept only in memory, when it is absolute, has a ".." component,
//   passes through a symbolic link or names a folder. An existing log is
//   replaced only after RunInteraction::confirmOverwrite said yes. With
//   writeLogFile false no file is made and nothing is asked.
// - The plug-in reads no settings of its own: the engine and thread count
//   come in ZemtraParameters::engine (Execute1, which has no parameters,
//   takes them from ZEMTRA_REFERENCE_ENGINE and ZEMTRA_THREADS).
// - A few conditions end the process (see SetExitHandler); a host that must
//   not end installs a handler that throws.
// - The engine's debug texts go to the output set with SetDebugOutput.
// Debug output and exit handler are process-wide; runs on different threads
// at the same time do not otherwise share anything.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "plugin/zemtra_types.h"

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
// that united each pair (both when asked for, as for the progressive
// method), and the log is the method's own short report.
enum class ZemtraMethod { Progressive, Consistency };

// The version of this contract; see ZemtraContractVersion.
constexpr int kZemtraContractVersion = 3;

// Which implementation a run uses: the straightforward routines kept as the
// yardstick, or the fast ones that give the same bytes; and how many threads
// the pairwise phase and the final measurements use (0: one per core).
struct ZemtraEngineSettings {
  bool reference = false;
  unsigned threads = 0;
};

// The settings the texts of the two environment values ask for (null when
// unset): reference "1" selects the reference routines, threads a plain
// number from 1 to 1024 sets the thread count; anything else keeps the
// default. For hosts that take them from ZEMTRA_REFERENCE_ENGINE and
// ZEMTRA_THREADS.
inline ZemtraEngineSettings zemtraEngineSettingsFrom(const char* reference, const char* threads) {
  ZemtraEngineSettings settings;
  if (reference != nullptr) settings.reference = std::strcmp(reference, "1") == 0;
  if (threads != nullptr && *threads >= '0' && *threads <= '9') {
    char* end = nullptr;
    const unsigned long n = std::strtoul(threads, &end, 10);
    if (*end == '\0' && n >= 1 && n <= 1024) settings.threads = static_cast<unsigned>(n);
  }
  return settings;
}

// The run parameters that the dialog otherwise asks for, where the log goes,
// what the report should carry and the engine settings.
struct ZemtraParameters {
  ZemtraMethod method = ZemtraMethod::Progressive;
  int consistencyRounds = 2;   // Consistency only: rounds of the consistency transformation
  int refineIterations = 400;  // Consistency only: refinement attempts
  int matNo = 0;
  int gap = 40;
  int prealigned = 0;
  std::string logName = "zemtra.log";  // in the file system's encoding, below logFolder
  std::string logFolder;               // an existing folder; empty = personal temporary directory
  bool writeLogFile = true;            // false: no log file is made, no overwrite question; the text is
                                       // only handed back (logText when wantLogText)
  bool wantLogText = false;            // keep the complete run log text in the report's logText
  bool wantTables = false;             // fill the report's run.identity and run.distance (ns x ns each:
                                       // 0.8 GB at 10,000 sequences); a tree of two sequences needs them
  ZemtraEngineSettings engine;
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
  ExchangeOutcome exchange = ExchangeOutcome::NoRange;
  RunDetails run;                       // valid when exchange is Rewritten
  std::vector<unsigned long> sentRows;  // host row of each run row
  unsigned int fixed = 0;
  std::string logText;  // when ZemtraParameters::wantLogText: byte for byte the log file's content
                        // (also when no file is written)
  // Consistency runs: per column of the re-aligned range, its reliability in
  // [0, 1]; empty for progressive runs.
  std::vector<float> columnConfidence;
};

// The entry points stay visible when the plug-in is built with hidden
// symbols.
#define ZEMTRA_ENTRY __attribute__((visibility("default")))

extern "C" {

// The contract version the plug-in was built with (kZemtraContractVersion).
ZEMTRA_ENTRY int ZemtraContractVersion();
using ZemtraContractVersionFn = int (*)();

// Shows the parameter dialog (libZemtra.so.0 only) and re-aligns the alignment's selected range.
// True when the alignment was rewritten. Exceptions of the host's alignment
// (std::invalid_argument from rearrange for strings that do not fit, which
// the plug-in never builds) and std::bad_alloc pass to the caller.
ZEMTRA_ENTRY bool Execute1(KARVO::Alignment& alignment);

// The report of this thread's last Execute1 call (libZemtra.so.0 only), or
// null before the first. Valid until the thread's next Execute1 call. The
// log text is not kept.
ZEMTRA_ENTRY const ZemtraRunReport* LastRunReport();
using LastRunReportFn = const ZemtraRunReport* (*)();

// Nothing to release: the plug-in keeps no state between calls.
ZEMTRA_ENTRY void Cleanup();

// Window-less entry point: the same steps as Execute1 without the dialog.
// report may be null.
ZEMTRA_ENTRY bool ExecuteWithParameters(KARVO::Alignment& alignment, const ZemtraParameters& parameters,
                                        RunInteraction& interaction, ZemtraRunReport* report);

using ExecuteWithParametersFn = bool (*)(KARVO::Alignment&, const ZemtraParameters&, RunInteraction&, ZemtraRunReport*);

// Where the plug-in's own debug texts go (the fixed texts written just
// before the engine ends the process, among them): at first standard error
// in libZemtraBatch.so.0 and Qt's debug output in libZemtra.so.0; null
// means standard error. Returns the previous output.
using DebugOutputFn = void (*)(const char* text);
ZEMTRA_ENTRY DebugOutputFn SetDebugOutput(DebugOutputFn output);
using SetDebugOutputFn = DebugOutputFn (*)(DebugOutputFn);

// The engine meets a few conditions it cannot continue from. By default it
// writes its debug text (if any) and ends the process:
//   status ZemtraExit::kPairedNoPosition, reason "gap0 B", "gap A" or
//     "gap B" (debug text the same): an alignment of two sequences or groups
//     paired no position;
//   status ZemtraExit::kRowsDoNotFit, reason "rows do not fit" (no debug
//     text): the re-aligned rows would not fit in twice the range width.
// (ZemtraExit::kTreeOutOfMemory, reason "out of memory in the tree builder",
// is met only by the drawable tree builder, which no run calls.)
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
ZEMTRA_ENTRY ExitHandlerFn SetExitHandler(ExitHandlerFn handler);
using SetExitHandlerFn = ExitHandlerFn (*)(ExitHandlerFn);

// Bytes a run of that many sequences over a range of width columns holds at
// its peak with those parameters (engine settings, whether a log is written
// or its text kept, whether the tables are wanted), worked out from the
// sizes the run allocates. Saturates instead of overflowing.
ZEMTRA_ENTRY std::uint64_t EstimateRunMemory(unsigned long sequences, unsigned long width,
                                             const ZemtraParameters& parameters);
using EstimateRunMemoryFn = std::uint64_t (*)(unsigned long, unsigned long, const ZemtraParameters&);
}
