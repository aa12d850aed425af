// What a run will need, worked out from the sizes its allocating code uses,
// so that a host can refuse a run too large for the machine before it starts.
#pragma once

#include <cstdint>

#include "pairwise/engine_options.h"

// What a run keeps beyond what it needs itself.
struct RunKeeps {
  bool logText = true;  // somebody reads the log: its pairwise and final tables are made
  bool tables = false;  // the report keeps the pairwise identity and distance tables
};

// Bytes a run of ns sequences of up to longest positions in seqs of columns
// columns holds at its peak with that engine: its storage, the log's buffer
// and the report's tables, then the larger of the pairwise phase and the
// multiple alignment phase. Saturates instead of overflowing.
std::uint64_t runMemoryNeed(unsigned long ns, unsigned long columns, unsigned long longest,
                            const zemtra::EngineOptions& engine, const RunKeeps& keeps);
