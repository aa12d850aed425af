// Fast forms of the pairwise dynamic programming. Every routine here gives
// the same scores, the same alignments and the same process exits as
// DPA::fredman and pair_kv; they differ only in how they get there: rolling
// score rows, a one-byte traceback code per cell, storage that is kept from
// one alignment to the next, and several pairs at once in SIMD lanes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "core/matrix.h"
#include "pairwise/dpa.h"

namespace zemtra {

// Instruction sets of the multi-pair kernel (pairwise/simd/dispatch.cpp
// makes every choice between them). kPortable is plain C++ and runs
// anywhere; the others exist on x86-64 builds and need the CPU's support.
enum class SimdLevel { kPortable, kSse2, kAvx2, kAvx512 };

// Every level, narrowest first, for callers that try each one the CPU runs.
inline constexpr SimdLevel kSimdLevels[] = {SimdLevel::kPortable, SimdLevel::kSse2, SimdLevel::kAvx2,
                                            SimdLevel::kAvx512};

// Whether the kernel of that level was built and the CPU can run it.
bool simdLevelSupported(SimdLevel level);

// The widest supported level; what the multi-pair routine uses by default.
SimdLevel bestSimdLevel();

// Lane element size of the multi-pair kernel: kAuto takes 16-bit lanes when
// a bound on the scores proves they cannot overflow, else 32-bit lanes;
// kWide always takes 32-bit lanes.
enum class LaneWidth { kAuto, kWide };

// Pairs aligned together by one kernel call for that level and lane width.
unsigned batchLanes(SimdLevel level, LaneWidth width);

// The traceback of a batch takes half a byte per cell and lane. Bytes a batch
// may take; rows of long sequences go through narrower lanes to keep within
// it.
inline constexpr unsigned long long kBatchTraceBudget = 64ull << 20;

// The level at most as wide as requested whose narrow lanes keep a batch of
// rows x columns cells within kBatchTraceBudget; SSE2 when none does (the
// portable kernel has no narrower choice). Every level gives the same
// result.
SimdLevel batchLevelFor(SimdLevel requested, unsigned long rows, unsigned long columns);

// Bytes a workspace holds at most once fredmanFast or pairFast aligned
// sequences of up to n and m positions.
std::uint64_t scalarWorkspaceBytes(unsigned long n, unsigned long m);

// Bytes a workspace holds at most once alignRowPairs at that level aligned
// rows of up to n positions against rows of up to m positions.
std::uint64_t rowPairsWorkspaceBytes(SimdLevel level, unsigned long n, unsigned long m);

// The level for a chunk of that many pairs of one row: a short chunk wastes
// fewer lanes in a narrower kernel, so AVX2 when the chunk fits its lanes
// and the CPU has it, else the best level.
SimdLevel chunkLevel(unsigned long pairs);

// Storage of the fast routines, owned by the caller and lent to every call.
// Buffers only grow: once they fit the largest alignment of a run, no call
// allocates. One workspace serves one thread.
class DpWorkspace {
 public:
  DpWorkspace();
  ~DpWorkspace();
  DpWorkspace(const DpWorkspace&) = delete;
  DpWorkspace& operator=(const DpWorkspace&) = delete;

  struct Buffers;
  Buffers& buffers() { return *buffers_; }

 private:
  std::unique_ptr<Buffers> buffers_;
};

// DPA::fredman<int> with the workspace: same result, same aln contents
// (entries from length on are left as they were) and the same fatal exits.
// level picks the instruction set of the row pass; every supported level
// gives the same result.
int fredmanFast(int gap, const KARVO::Matrix<int>& S, Alignment& aln, DpWorkspace& ws,
                SimdLevel level = bestSimdLevel());

// pair_kv with the workspace: averages cmp over pairs with pair_kv's
// rounding, aligns, and writes path and *alen exactly as pair_kv does.
int pairFast(unsigned long lenJ, unsigned long lenK, int gap, int* alen, int pairs, const KARVO::Matrix<int>& cmp,
             KARVO::Matrix<long>& path, DpWorkspace& ws, SimdLevel level = bestSimdLevel());

// Which kernel aligns the pairs of a row: the dispatch's choice (the
// multi-pair kernel, one pair per SIMD lane, or for long rows with too few
// pairs to fill the lanes the within-pair kernel, one pair at a time with a
// column of cells per vector), or always the one named. All give the same
// results.
enum class PairKernel { kChosen, kMultiPair, kWithinPair };

// One row of the pairwise phase: row j of seqs against rows ks[0..count-1],
// each pair as comp_kv (fresh, one pair) followed by pair_kv with 1 pair
// would align it.
struct RowPairs {
  const KARVO::Matrix<char>& seqs;
  const unsigned long* len;
  unsigned long j;
  const unsigned long* ks;
  unsigned long count;
  int matNo;
  int gap;
  SimdLevel level = bestSimdLevel();
  LaneWidth width = LaneWidth::kAuto;
  // false: a pair whose alignment pairs no position ends the process as
  // pair_kv does. true: it is reported (PairOutcome::pairless) and the row
  // goes on, for callers that must decide later whether the reference would
  // ever have reached that pair.
  bool reportPairless = false;
  PairKernel kernel = PairKernel::kChosen;
};

struct PairOutcome {
  unsigned long j;
  unsigned long k;
  int score;  // what pair_kv returns
  int alen;   // what pair_kv stores into *alen
  // With RowPairs::reportPairless: the message pair_kv would have ended the
  // process with ("gap0 B", "gap A" or "gap B"); path is then not written
  // and alen is 0. Null for every pair that aligns normally.
  const char* pairless = nullptr;
};

// Aligns the pairs of one row. For each pair, in the order of ks, path is
// written as pair_kv writes it and then onPair is called; the caller reads
// path inside onPair, before the next pair overwrites it. A pair whose
// alignment pairs no position ends the process as pair_kv does, after the
// pairs before it were reported (unless RowPairs::reportPairless is set).
void alignRowPairs(const RowPairs& request, KARVO::Matrix<long>& path, DpWorkspace& ws,
                   const std::function<void(const PairOutcome&)>& onPair);

}  // namespace zemtra
