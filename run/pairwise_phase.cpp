#include "run/pairwise_phase.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <iomanip>
#include <memory>
#include <new>
#include <numeric>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "core/diagnostics.h"
#include "pairwise/comp_kv.h"
#include "pairwise/fast_dp.h"
#include "pairwise/fast_measures.h"
#include "pairwise/measures.h"
#include "pairwise/pair_kv.h"
#include "plugin/zemtra_types.h"

namespace {

const std::string kUnderscores75(75, '_');

void writeSimilarity(std::ostream& log, int score, float nas) {
  log << '\n'
      << kUnderscores75 << "\n\nSimilarity score = " << std::setw(6) << score << "\nNormalized score = " << std::setw(8)
      << nas << '\n';
}

// Visits the pairs in the reference's order: the cancel check at each row
// start, and before every pair the progress step and the pending events.
// False when the run was cancelled.
template <class VisitPair>
bool pairsInOrder(unsigned long ns, RunProgress& progress, const VisitPair& visit) {
  for (unsigned long j = 0; j + 1 < ns; ++j) {
    if (progress.interaction.progressCanceled()) return false;
    for (unsigned long k = j + 1; k < ns; ++k) {
      progress.interaction.progressSet(progress.step);
      ++progress.step;
      progress.interaction.processEvents();
      visit(j, k);
    }
  }
  return true;
}

// One pair after the other on the calling thread, with the reference's
// routines or, when fastPairs is set, with pair_kv's drop-in replacement.
bool pairsInTurn(std::ostream& log, const RunInput& input, RunStorage& storage, RunProgress& progress, bool fastPairs) {
  const unsigned long ns = input.seqs.rows();
  zemtra::DpWorkspace workspace;
  return pairsInOrder(ns, progress, [&](unsigned long j, unsigned long k) {
    bool first = true;
    unsigned long lenJ = 0;
    unsigned long lenK = 0;
    comp_kv(j, k, input.matNo, &lenJ, &lenK, storage.cmp, input.seqs, input.len, first);
    if (fastPairs)
      zemtra::pairFast(lenJ, lenK, input.gap, &storage.alen, 1, storage.cmp, storage.path, workspace);
    else
      pair_kv(lenJ, lenK, input.gap, &storage.alen, 1, storage.cmp, storage.path);
    const int score = score_kv(j, k, storage.alen, input.matNo, input.gap, 1, input.seqs, storage.path);
    const float nas = norm_kv(j, k, storage.alen, score, input.matNo, 1, input.seqs, storage.path);
    storage.fscore[j][k] = storage.fscore[k][j] = nas;
    if (ns == 2) writeSimilarity(log, score, nas);
    if (!storage.pid.empty())
      storage.pid[j][k] = storage.pid[k][j] = pids_kv(j, k, storage.alen, input.seqs, input.nres, storage.path);
  });
}

// A run of pairs of one row, aligned together in SIMD lanes, and what the
// phase keeps of it beyond the NAS and identities, which go straight into
// the run's tables: the alignment length of its last pair (the one a row's
// end leaves in storage.alen) and its first pair that pairs no position.
struct Chunk {
  unsigned long j;
  unsigned long firstK;
  unsigned long count;
  unsigned long firstPair;
  int lastAlen = 0;
  unsigned pairlessAt = 0;         // offset of that pair in the chunk
  const char* pairless = nullptr;  // the reference's exit message, if any
};

// Computes the pairs of the phase on worker threads and on the calling
// thread while it waits. Pairs are stored by their index in pair order, so
// nothing depends on which thread computed what or when.
class PairsAhead {
 public:
  PairsAhead(const RunInput& input, RunStorage& storage, unsigned threads)
      : input_(input), storage_(storage), ns_(input.seqs.rows()), scores_(input.matNo) {
    ks_.resize(ns_);
    std::iota(ks_.begin(), ks_.end(), 0UL);
    planChunks();
    done_ = std::make_unique<std::atomic<unsigned char>[]>(chunks_.size());
    errors_.resize(chunks_.size());
    // Fewer threads than asked for only cost time: the calling thread
    // computes whatever no worker takes.
    try {
      for (unsigned t = 1; t < threads; ++t) workers_.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
    } catch (const std::bad_alloc&) {
    }
  }

  ~PairsAhead() { stop(); }
  PairsAhead(const PairsAhead&) = delete;
  PairsAhead& operator=(const PairsAhead&) = delete;

  // Stops the workers after their current chunk and waits for them.
  void stop() {
    stop_.store(true);
    for (std::thread& t : workers_) t.join();
    workers_.clear();
  }

