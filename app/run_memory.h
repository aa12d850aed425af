// How much memory one run will take, worked out before it starts: the run
// allocates its largest tables up front and grows with the square of the
// range width, so a range too wide for the machine is refused with a
// message instead of failing half-way or being killed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace karvo_app {

struct RunShape {
  unsigned long rangeWidth = 0;  // columns of the selected range
  unsigned long sequences = 0;   // rows sent to the run
  bool referenceEngine = false;  // the reference routines instead of the fast ones
  unsigned threads = 1;          // threads of the pairwise phase
};

// Bytes the run holds at its peak: the comparison matrix of twice the range
// width squared, the path, the sequence and name matrices, the tables over
// all pairs, and the dynamic programming of full-width pairs: four int
// tables of the pair with the reference routines, with the fast ones a
// traceback byte per cell for each pair a thread has in its SIMD lanes. Saturates instead of overflowing.
std::uint64_t runMemoryNeed(const RunShape& shape);

// The engine the run will use, as the environment chooses it
// (ZEMTRA_REFERENCE_ENGINE=1, ZEMTRA_THREADS=n, else one thread per core).
RunShape engineFromEnvironment(RunShape shape);

// What the process may still allocate: MemAvailable from /proc/meminfo
// (else the physical memory), capped by the address-space limit. nullopt
// when neither can be read.
std::optional<std::uint64_t> availableMemory();

// "re-aligning N columns needs about X GiB of memory; this machine has Y GiB
// available; choose a smaller --range"; nullopt when need fits.
std::optional<std::string> memoryRefusal(unsigned long columns, std::uint64_t need, std::uint64_t available);

}  // namespace karvo_app
