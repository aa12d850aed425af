#!/usr/bin/env bash
# Fuzzes for longer than CI does: every fuzzer (or those named) for
# FUZZ_SECONDS each (default 1800), or until FUZZ_RUNS inputs when that is
# set (FUZZ_SECONDS then only bounds it), one after the other, growing
# fuzz/corpus-work/<fuzzer> (not committed) from the seed corpus. Crashes
# land in fuzz/findings/ and belong, once fixed, in
# fuzz/regressions/<fuzzer>/.
# At the end the inputs of the work corpus that reach new coverage are merged
# (libFuzzer's -merge=1, which keeps the smallest input per feature) into the
# committed seed corpus, unless that would take the seed folder past
# FUZZ_CORPUS_CAP_KB (default 256); and one line per fuzzer is printed and
# appended to the campaign record at the end of fuzz/README.md: date,
# inputs run, seconds, coverage (edges and features), the largest input of
# the work corpus against the length limit, and findings.
#   fuzz/run-long.sh BUILD_DIR [FUZZER...]
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
build="$(cd "${1:?usage: run-long.sh BUILD_DIR [FUZZER...]}" && pwd)"
shift
seconds="${FUZZ_SECONDS:-1800}"
# What the build checks, for the record: its sanitizers and whether the
# libraries carry comparison tracing.
build_kind="$(grep -o '^ZEMTRA_FUZZ_SANITIZERS:STRING=.*' "$build/CMakeCache.txt" | cut -d= -f2)"
if grep -q '^CMAKE_CXX_FLAGS:STRING=.*-fno-sanitize-coverage=trace-cmp' "$build/CMakeCache.txt"; then
  build_kind="$build_kind, no comparison tracing"
fi
runs_flag=()
if [ -n "${FUZZ_RUNS:-}" ]; then runs_flag=(-runs="$FUZZ_RUNS"); fi
cap_kb="${FUZZ_CORPUS_CAP_KB:-256}"
source "$here/fuzz-env.sh"
selected=("$@")
if [ ${#selected[@]} -eq 0 ]; then selected=("${zemtra_fuzzers[@]}"); fi

# Crashes, leaks, timeouts and memory blow-ups; slow-unit files are not defects.
zemtra_fuzz_findings() { find "$1" -type f \( -name 'crash-*' -o -name 'leak-*' -o -name 'timeout-*' -o -name 'oom-*' \) | wc -l; }

findings="$here/findings"
mkdir -p "$findings"
status=0
record=()
for fuzzer in "${selected[@]}"; do
  corpus="$here/corpus-work/$fuzzer"
  seeds="$here/corpus/$(zemtra_fuzz_corpus "$fuzzer")"
  mkdir -p "$corpus"
  log="$corpus.log"
  found_before=$(zemtra_fuzz_findings "$findings")
  echo "== $fuzzer for $seconds s"
  started=$(date +%s)
  ok=yes
  if ! (cd "$findings" && nice -n 19 "$build/bin/$fuzzer" "${zemtra_fuzz_flags[@]}" \
      $(zemtra_fuzz_target_flags "$fuzzer") -max_total_time="$seconds" "${runs_flag[@]}" -print_final_stats=1 \
      "$corpus" "$seeds") >"$log" 2>&1; then
    echo "== $fuzzer found a defect; see fuzz/findings/ and $log" >&2
    ok=no
    status=1
  fi
  elapsed=$(($(date +%s) - started))
  runs="$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' || echo '?')"
  coverage="$(grep -o 'cov: [0-9]* ft: [0-9]*' "$log" | tail -n 1 | awk '{print $2 " edges, " $4 " features"}')"
  found=$(($(zemtra_fuzz_findings "$findings") - found_before))
  # How close the inputs came to the length limit.
  largest="$(find "$corpus" -type f -printf '%s\n' | sort -n | tail -n 1)"
  limit="$(zemtra_fuzz_target_flags "$fuzzer" | grep -o 'max_len=[0-9]*' | grep -o '[0-9]*$')"

  # Into the seed corpus only what adds coverage, within the size cap.
  merged=0
  if [ $ok = yes ]; then
    before=$(find "$seeds" -type f | sort)
    nice -n 19 "$build/bin/$fuzzer" "${zemtra_fuzz_flags[@]}" $(zemtra_fuzz_target_flags "$fuzzer") \
      -merge=1 "$seeds" "$corpus" >>"$log" 2>&1 || true
    added=$(comm -13 <(echo "$before") <(find "$seeds" -type f | sort))
    if [ -n "$added" ]; then merged=$(echo "$added" | wc -l); fi
    if [ $(du -sk --apparent-size "$seeds" | cut -f1) -gt "$cap_kb" ] && [ -n "$added" ]; then
      echo "== $fuzzer: merging would take $seeds past $cap_kb KB; the new inputs stay in $corpus" >&2
      echo "$added" | xargs rm -f
      merged=0
    fi
  fi
  line="| $(date +%F) | \`$fuzzer\` | $runs | $elapsed | $coverage | ${largest:-0} of $limit | $found | $merged | $build_kind |"
  echo "$line"
  record+=("$line")
done

echo "== campaign record (also appended to fuzz/README.md):"
for line in "${record[@]}"; do
  echo "$line"
  echo "$line" >>"$here/README.md"
done
exit $status
