#!/usr/bin/env bash
# Builds the benchmarks in their own Release tree and runs them. Extra
# arguments go to the benchmark binary (e.g. --benchmark_filter=Row).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${ZEMTRA_BENCH_BUILD_DIR:-$root/build-bench}"
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DZEMTRA_BUILD_BENCH=ON -DZEMTRA_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" --target zemtra_bench_pairwise -j2
"$build/bin/zemtra_bench_pairwise" --benchmark_min_time=0.2 "$@"
