// The pairwise phase's row of pairs through the multi-pair kernel: scores
// from a profile of the B sequences, fill in SIMD lanes, then the traceback
// of each lane in turn.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "core/diagnostics.h"
#include "pairwise/fast_dp.h"
#include "pairwise/simd/workspace.h"
#include "scoring/scomat.h"

namespace zemtra {

namespace {

using simd::kCodes;
using simd::kGapCode;

// What a cell of one pair scores: comp_kv's value (0 with a gap on either
// side) after pair_kv's averaging over one pair.
struct ScoreTable {
  int score[kCodes][kCodes];
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
      const int s = static_cast<int>(static_cast<double>(static_cast<float>(sum) / 1.0f) + 0.5);
      t.score[a][b] = s;
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

struct Kernel {
  void (*fill)(const simd::BatchFill&, int);
  SimdLevel level;
};

Kernel kernelFor(SimdLevel level) {
  switch (level) {
#if defined(ZEMTRA_X86_KERNELS)
    case SimdLevel::kSse2:
      return {simd::fillSse2, level};
    case SimdLevel::kAvx2:
      return {simd::fillAvx2, level};
    case SimdLevel::kAvx512:
      return {simd::fillAvx512, level};
#endif
    default:
      return {simd::fillPortable, SimdLevel::kPortable};
  }
}

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
    const Kernel kernel = kernelFor(req_.level);
    const unsigned long narrowLanes = batchLanes(kernel.level, LaneWidth::kAuto);
    const unsigned long wideLanes = batchLanes(kernel.level, LaneWidth::kWide);
    unsigned long done = 0;
    while (done < req_.count) {
      const unsigned long narrow = std::min(narrowLanes, req_.count - done);
      if (req_.width == LaneWidth::kAuto && fitsNarrow(done, narrow)) {
        runChunk<std::int16_t>(kernel, done, narrow, narrowLanes);
        done += narrow;
      } else {
        const unsigned long wide = std::min(wideLanes, req_.count - done);
        runChunk<std::int32_t>(kernel, done, wide, wideLanes);
        done += wide;
      }
    }
  }

 private:
  // Whether 16-bit lanes hold every value the fill computes for these pairs.
  // A path's score is at most the positive part of its pair scores, each
  // position used once (bounded from either sequence), plus -gap for each
  // return from a gap when gap is negative; values below 0 never go under
  // -|gap| - max|score|.
  bool fitsNarrow(unsigned long first, unsigned long count) const {
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
    constexpr long long kLimit = 32767;
    return upper + absGap + table_.maxAbs <= kLimit;
  }

  template <typename Elem>
  void runChunk(const Kernel& kernel, unsigned long first, unsigned long used, unsigned long lanes) {
    unsigned long width = 0;
    for (unsigned long p = 0; p < used; ++p) width = std::max(width, req_.len[req_.ks[first + p]]);
    const bool empty = n_ == 0 || width == 0;

    Elem* rows = nullptr;
    std::uint8_t* trace = nullptr;
    if (!empty) {
      const Elem* profile = buildProfile<Elem>(first, used, lanes, width);
      rows = static_cast<Elem*>(b_.rows.ensure(3 * width * lanes * sizeof(Elem)));
      trace = static_cast<std::uint8_t*>(b_.laneTrace.ensure(n_ * width * lanes));
      const simd::BatchFill f{n_, width, req_.gap, rowCodes_, profile, rows, trace};
      kernel.fill(f, 8 * sizeof(Elem));
    }

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
      auto codeAt = [trace, width, lanes, p](unsigned long i, unsigned long c) {
        return trace[((i - 1) * width + (c - 1)) * lanes + p];
      };
      const simd::TraceResult r = simd::traceBack(n, m, end, n_ + req_.len[k], codeAt, b_);
      simd::writePath(r, b_, path_);
      onPair_({req_.j, k, std::max(end.diag, std::max(end.vert, end.horz)), static_cast<int>(r.count)});
    }
  }

  // Scores of every code present in A against every position of each lane's
  // B; lanes without a pair and columns past a B's end score 0.
  template <typename Elem>
  const Elem* buildProfile(unsigned long first, unsigned long used, unsigned long lanes, unsigned long width) {
    std::uint8_t* laneCodes = simd::ensure(b_.laneCodes, width * lanes);
    std::fill(laneCodes, laneCodes + width * lanes, static_cast<std::uint8_t>(kGapCode));
    for (unsigned long p = 0; p < used; ++p) {
      const unsigned long k = req_.ks[first + p];
      const char* rowB = req_.seqs[k];
      for (unsigned long c = 1; c <= req_.len[k]; ++c) laneCodes[(c - 1) * lanes + p] = codeOf(rowB[c]);
    }
    Elem* profile = static_cast<Elem*>(b_.profile.ensure(kCodes * width * lanes * sizeof(Elem)));
    for (int r = 0; r < kCodes; ++r) {
      if (!present_[r]) continue;
      const int* scores = table_.score[r];
      Elem* out = profile + r * width * lanes;
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
};

}  // namespace

void alignRowPairs(const RowPairs& request, KARVO::Matrix<long>& path, DpWorkspace& ws,
                   const std::function<void(const PairOutcome&)>& onPair) {
  ZEMTRA_ASSERT(simdLevelSupported(request.level));
  RowAligner(request, path, ws.buffers(), onPair).run();
}

}  // namespace zemtra