  unsigned long pairIndex(unsigned long j, unsigned long k) const { return rowStart(j) + (k - j - 1); }

  // The chunk of pair (j, k), computing chunks on this thread until that one
  // is done; its NAS and identity are then in the run's tables.
  const Chunk& waitFor(unsigned long j, unsigned long k) {
    const unsigned long c = rowChunk_[j] + (k - j - 1) / chunkLanes_;
    while (done_[c].load(std::memory_order_acquire) == 0) {
      if (!runNextChunk(mainThread_)) done_[c].wait(0, std::memory_order_acquire);
    }
    if (errors_[c]) std::rethrow_exception(errors_[c]);
    return chunks_[c];
  }

 private:
  struct ThreadState {
    explicit ThreadState(unsigned long width) : path(2, width) {}
    zemtra::DpWorkspace workspace;
    KARVO::Matrix<long> path;
  };

  // Index of pair (j, j + 1): the pairs of the rows above come first.
  unsigned long rowStart(unsigned long j) const { return j * (ns_ - 1) - j * (j - 1) / 2; }

  void planChunks() {
    chunkLanes_ = zemtra::batchLanes(zemtra::bestSimdLevel(), zemtra::LaneWidth::kAuto);
    rowChunk_.resize(ns_);
    for (unsigned long j = 0; j + 1 < ns_; ++j) {
      rowChunk_[j] = chunks_.size();
      for (unsigned long k = j + 1; k < ns_; k += chunkLanes_) {
        chunks_.push_back({j, k, std::min(chunkLanes_, ns_ - k), pairIndex(j, k)});
      }
    }
  }

  // A worker that cannot set itself up leaves its share to the others and
  // to the calling thread.
  void work() {
    std::unique_ptr<ThreadState> state;
    try {
      state = std::make_unique<ThreadState>(input_.seqs.cols());
    } catch (const std::bad_alloc&) {
      return;
    }
    while (!stop_.load(std::memory_order_relaxed) && runNextChunk(*state)) {
    }
  }

  // Takes the next chunk nobody has taken; false when there is none.
  bool runNextChunk(ThreadState& state) {
    const unsigned long c = next_.fetch_add(1);
    if (c >= chunks_.size()) return false;
    // Pairs after one whose alignment ends the process are never needed.
    if (chunks_[c].firstPair <= firstPairless_.load(std::memory_order_relaxed)) {
      try {
        compute(chunks_[c], state);
      } catch (...) {
        errors_[c] = std::current_exception();
      }
    }
    done_[c].store(1, std::memory_order_release);
    done_[c].notify_all();
    return true;
  }

  void compute(Chunk& chunk, ThreadState& state) {
    const zemtra::SimdLevel level = zemtra::chunkLevel(chunk.count);
    zemtra::RowPairs request{input_.seqs,  input_.len, chunk.j, ks_.data() + chunk.firstK, chunk.count,
                             input_.matNo, input_.gap, level,   zemtra::LaneWidth::kAuto};
    request.reportPairless = true;
    zemtra::alignRowPairs(request, state.path, state.workspace, [&](const zemtra::PairOutcome& o) {
      const unsigned long offset = o.k - chunk.firstK;
      if (o.pairless != nullptr) {
        if (chunk.pairless == nullptr) {
          chunk.pairless = o.pairless;
          chunk.pairlessAt = static_cast<unsigned>(offset);
        }
        notePairless(chunk.firstPair + offset);
        return;
      }
      if (offset + 1 == chunk.count) chunk.lastAlen = o.alen;
      const zemtra::PathMeasures m =
          zemtra::measurePath({input_.seqs, input_.nres, o.j, o.k, o.alen, state.path, scores_, input_.gap});
      // Every pair owns its two cells, so threads never write the same one.
      storage_.fscore[o.j][o.k] = storage_.fscore[o.k][o.j] = m.nas;
      if (!storage_.pid.empty()) storage_.pid[o.j][o.k] = storage_.pid[o.k][o.j] = m.pid;
    });
  }

  void notePairless(unsigned long p) {
    unsigned long seen = firstPairless_.load();
    while (p < seen && !firstPairless_.compare_exchange_weak(seen, p)) {
    }
  }

