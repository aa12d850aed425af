// The align command's choice of method and what only the consistency
// method gives: option checks, the estimate shown or refused before a run,
// and the column confidences as a TSV file and as Stockholm marks.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "formats/alignment_io.h"
#include "host/alignment.h"

namespace CLI {
class App;
}

namespace karvo_app {

struct AlignOptions;

// --method, --consistency-rounds, --refine and --confidence.
void addMethodOptions(CLI::App& command, AlignOptions& options);

// Why the method options do not go together, one line; empty when they do.
// The consistency method's settings and --confidence need
// --method consistency.
std::string methodOptionsProblem(const AlignOptions& options);

// The sequences with residues in range, their mean and largest residue
// count there: what the consistency method's estimates take.
struct RangeSize {
  unsigned long sequences = 0;
  unsigned long meanLength = 0;
  unsigned long maxLength = 0;
};
RangeSize rangeSize(const KARVO::Alignment& alignment, const KARVO::ColumnRange& range);

// The consistency method's estimate of a run, as one line to show before it
// starts when the run is large (a minute or more, or 1 GiB or more); empty
// otherwise.
std::string consistencyEstimateLine(const RangeSize& size, std::uint64_t bytes, double seconds);

// "re-aligning N sequences of mean length M with the consistency method
// needs about X GiB of memory; this machine has Y GiB available; ..." when
// bytes exceed available; nullopt when they fit.
std::optional<std::string> consistencyMemoryRefusal(const RangeSize& size, std::uint64_t bytes,
                                                    std::uint64_t available);

// Judges a consistency run of the alignment's selection with the run's
// rounds and refinement attempts before it starts:
// the refusal when the machine cannot hold it; nullopt when it may go on,
// after writing the estimate line (with "karvo: " before it) to notes when
// the run is large and notes is not null.
std::optional<std::string> checkConsistencyRun(const KARVO::Alignment& alignment, int rounds, int refine,
                                               unsigned threads, std::ostream* notes);

// The column of the written alignment (0-based) where the re-aligned range
// starts: its first column less the columns before it that are gaps in every
// row, which the run removes.
unsigned long firstColumnAfterRun(const KARVO::Alignment& input, const KARVO::ColumnRange& range);

// "column<TAB>confidence", then one line per re-aligned column: its number
// in the written alignment (1-based) and its confidence to three decimals.
std::string confidenceTsv(const std::vector<float>& confidence, unsigned long firstColumn);

// The Stockholm line of the confidences over all columns of the written
// alignment: digit d for a confidence from d/10 up to (d+1)/10 (9 from 0.9 up
// to 1), '.' for the columns outside the re-aligned range.
KARVO::ColumnMarks confidenceMarks(const std::vector<float>& confidence, unsigned long firstColumn,
                                   unsigned long columns);

inline constexpr const char* kConfidenceTag = "PP_cons";

}  // namespace karvo_app
