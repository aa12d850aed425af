// Cell updates per second of the pairwise dynamic programming: the
// reference routines against the fast ones, on one row of the pairwise
// phase (sequence 0 against all others) of a 200-sequence family, and on
// one group comparison.
#include <benchmark/benchmark.h>

#include <algorithm>

#include "bench_family.h"
#include "pairwise/comp_kv.h"
#include "pairwise/dpa.h"
#include "pairwise/fast_dp.h"
#include "pairwise/group_profile.h"
#include "pairwise/pair_kv.h"
#include "scoring/scomat.h"

namespace {

constexpr int kMatrix = 0;
constexpr int kGap = 40;
constexpr unsigned long kRow = 0;

bench::Working& family() {
  static bench::Working w(bench::loadFamily());
  return w;
}

void reportCells(benchmark::State& state, double cellsPerIteration) {
  state.counters["GCUPS"] = benchmark::Counter(cellsPerIteration / 1e9, benchmark::Counter::kIsIterationInvariantRate);
}

double rowCells(const bench::Working& w) {
  double cells = 0;
  for (unsigned long k = kRow + 1; k < w.len.size(); ++k) cells += double(w.len[kRow]) * double(w.len[k]);
  return cells;
}

void BM_RowReference(benchmark::State& state) {
  bench::Working& w = family();
  KARVO::Matrix<int> cmp(w.width, w.width);
  KARVO::Matrix<long> path(2, w.width);
  for (auto _ : state) {
    for (unsigned long k = kRow + 1; k < w.len.size(); ++k) {
      unsigned long lenJ = 0, lenK = 0;
      bool first = true;
      int alen = 0;
      comp_kv(kRow, k, kMatrix, &lenJ, &lenK, cmp, w.seqs, w.len.data(), first);
      benchmark::DoNotOptimize(pair_kv(lenJ, lenK, kGap, &alen, 1, cmp, path));
    }
  }
  reportCells(state, rowCells(w));
}

void BM_RowPairFast(benchmark::State& state) {
  bench::Working& w = family();
  KARVO::Matrix<int> cmp(w.width, w.width);
  KARVO::Matrix<long> path(2, w.width);
  zemtra::DpWorkspace ws;
  for (auto _ : state) {
    for (unsigned long k = kRow + 1; k < w.len.size(); ++k) {
      unsigned long lenJ = 0, lenK = 0;
      bool first = true;
      int alen = 0;
      comp_kv(kRow, k, kMatrix, &lenJ, &lenK, cmp, w.seqs, w.len.data(), first);
      benchmark::DoNotOptimize(zemtra::pairFast(lenJ, lenK, kGap, &alen, 1, cmp, path, ws));
    }
  }
  reportCells(state, rowCells(w));
}

void BM_RowBatch(benchmark::State& state, zemtra::SimdLevel level, zemtra::LaneWidth width) {
  if (!zemtra::simdLevelSupported(level)) {
    state.SkipWithError("instruction set not available on this CPU");
    return;
  }
  bench::Working& w = family();
  KARVO::Matrix<long> path(2, w.width);
  std::vector<unsigned long> ks;
  for (unsigned long k = kRow + 1; k < w.len.size(); ++k) ks.push_back(k);
  zemtra::DpWorkspace ws;
  const zemtra::RowPairs request{w.seqs, w.len.data(), kRow, ks.data(), ks.size(), kMatrix, kGap, level, width};
  for (auto _ : state) {
    long total = 0;
    zemtra::alignRowPairs(request, path, ws, [&](const zemtra::PairOutcome& o) { total += o.score; });
    benchmark::DoNotOptimize(total);
  }
  reportCells(state, rowCells(w));
}

// One pair's score matrix, as pair_kv hands it to the dynamic programming:
// sequences 0 and 1 of the family, repeated to the requested length.
struct OnePair {
  explicit OnePair(unsigned long size) : S(size, size) {
    const bench::Working& w = family();
    for (unsigned long i = 0; i < size; ++i) {
      const char a = w.seqs[0][1 + i % w.len[0]];
      for (unsigned long c = 0; c < size; ++c) S[i][c] = ScoMat::pairScore(kMatrix, a, w.seqs[1][1 + c % w.len[1]]);
    }
  }
  KARVO::Matrix<int> S;
};

void BM_FredmanReference(benchmark::State& state) {
  OnePair pair(static_cast<unsigned long>(state.range(0)));
  Alignment aln(pair.S.rows() + pair.S.cols());
  for (auto _ : state) benchmark::DoNotOptimize(DPA::fredman<int>(kGap, pair.S, aln));
  reportCells(state, double(pair.S.rows()) * double(pair.S.cols()));
}

void BM_FredmanFast(benchmark::State& state) {
  OnePair pair(static_cast<unsigned long>(state.range(0)));
  Alignment aln(pair.S.rows() + pair.S.cols());
  zemtra::DpWorkspace ws;
  for (auto _ : state) benchmark::DoNotOptimize(zemtra::fredmanFast(kGap, pair.S, aln, ws));
  reportCells(state, double(pair.S.rows()) * double(pair.S.cols()));
}

// Two groups of 20 rows cut to one common length, as a join of two
// families would compare them. The counter counts member-pair cells.
struct TwoGroups {
  static constexpr int kSize = 20;
  TwoGroups() : w(family()) {
    bench::Working& f = family();
    common = *std::min_element(f.len.begin(), f.len.begin() + 2 * kSize);
    for (int r = 0; r < kSize; ++r) {
      first[r] = static_cast<unsigned long>(r);
      second[r] = static_cast<unsigned long>(kSize + r);
    }
    saved.assign(f.len.begin(), f.len.begin() + 2 * kSize);
    std::fill(f.len.begin(), f.len.begin() + 2 * kSize, common);
  }
  ~TwoGroups() { std::copy(saved.begin(), saved.end(), family().len.begin()); }
  double cells() const { return double(kSize) * kSize * double(common) * double(common); }

