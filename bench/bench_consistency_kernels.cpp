// The consistency method's kernels against their cell-by-cell references in
// the same run: pair-model posteriors of sequence 0 against the next 20 of
// the benchmark family (cells per second), the consistency transformation of
// those pairs through the other 19, and the expected accuracy of a pair.
#include <benchmark/benchmark.h>

#include "bench_family.h"
#include "consistency/pair_hmm.h"
#include "consistency/posterior_set.h"

namespace {

namespace zc = zemtra::consistency;

constexpr std::size_t kSeqs = 21;

struct Data {
  std::vector<std::vector<std::uint8_t>> codes;
  zc::PosteriorSet post{kSeqs};
  double cells = 0;
  Data() {
    const auto family = bench::loadFamily();
    for (std::size_t k = 0; k < kSeqs && k < family.size(); ++k) codes.push_back(zc::encodeResidues(family[k]));
    zc::PairHmmWorkspace work;
    for (std::size_t a = 0; a < codes.size(); ++a) {
      for (std::size_t b = a + 1; b < codes.size(); ++b) {
        post.at(a, b) =
            zc::pairPosteriors(codes[a], codes[b], zc::defaultPairHmmParams(), zc::blosum62MatchOdds(), work);
        if (a == 0) cells += double(codes[a].size()) * double(codes[b].size());
      }
    }
    post.mirrorUpper();
  }
};

Data& data() {
  static Data d;
  return d;
}

template <bool kRows>
void BM_PairPosteriors(benchmark::State& state) {
  Data& d = data();
  zc::PairHmmWorkspace work;
  for (auto _ : state) {
    for (std::size_t b = 1; b < d.codes.size(); ++b) {
      const auto& params = zc::defaultPairHmmParams();
      const auto& odds = zc::blosum62MatchOdds();
      auto m = kRows ? zc::pairPosteriors(d.codes[0], d.codes[b], params, odds, work)
                     : zc::pairPosteriorsPlain(d.codes[0], d.codes[b], params, odds, work);
      benchmark::DoNotOptimize(m.entries.data());
    }
  }
  state.counters["MCUPS"] = benchmark::Counter(d.cells / 1e6, benchmark::Counter::kIsIterationInvariantRate);
}

template <bool kRows>
void BM_Transform(benchmark::State& state) {
  Data& d = data();
  std::vector<float> dense;
  for (auto _ : state) {
    for (std::size_t b = 1; b < d.codes.size(); ++b) {
      std::vector<std::uint32_t> thirds;
      for (std::uint32_t z = 1; z < d.codes.size(); ++z) {
        if (z != b) thirds.push_back(z);
      }
      auto m =
          kRows ? zc::transformPair(d.post, 0, b, thirds, dense) : zc::transformPairPlain(d.post, 0, b, thirds, dense);
      benchmark::DoNotOptimize(m.entries.data());
    }
  }
}

template <bool kRows>
void BM_ExpectedAccuracy(benchmark::State& state) {
  Data& d = data();
  for (auto _ : state) {
    for (std::size_t b = 1; b < d.codes.size(); ++b) {
      const auto& m = d.post.get(0, b);
      benchmark::DoNotOptimize(kRows ? zc::expectedAccuracy(m) : zc::expectedAccuracyPlain(m));
    }
  }
}

BENCHMARK(BM_PairPosteriors<false>)->Name("PairPosteriors/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PairPosteriors<true>)->Name("PairPosteriors/rows")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Transform<false>)->Name("Transform/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Transform<true>)->Name("Transform/spans")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExpectedAccuracy<false>)->Name("ExpectedAccuracy/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExpectedAccuracy<true>)->Name("ExpectedAccuracy/rows")->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
