// Which implementation a run uses: the straightforward routines, kept as
// the yardstick, or the fast ones that give the same bytes. Read from the
// environment once per process unless a caller passes its own choice.
#pragma once

namespace zemtra {

struct EngineOptions {
  bool reference = false;  // the straightforward routines throughout
  unsigned threads = 0;    // threads of the pairwise phase and the final measurements; 0: one per core
};

// The options the two environment values ask for (null when unset):
// reference "1" selects the reference routines, threads a plain number from
// 1 to 1024 sets the thread count; anything else keeps the default.
EngineOptions engineOptionsFrom(const char* reference, const char* threads);

// engineOptionsFrom ZEMTRA_REFERENCE_ENGINE and ZEMTRA_THREADS, read on the
// first call only.
const EngineOptions& defaultEngineOptions();

// The thread count options ask for: threads when set, else the number of
// cores (at least 1).
unsigned threadCount(const EngineOptions& options);

}  // namespace zemtra
