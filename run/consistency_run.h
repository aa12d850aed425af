// A re-alignment run by the consistency method: the same log placement,
// overwrite question, progress and cancellation as the progressive run,
// with the consistency engine doing the work and a short log of its own.
#pragma once

#include <string>
#include <vector>

#include "consistency/consistency.h"
#include "plugin/zemtra_types.h"
#include "run/zemtra_kv.h"

struct ConsistencyRunInput {
  std::vector<std::string> names;  // one per row, as the log shows them
  // The range of each row: residue codes and '-'. The first fixed rows are
  // an alignment kept as one group; the others are read without their gaps.
  std::vector<std::string> rows;
  unsigned fixed = 0;
  int consistencyRounds = 2;   // below 0 counts as 0
  int refineIterations = 100;  // below 0 counts as 0
  unsigned threads = 1;        // resolved by the caller; the result never depends on it
};

struct ConsistencyRunOutput {
  // The aligned rows, in input order; empty unless the run completed.
  std::vector<std::string> rows;
  std::vector<float> columnConfidence;  // one per column of rows
};

// Runs the engine on input with the log placed as log says. details
// receives the outcome, log path and problem, timings (pairwise: the
// posteriors and their consistency transformation; tree: guide tree,
// progressive alignment and refinement; total), the guide tree as a
// join history (distances 1 - expected accuracy) and the two tables:
// identity from the finished alignment, distance the join distance that
// united each pair. Needs at least two rows (else FewerThanTwoSequences and
// nothing else happens).
ConsistencyRunOutput consistencyRun(RunInteraction& interaction, const RunLogOptions& log,
                                    const ConsistencyRunInput& input, RunDetails& details);

// The run log's text of a finished (or cancelled) run, timings on the last
// line, which starts with "Timings".
void writeConsistencyLog(std::ostream& out, const ConsistencyRunInput& input,
                         const zemtra::consistency::Result& result);