  const RunInput& input_;
  RunStorage& storage_;
  const unsigned long ns_;
  const zemtra::ScoreLookup scores_;
  std::vector<unsigned long> ks_;  // 0, 1, ..., ns - 1: every chunk's rows are a slice of it
  std::vector<Chunk> chunks_;
  std::vector<unsigned long> rowChunk_;  // first chunk of each row
  unsigned long chunkLanes_ = 1;
  std::unique_ptr<std::atomic<unsigned char>[]> done_;
  std::vector<std::exception_ptr> errors_;
  std::atomic<unsigned long> next_{0};
  std::atomic<unsigned long> firstPairless_{~0UL};
  std::atomic<bool> stop_{false};
  ThreadState mainThread_{input_.seqs.cols()};
  std::vector<std::thread> workers_;
};

// Whether every alignment of the phase that pairs a position fits the path
// matrix, so that pair_kv writes its path for every pair and no measure ever
// reads a path left over from an earlier pair.
bool pathsAlwaysFit(const RunInput& input) {
  const unsigned long ns = input.seqs.rows();
  unsigned long longest = 0;
  unsigned long second = 0;
  for (unsigned long r = 0; r < ns; ++r) {
    const unsigned long l = input.len[r];
    if (l > longest) {
      second = longest;
      longest = l;
    } else if (l > second) {
      second = l;
    }
  }
  return longest + second <= input.seqs.cols();
}

bool pairsAhead(const RunInput& input, RunStorage& storage, RunProgress& progress, unsigned threads) {
  const unsigned long ns = input.seqs.rows();
  PairsAhead pairs(input, storage, threads);
  return pairsInOrder(ns, progress, [&](unsigned long j, unsigned long k) {
    const Chunk& chunk = pairs.waitFor(j, k);
    const unsigned long offset = k - chunk.firstK;
    if (chunk.pairless != nullptr && offset == chunk.pairlessAt) {
      pairs.stop();
      zemtra::fatalExit(chunk.pairless, ZemtraExit::kPairedNoPosition);
    }
    // The tables already hold the pair; storage.alen is read only after a
    // row ends, so setting it at a chunk's last pair is enough.
    if (offset + 1 == chunk.count) storage.alen = chunk.lastAlen;
  });
}

}  // namespace

std::uint64_t pairwisePhaseBytes(unsigned long ns, unsigned long columns, unsigned long longest,
                                 const zemtra::EngineOptions& engine) {
  using KARVO::bytesPlus;
  using KARVO::bytesTimes;
  const std::uint64_t inTurn =
      engine.reference ? pairKvBytes(longest, longest) : zemtra::scalarWorkspaceBytes(longest, longest);
  if (engine.reference || ns <= 2) return inTurn;
  // PairsAhead: the bookkeeping of every chunk, a path for each thread, and
  // a batch workspace for each thread that takes a chunk. Chunks cover each
  // row's pairs in runs of the lanes of the best level; the vector of them
  // may hold twice what it was asked for.
  const std::uint64_t pairs = bytesTimes(ns, ns) / 2;
  const unsigned threads = zemtra::threadCount(engine);
  const unsigned long lanes = zemtra::batchLanes(zemtra::bestSimdLevel(), zemtra::LaneWidth::kAuto);
  const std::uint64_t chunks = bytesPlus(pairs / lanes, ns);
  std::uint64_t bytes =
      bytesTimes(chunks, 2 * sizeof(Chunk) + sizeof(std::exception_ptr) + sizeof(std::atomic<unsigned char>));
  bytes = bytesPlus(bytes, bytesTimes(ns, 2 * sizeof(unsigned long)));
  bytes = bytesPlus(bytes, bytesTimes(threads, bytesPlus(KARVO::Matrix<long>::bytesFor(2, columns),
                                                         sizeof(std::thread) + sizeof(zemtra::DpWorkspace))));
  const std::uint64_t busy = std::min<std::uint64_t>(threads, pairs);
  bytes = bytesPlus(bytes, bytesTimes(busy, zemtra::rowPairsWorkspaceBytes(zemtra::bestSimdLevel(), longest, longest)));
  // Runs whose paths may not fit go one pair after the other.
  return std::max(bytes, inTurn);
}

bool pairwisePhase(std::ostream& log, const RunInput& input, RunStorage& storage, RunProgress& progress,
                   const zemtra::EngineOptions& engine) {
  if (engine.reference) return pairsInTurn(log, input, storage, progress, false);
  // Two sequences leave their one path for the merge; odd inputs whose
  // paths may not fit keep the reference's order of path writes.
  if (input.seqs.rows() <= 2 || !pathsAlwaysFit(input)) return pairsInTurn(log, input, storage, progress, true);
  return pairsAhead(input, storage, progress, zemtra::threadCount(engine));
}
