// The pairwise phase's row of pairs through the multi-pair kernel: scores
// from a profile of the B sequences, fill in SIMD lanes, then the traceback
// of each lane in turn.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "core/diagnostics.h"
#include "pairwise/fast_dp.h"
#include "pairwise/pair_kv.h"
#include "pairwise/simd/dispatch.h"
#include "pairwise/simd/workspace.h"
#include "plugin/zemtra_types.h"
#include "scoring/scomat.h"

namespace zemtra {

namespace {

using simd::kCodes;
using simd::kGapCode;

// What a cell of one pair scores: comp_kv's value (0 with a gap on either
// side) after pair_kv's averaging over one pair.
struct ScoreTable {
  int score[kCodes][kCodes];
  // The same in bytes, rows padded to 32 entries, for the vector look-ups;
  // fitsBytes tells whether every score fits.
  std::int8_t bytes[kCodes][32] = {};
  bool fitsBytes = true;
  int maxAbs = 0;
  int rowPositive[kCodes];  // largest score of a code of A, at least 0
  int colPositive[kCodes];  // largest score of a code of B, at least 0
};

ScoreTable makeTable(int matNo) {
  ScoreTable t;
  for (int a = 0; a < kCodes; ++a) t.rowPositive[a] = t.colPositive[a] = 0;
  for (int a = 0; a < kCodes; ++a) {
    for (int b = 0; b < kCodes; ++b) {
      const int sum = (a == kGapCode || b == kGapCode)
                          ? 0
                          : ScoMat::mats[matNo * ScoMat::kAlphabet * ScoMat::kAlphabet + a * ScoMat::kAlphabet + b];
      const int s = averagedScore(sum, 1);
      t.score[a][b] = s;
      t.bytes[a][b] = static_cast<std::int8_t>(s);
      t.fitsBytes = t.fitsBytes && s >= -128 && s <= 127;
      t.maxAbs = std::max(t.maxAbs, std::abs(s));
      t.rowPositive[a] = std::max(t.rowPositive[a], s);
      t.colPositive[b] = std::max(t.colPositive[b], s);
    }
  }
  return t;
}

inline std::uint8_t codeOf(char ch) {
  return static_cast<std::uint8_t>(ch == '-' ? kGapCode : ScoMat::residueIndex(ch));
}

// Buffer sizes of one batch of lanes pairs, rows of n positions against
// columns up to width, in bytes for elements of elem bytes. The aligner and
// the estimate of a run's memory both take them from here.
struct BatchSizes {
  unsigned long n, width, lanes;
  std::size_t elem;
  std::size_t rows() const { return 3 * width * lanes * elem; }
  std::size_t trace() const { return simd::batchTraceBytes(n, width, lanes); }
  std::size_t profile() const { return kCodes * width * lanes * elem; }
  std::size_t laneCodes() const { return width * lanes; }
  std::size_t entries() const { return lanes * simd::traceEntries(n, width); }
};

// Buffer sizes of the within-pair kernel for rows of n positions against
// columns up to m: A's positions are padded to whole vectors of either
// element width, and the profile holds both.
struct ScanSizes {
  unsigned long n, m, stride16, stride32;
  static ScanSizes of(SimdLevel level, unsigned long n, unsigned long m) {
    const unsigned long narrow = batchLanes(level, LaneWidth::kAuto), wide = batchLanes(level, LaneWidth::kWide);
    return {n, m, (n + narrow - 1) / narrow * narrow, (n + wide - 1) / wide * wide};
  }
  std::size_t profile16() const { return kCodes * stride16 * sizeof(std::int16_t); }
  std::size_t profile() const { return profile16() + kCodes * stride32 * sizeof(std::int32_t); }
  std::size_t columns() const { return simd::scanColumnElems(stride32) * sizeof(std::int32_t); }
  std::size_t trace() const { return simd::scanTraceBytes(std::max(stride16, stride32), m); }
};

class RowAligner {
 public:
  RowAligner(const RowPairs& request, KARVO::Matrix<long>& path, DpWorkspace::Buffers& b,
             const std::function<void(const PairOutcome&)>& onPair)
      : req_(request), path_(path), b_(b), onPair_(onPair), table_(makeTable(request.matNo)) {
    n_ = req_.len[req_.j];
    const char* rowA = req_.seqs[req_.j];
    rowCodes_ = simd::ensure(b_.rowCodes, n_);
    for (int r = 0; r < kCodes; ++r) present_[r] = false;
    for (unsigned long i = 1; i <= n_; ++i) {
      rowCodes_[i - 1] = codeOf(rowA[i]);
      present_[rowCodes_[i - 1]] = true;
      sumA_ += table_.rowPositive[rowCodes_[i - 1]];
    }
  }