  bench::Working& w;
  unsigned long common = 0;
  unsigned long first[kSize], second[kSize];
  std::vector<unsigned long> saved;
};

void BM_GroupReference(benchmark::State& state) {
  TwoGroups g;
  KARVO::Matrix<int> cmp(g.w.width, g.w.width);
  for (auto _ : state) {
    unsigned long lenJ = 0, lenK = 0;
    bool first = true;
    for (unsigned long a : g.first)
      for (unsigned long b : g.second) comp_kv(a, b, kMatrix, &lenJ, &lenK, cmp, g.w.seqs, g.w.len.data(), first);
    benchmark::DoNotOptimize(cmp[1][1]);
  }
  reportCells(state, g.cells());
}

void BM_GroupProfile(benchmark::State& state) {
  TwoGroups g;
  KARVO::Matrix<int> cmp(g.w.width, g.w.width);
  zemtra::GroupProfile profile;
  const zemtra::GroupComparison request{g.w.seqs, g.w.len.data(),   g.first, TwoGroups::kSize,
                                        g.second, TwoGroups::kSize, kMatrix};
  for (auto _ : state) {
    unsigned long lenJ = 0, lenK = 0;
    profile.compare(request, cmp, &lenJ, &lenK);
    benchmark::DoNotOptimize(cmp[1][1]);
  }
  reportCells(state, g.cells());
}

using zemtra::LaneWidth;
using zemtra::SimdLevel;

BENCHMARK(BM_RowReference)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RowPairFast)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_RowBatch, portable, SimdLevel::kPortable, LaneWidth::kAuto)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_RowBatch, sse2, SimdLevel::kSse2, LaneWidth::kAuto)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_RowBatch, avx2, SimdLevel::kAvx2, LaneWidth::kAuto)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_RowBatch, avx2_wide, SimdLevel::kAvx2, LaneWidth::kWide)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_RowBatch, avx512, SimdLevel::kAvx512, LaneWidth::kAuto)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_RowBatch, avx512_wide, SimdLevel::kAvx512, LaneWidth::kWide)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FredmanReference)->Arg(300)->Arg(1500)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FredmanFast)->Arg(300)->Arg(1500)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GroupReference)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GroupProfile)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
