#include "run/run_memory.h"

#include <algorithm>

#include "core/memory_size.h"
#include "run/log_file.h"
#include "run/multiple_phase.h"
#include "run/pairwise_phase.h"
#include "tree/tree_kv.h"

std::uint64_t runMemoryNeed(unsigned long ns, unsigned long columns, unsigned long longest,
                            const zemtra::EngineOptions& engine) {
  // The pairwise phase's storage is released before the tree phase starts.
  const std::uint64_t phases =
      std::max(pairwisePhaseBytes(ns, columns, longest, engine), treePhaseBytes(ns, columns, engine));
  return KARVO::bytesPlus(KARVO::bytesPlus(RunStorage::bytesFor(ns, columns), RunLogFile::kBufferBytes), phases);
}
