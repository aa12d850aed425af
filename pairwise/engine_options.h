// Which implementation a run uses: the straightforward routines, kept as
// the yardstick, or the fast ones that give the same bytes. Always the
// caller's choice; the engine reads no settings of its own.
#pragma once

namespace zemtra {

struct EngineOptions {
  bool reference = false;  // the straightforward routines throughout
  unsigned threads = 0;    // threads of the pairwise phase and the final measurements; 0: one per core
};

// The thread count options ask for: threads when set, else the number of
// cores (at least 1).
unsigned threadCount(const EngineOptions& options);

}  // namespace zemtra