  void run() {
    unsigned long widest = 0;
    for (unsigned long p = 0; p < req_.count; ++p) widest = std::max(widest, req_.len[req_.ks[p]]);
    const simd::Kernel kernel = simd::kernelFor(batchLevelFor(req_.level, n_, widest));
    const simd::Kernel single = simd::kernelFor(req_.level);
    const unsigned long narrowLanes = batchLanes(kernel.level, LaneWidth::kAuto);
    const unsigned long wideLanes = batchLanes(kernel.level, LaneWidth::kWide);
    unsigned long done = 0;
    while (done < req_.count) {
      const unsigned long narrow = std::min(narrowLanes, req_.count - done);
      const long long bound = valueBound(done, narrow);
      const bool fits = req_.width == LaneWidth::kAuto && bound <= kLimit16;
      // The within-pair kernel checks its 16-bit values as it goes; worth a
      // try unless the bound is far off or a pair of this row needed more.
      const bool tryNarrow = req_.width == LaneWidth::kAuto && bound <= 2 * kLimit16 && !withinWide_;
      const unsigned long lanes = fits ? narrowLanes : wideLanes;
      const unsigned long take = std::min(lanes, req_.count - done);
      const bool within = req_.kernel == PairKernel::kWithinPair ||
                          (req_.kernel == PairKernel::kChosen &&
                           simd::withinPairCheaper(single.level, shape(done, take, lanes, !tryNarrow)));
      if (within) {
        for (unsigned long p = done; p < done + take; ++p) alignWithin(single, p, tryNarrow);
      } else if (fits) {
        runChunk<std::int16_t>(kernel, done, take, lanes);
      } else {
        runChunk<std::int32_t>(kernel, done, take, lanes);
      }
      done += take;
    }
  }

 private:
  static constexpr long long kLimit16 = 32767;

  // A bound on every value the fill computes for these pairs; 16-bit lanes
  // hold them when it is at most kLimit16. A path's score is at most the
  // positive part of its pair scores, each position used once (bounded from
  // either sequence), plus -gap for each return from a gap when gap is
  // negative; values below 0 never go under -|gap| - max|score|.
  long long valueBound(unsigned long first, unsigned long count) const {
    long long upper = 0;
    unsigned long widest = 0;
    for (unsigned long p = first; p < first + count; ++p) {
      const unsigned long k = req_.ks[p];
      const unsigned long m = req_.len[k];
      const char* rowB = req_.seqs[k];
      long long sumB = 0;
      for (unsigned long c = 1; c <= m; ++c) sumB += table_.colPositive[codeOf(rowB[c])];
      upper = std::max(upper, std::min(sumA_, sumB));
      widest = std::max(widest, m);
    }
    const long long gap = req_.gap;
    const long long absGap = gap < 0 ? -gap : gap;
    if (gap < 0) upper += static_cast<long long>(std::min(n_, widest)) * absGap;
    return upper + absGap + table_.maxAbs;
  }

