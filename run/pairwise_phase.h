// The pairwise phase of a run: every pair of sequences aligned on its own,
// with progress and cancellation at the row starts.
#pragma once

#include <cstdint>
#include <ostream>

#include "pairwise/engine_options.h"
#include "run/multiple_phase.h"

// Fills fscore and, unless it is empty, pid (and, for two sequences, path, alen and the
// similarity block of the log). Before every pair the progress is set to
// the number of pairs done and pending events are processed; a cancel is
// noticed at the next row start, and then the phase returns false.
//
// The fast engine computes pairs ahead on several threads, but publishes
// them, sets progress, processes events and checks for cancellation in the
// reference's order on the calling thread, so everything observable is the
// same; work done ahead for rows after a cancel is dropped, and a pair whose
// alignment pairs no position ends the process only when the reference
// would have reached it.
// Bytes the phase allocates at most for ns sequences of up to longest
// positions in seqs of columns columns.
std::uint64_t pairwisePhaseBytes(unsigned long ns, unsigned long columns, unsigned long longest,
                                 const zemtra::EngineOptions& engine);

bool pairwisePhase(std::ostream& log, const RunInput& input, RunStorage& storage, RunProgress& progress,
                   const zemtra::EngineOptions& engine);
