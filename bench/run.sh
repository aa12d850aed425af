#!/usr/bin/env bash
# The benchmarks of the aligner, in one run:
#   1. Google Benchmark of the pairwise kernels (GCUPS per kernel), then the
#      one-thread kernel against parasail's traced global kernel on the same
#      pairs at 200 x 300, 20 x 1,000 and 20 x 3,000, as ratios
#      (zemtra_kernel_vs_parasail);
#   2. side by side on the same families: the reference and the fast
#      implementation (pairwise phase and whole run), `karvo align` end to
#      end, ClustalW 2.1 with its defaults, and parasail's traced global
#      kernel as a throughput yardstick for the pairwise phase; seconds,
#      GCUPS, peak memory and the ratios (bench/side_by_side.py).
#
# Families: the shared synthetic probes (../shared/bench/synthetic: N = 50
# and 200 at length 300, N = 20 at lengths 1000 and 3000) and N = 1000 at
# length 300 made by make_family.py.
#
# Usage: bench/run.sh [--quick] [--budget SECONDS] [--scale-budget SECONDS] [--kernels-only]
#   --quick         only the N = 50 and N = 200 families
#   --budget S      skip any command predicted to take more than S seconds
#                   (default 300; estimates come from the smaller families)
#   --kernels-only  only the Google Benchmark part
#   --scale-budget S  the same for the scale table (default 3600, so that
#                   10,000 sequences run even on a busy 2-core machine)
#
# Then, unless --quick: the scale table (bench/scale_table.py), 1,000, 2,000,
# 5,000 and 10,000 sequences of length 300 end to end, with the split of a
# run's time into its phases.
# ClustalW, parasail and GNU time are Debian packages (clustalw,
# libparasail-dev, time); they are installed here when missing and apt-get
# can, and left out of the table otherwise. None is a dependency of the
# aligner itself.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${ZEMTRA_BENCH_BUILD_DIR:-$root/build-bench}"
synthetic="$root/../shared/bench/synthetic"
quick=0
kernels_only=0
budget=300
scale_budget=3600
while [ $# -gt 0 ]; do
  case "$1" in
    --quick) quick=1 ;;
    --kernels-only) kernels_only=1 ;;
    --budget) budget="$2"; shift ;;
    --scale-budget) scale_budget="$2"; shift ;;
    *) echo "usage: $0 [--quick] [--budget SECONDS] [--scale-budget SECONDS] [--kernels-only]" >&2; exit 2 ;;
  esac
  shift
done

missing=()
dpkg -s time >/dev/null 2>&1 || missing+=(time)
dpkg -s clustalw >/dev/null 2>&1 || missing+=(clustalw)
dpkg -s libparasail-dev >/dev/null 2>&1 || missing+=(libparasail-dev)
if [ ${#missing[@]} -gt 0 ]; then
  echo "installing ${missing[*]}" >&2
  if [ "$(id -u)" = 0 ]; then
    (apt-get update -qq && apt-get install -y -qq "${missing[@]}") >/dev/null 2>&1 ||
      echo "could not install ${missing[*]}; continuing without" >&2
  else
    sudo -n sh -c "apt-get update -qq && apt-get install -y -qq ${missing[*]}" >/dev/null 2>&1 ||
      echo "could not install ${missing[*]}; continuing without" >&2
  fi
fi

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DZEMTRA_BUILD_BENCH=ON -DZEMTRA_BUILD_TESTS=OFF >/dev/null
targets=(zemtra_bench_pairwise zemtra_bench_run karvo_app ZemtraBatch Zemtra)
grep -q zemtra_parasail_yardstick "$build/Makefile" "$build/build.ninja" 2>/dev/null &&
  targets+=(zemtra_parasail_yardstick zemtra_kernel_vs_parasail)
cmake --build "$build" --target "${targets[@]}" -j2 >/dev/null
bin="$build/bin"

echo "== Kernels (Google Benchmark, one thread; GCUPS = cell updates per second / 1e9)"
"$bin/zemtra_bench_pairwise" --benchmark_min_time=0.2
if [ -x "$bin/zemtra_kernel_vs_parasail" ]; then
  echo
  echo "== One-thread kernel against parasail on the same pairs (matrix 0, gap 40; median of 5 processor times)"
  "$bin/zemtra_kernel_vs_parasail" --repeats 5 "$synthetic/syn_n0200_l0300.fa" "$synthetic/syn_n0020_l1000.fa" \
    "$synthetic/syn_n0020_l3000.fa"
fi
[ "$kernels_only" = 1 ] && exit 0

families=("$synthetic/syn_n0050_l0300.fa" "$synthetic/syn_n0200_l0300.fa")
if [ "$quick" = 0 ]; then
  generated="$build/families"
  mkdir -p "$generated"
  [ -f "$generated/syn_n1000_l0300.fa" ] ||
    python3 "$root/bench/make_family.py" --n 1000 --len 300 --seed 11000 --out "$generated/syn_n1000_l0300.fa" >&2
  families+=("$generated/syn_n1000_l0300.fa" "$synthetic/syn_n0020_l1000.fa" "$synthetic/syn_n0020_l3000.fa")
fi
echo
echo "== Side by side ($(nproc) cores; matrix 0, gap 40; $(date -u +%Y-%m-%d))"
python3 "$root/bench/side_by_side.py" --bin "$bin" --budget "$budget" "${families[@]}"
if [ "$quick" = 0 ]; then
  echo
  echo "== Scale ($(nproc) cores; $(date -u +%Y-%m-%d))"
  python3 "$root/bench/scale_table.py" --bin "$bin" --families "$generated" --budget "$scale_budget"
fi