  template <typename Elem>
  void runChunk(const simd::Kernel& kernel, unsigned long first, unsigned long used, unsigned long lanes) {
    unsigned long width = 0;
    for (unsigned long p = 0; p < used; ++p) width = std::max(width, req_.len[req_.ks[first + p]]);
    const bool empty = n_ == 0 || width == 0;

    const BatchSizes sizes{n_, width, lanes, sizeof(Elem)};
    Elem* rows = nullptr;
    std::uint8_t* trace = nullptr;
    if (!empty) {
      const Elem* profile = buildProfile<Elem>(kernel, first, used, sizes);
      rows = static_cast<Elem*>(b_.rows.ensure(sizes.rows()));
      trace = static_cast<std::uint8_t*>(b_.laneTrace.ensure(sizes.trace()));
      const simd::BatchFill f{n_, width, req_.gap, rowCodes_, profile, rows, trace};
      kernel.fill(f, 8 * sizeof(Elem));
    }

    // The tracebacks of all lanes walk up the trace rows together, so that
    // each row of codes is read while it is in cache; every lane still takes
    // exactly its own steps.
    const unsigned long stride = simd::traceEntries(n_, width);
    long* entryA = simd::ensure(b_.laneEntryA, sizes.entries());
    long* entryB = simd::ensure(b_.laneEntryB, sizes.entries());
    unsigned char* entryPaired = simd::ensure(b_.laneEntryPaired, sizes.entries());
    tracers_.clear();
    scores_.clear();
    for (unsigned long p = 0; p < used; ++p) {
      const unsigned long k = req_.ks[first + p];
      // pair_kv's averaged matrix is empty when either length is 0.
      const unsigned long m = n_ == 0 ? 0 : req_.len[k];
      const unsigned long n = m == 0 ? 0 : n_;
      simd::EndValues end;
      if (n > 0) {
        const Elem* last = rows + (m - 1) * 3 * lanes + p;
        end.diag = last[0];
        end.vert = last[lanes];
        end.horz = last[2 * lanes];
      }
      scores_.push_back(std::max(end.diag, std::max(end.vert, end.horz)));
      // Full records are reported here and acted on in pair order below.
      tracers_.emplace_back(n, m, end, n_ + req_.len[k], entryA + p * stride, entryB + p * stride,
                            entryPaired + p * stride, true);
    }
    for (unsigned long i = n_; i > 0; --i) {
      for (unsigned long p = 0; p < used; ++p) {
        simd::Tracer& t = tracers_[p];
        auto codeAt = [trace, width, lanes, p](unsigned long row, unsigned long c) {
          return simd::traceCode(trace, width, lanes, p, row, c);
        };
        while (t.i == i && t.inMainLoop()) t.step(codeAt);
      }
    }

    for (unsigned long p = 0; p < used; ++p) report(req_.ks[first + p], scores_[p], tracers_[p]);
  }

  // The end of a pair's traceback, then its path and outcome.
  void report(unsigned long k, int score, simd::Tracer& t) {
    t.tails();
    if (t.result.full != nullptr) {
      if (!req_.reportPairless) zemtra::fatalExit(t.result.full, ZemtraExit::kPairedNoPosition);
      onPair_({req_.j, k, score, 0, t.result.full});
      return;
    }
    simd::writePath(t.result, t.entryA, t.entryB, path_);
    onPair_({req_.j, k, score, static_cast<int>(t.result.count)});
  }

  simd::ChunkShape shape(unsigned long first, unsigned long count, unsigned long lanes, bool wide) const {
    simd::ChunkShape c{count, n_, 0, 0, lanes, wide};
    for (unsigned long p = first; p < first + count; ++p) {
      c.columns = std::max(c.columns, req_.len[req_.ks[p]]);
      c.columnSum += req_.len[req_.ks[p]];
    }
    return c;
  }

