#include "run/run_memory.h"

#include <algorithm>

#include "core/memory_size.h"
#include "run/log_file.h"
#include "run/multiple_phase.h"
#include "run/pairwise_phase.h"

std::uint64_t runMemoryNeed(unsigned long ns, unsigned long columns, unsigned long longest,
                            const zemtra::EngineOptions& engine, const RunKeeps& keeps) {
  using KARVO::bytesPlus;
  const std::uint64_t square = KARVO::Matrix<float>::bytesFor(ns, ns);
  // The pairwise identities live from the pairwise phase until the report
  // has its copy; the phase's own storage is released before that.
  const std::uint64_t identities = keeps.logText || keeps.tables ? square : 0;
  const std::uint64_t pairwise = bytesPlus(identities, pairwisePhaseBytes(ns, columns, longest, engine));
  const std::uint64_t phases = std::max(pairwise, multipleAlignmentPhaseBytes(ns, columns, engine, keeps.logText));
  const std::uint64_t report =
      keeps.tables ? KARVO::bytesTimes(2, KARVO::bytesTimes(KARVO::bytesTimes(ns, ns), sizeof(float))) : 0;
  const std::uint64_t kept = bytesPlus(RunStorage::bytesFor(ns, columns, false), RunLogFile::kBufferBytes);
  return bytesPlus(bytesPlus(kept, report), phases);
}
