// One re-alignment run: log location, banner, pairwise phase, tables, the
// multiple alignment phase and the run log.
#pragma once

#include <string>
#include <vector>

#include "core/matrix.h"
#include "pairwise/engine_options.h"
#include "run/run_interaction.h"
#include "tree/join_history.h"

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
  double tree = 0;      // the tree phase and the final measures
  double total = 0;     // the whole run, log included
};

struct RunDetails {
  RunOutcome outcome = RunOutcome::Completed;
  std::string logPath;      // where the log went (or should have gone)
  bool logWritten = false;  // false when the file could not be opened
  std::string logProblem;   // empty when the log was written; else why not, one line
  JoinHistory history;      // joins of the tree phase (empty for two sequences)
  // Filled once the pairwise phase finished: ns x ns, row-major, run rows in
  // input order. identity is the percent identity of the log's pairwise
  // table; distance the distance the tree phase clusters, -100 ln(NAS/100).
  std::vector<float> identity;
  std::vector<float> distance;
  RunTimings timings;
};

// Where and how the run log is kept.
struct RunLogOptions {
  std::string folder;           // empty: the personal temporary directory, made when missing
  std::string name;             // the file name below folder, in the file system's encoding
  bool writeFile = true;        // false: no file, no overwrite question; the text is only kept
  std::string* text = nullptr;  // when not null, receives the complete log text
};

// The run through any interaction; logName is the file name in the file
// system's encoding. details, when not null, receives how the run ended and
// its join history.
void zemtra_kv(RunInteraction& interaction, bool* ok, const std::string& logName, unsigned long* len,
               unsigned long* nres, const KARVO::Matrix<char>& names, KARVO::Matrix<char>& seqs, unsigned int fixed,
               int matNo, int gap, RunDetails* details);

// The same run with the implementation chosen by the caller instead of the
// environment; every byte of the log and every row of the result are the
// same either way.
void zemtra_kv(RunInteraction& interaction, bool* ok, const std::string& logName, unsigned long* len,
               unsigned long* nres, const KARVO::Matrix<char>& names, KARVO::Matrix<char>& seqs, unsigned int fixed,
               int matNo, int gap, RunDetails* details, const zemtra::EngineOptions& engine);

// The run with its log placed as log says. A folder given by the caller must
// exist; it is not made.
void zemtra_kv(RunInteraction& interaction, bool* ok, const RunLogOptions& log, unsigned long* len, unsigned long* nres,
               const KARVO::Matrix<char>& names, KARVO::Matrix<char>& seqs, unsigned int fixed, int matNo, int gap,
               RunDetails* details, const zemtra::EngineOptions& engine);