  // Pair p through the within-pair kernel: with tryNarrow 16-bit elements
  // unless some value could have left their range, else 32-bit.
  void alignWithin(const simd::Kernel& kernel, unsigned long p, bool tryNarrow) {
    const unsigned long k = req_.ks[p];
    // pair_kv's averaged matrix is empty when either length is 0.
    const unsigned long m = n_ == 0 ? 0 : req_.len[k];
    const unsigned long n = m == 0 ? 0 : n_;
    simd::ScanEnd end;
    ScanCodes codes;
    if (n > 0) {
      const char* rowB = req_.seqs[k];
      std::uint8_t* colCodes = simd::ensure(b_.laneCodes, m);
      for (unsigned long c = 1; c <= m; ++c) colCodes[c - 1] = codeOf(rowB[c]);
      if (tryNarrow) end = scanFill<std::int16_t>(kernel, colCodes, m, codes);
      if (!tryNarrow || !end.exact) {
        withinWide_ = withinWide_ || tryNarrow;
        end = scanFill<std::int32_t>(kernel, colCodes, m, codes);
      }
    }
    const unsigned long entries = simd::traceEntries(n_, req_.len[k]);
    simd::Tracer t(n, m, {end.diag, end.vert, end.horz}, n_ + req_.len[k], simd::ensure(b_.laneEntryA, entries),
                   simd::ensure(b_.laneEntryB, entries), simd::ensure(b_.laneEntryPaired, entries), true);
    auto codeAt = [codes](unsigned long i, unsigned long c) {
      return codes.trace[(c - 1) * codes.stride + simd::stripedIndex(i, codes.stride, codes.lanes)];
    };
    while (t.inMainLoop()) t.step(codeAt);
    report(k, std::max(end.diag, std::max(end.vert, end.horz)), t);
  }

  struct ScanCodes {
    const std::uint8_t* trace = nullptr;
    unsigned long stride = 0, lanes = 1;
  };

  template <typename Elem>
  simd::ScanEnd scanFill(const simd::Kernel& kernel, const std::uint8_t* colCodes, unsigned long m, ScanCodes& out) {
    const ScanSizes sizes = ScanSizes::of(kernel.level, n_, m);
    const bool narrow = sizeof(Elem) == 2;
    const unsigned long stride = narrow ? sizes.stride16 : sizes.stride32;
    const unsigned long lanes = batchLanes(kernel.level, narrow ? LaneWidth::kAuto : LaneWidth::kWide);
    auto* profile = static_cast<std::uint8_t*>(b_.scanProfile.ensure(sizes.profile()));
    Elem* rowProfile = reinterpret_cast<Elem*>(narrow ? profile : profile + sizes.profile16());
    if (!(narrow ? profile16Built_ : profile32Built_)) {
      // Scores of A's positions against each residue code of B.
      for (int r = 0; r < kCodes; ++r) {
        Elem* scores = rowProfile + static_cast<unsigned long>(r) * stride;
        std::fill(scores, scores + stride, Elem{0});
        for (unsigned long i = 1; i <= n_; ++i)
          scores[simd::stripedIndex(i, stride, lanes)] = static_cast<Elem>(table_.score[rowCodes_[i - 1]][r]);
      }
      (narrow ? profile16Built_ : profile32Built_) = true;
    }
    out.stride = stride;
    out.lanes = lanes;
    auto* trace = static_cast<std::uint8_t*>(b_.laneTrace.ensure(simd::scanTraceBytes(stride, m)));
    out.trace = trace;
    const simd::ScanFill f{
        n_,   stride, m, req_.gap, colCodes, rowProfile, b_.rows.ensure(simd::scanColumnElems(stride) * sizeof(Elem)),
        trace};
    return kernel.scan(f, 8 * sizeof(Elem), table_.maxAbs);
  }

