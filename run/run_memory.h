// What a run will need, worked out from the sizes its allocating code uses,
// so that a host can refuse a run too large for the machine before it starts.
#pragma once

#include <cstdint>

#include "pairwise/engine_options.h"

// Bytes a run of ns sequences of up to longest positions in seqs of columns
// columns holds at its peak with that engine: its storage and the log's
// buffer, then the larger of the pairwise and the tree phase. Saturates
// instead of overflowing.
std::uint64_t runMemoryNeed(unsigned long ns, unsigned long columns, unsigned long longest,
                            const zemtra::EngineOptions& engine);