  // Scores of every code present in A against every position of each lane's
  // B; lanes without a pair and columns past a B's end score 0.
  template <typename Elem>
  const Elem* buildProfile(const simd::Kernel& kernel, unsigned long first, unsigned long used,
                           const BatchSizes& sizes) {
    const unsigned long lanes = sizes.lanes;
    const unsigned long width = sizes.width;
    std::uint8_t* laneCodes = simd::ensure(b_.laneCodes, sizes.laneCodes());
    std::fill(laneCodes, laneCodes + sizes.laneCodes(), static_cast<std::uint8_t>(kGapCode));
    for (unsigned long p = 0; p < used; ++p) {
      const unsigned long k = req_.ks[first + p];
      const char* rowB = req_.seqs[k];
      for (unsigned long c = 1; c <= req_.len[k]; ++c) laneCodes[(c - 1) * lanes + p] = codeOf(rowB[c]);
    }
    Elem* profile = static_cast<Elem*>(b_.profile.ensure(sizes.profile()));
    constexpr int bits = 8 * sizeof(Elem);
    if (table_.fitsBytes) {
      const simd::ProfileFill fill{table_.bytes, present_, laneCodes, width, profile};
      if (kernel.profile != nullptr)
        kernel.profile(fill, bits);
      else
        simd::profilePortable(fill, bits, static_cast<unsigned>(lanes));
      return profile;
    }
    for (int r = 0; r < kCodes; ++r) {
      if (!present_[r]) continue;
      const int* scores = table_.score[r];
      Elem* out = profile + static_cast<unsigned long>(r) * width * lanes;
      for (unsigned long e = 0; e < width * lanes; ++e) out[e] = static_cast<Elem>(scores[laneCodes[e]]);
    }
    return profile;
  }

  const RowPairs& req_;
  KARVO::Matrix<long>& path_;
  DpWorkspace::Buffers& b_;
  const std::function<void(const PairOutcome&)>& onPair_;
  const ScoreTable table_;
  unsigned long n_ = 0;
  std::uint8_t* rowCodes_ = nullptr;
  bool present_[kCodes];
  long long sumA_ = 0;
  bool profile16Built_ = false, profile32Built_ = false;  // in b_.scanProfile
  // A within-pair fill of this row needed 32-bit elements; the pairs of a
  // row share A, so the others start with them.
  bool withinWide_ = false;
  std::vector<simd::Tracer> tracers_;
  std::vector<int> scores_;
};

}  // namespace

std::uint64_t rowPairsWorkspaceBytes(SimdLevel level, unsigned long n, unsigned long m) {
  // Buffers only grow: each ends at the larger of what the narrow and the
  // wide lanes of the level a row of that size gets ask for.
  const SimdLevel used = simd::kernelFor(batchLevelFor(level, n, m)).level;
  const BatchSizes narrow{n, m, batchLanes(used, LaneWidth::kAuto), sizeof(std::int16_t)};
  const BatchSizes wide{n, m, batchLanes(used, LaneWidth::kWide), sizeof(std::int32_t)};
  using KARVO::bytesPlus;
  const ScanSizes scan = ScanSizes::of(simd::kernelFor(level).level, n, m);
  std::uint64_t bytes = std::max({narrow.rows(), wide.rows(), scan.columns()});
  bytes = bytesPlus(bytes, std::max({narrow.trace(), wide.trace(), scan.trace()}));
  bytes = bytesPlus(bytes, scan.profile());
  bytes = bytesPlus(bytes, std::max(narrow.profile(), wide.profile()));
  bytes = bytesPlus(bytes, std::max(narrow.laneCodes(), wide.laneCodes()));
  bytes = bytesPlus(bytes, simd::traceEntryBytes(std::max(narrow.entries(), wide.entries())));
  // The codes of the row, and the aligner's tracer and score of each lane,
  // in vectors that may hold twice what they were asked for.
  const std::uint64_t lanes = std::max(narrow.lanes, wide.lanes);
  return bytesPlus(bytes, bytesPlus(n, KARVO::bytesTimes(2 * lanes, sizeof(simd::Tracer) + sizeof(int))));
}

void alignRowPairs(const RowPairs& request, KARVO::Matrix<long>& path, DpWorkspace& ws,
                   const std::function<void(const PairOutcome&)>& onPair) {
  ZEMTRA_ASSERT(simdLevelSupported(request.level));
  RowAligner(request, path, ws.buffers(), onPair).run();
}

}  // namespace zemtra
