#!/usr/bin/env bash
# Runs every fuzzer of a build briefly: first the kept findings of
# fuzz/regressions/<fuzzer>/ once each, then FUZZ_SECONDS (default 15) of
# fuzzing from the committed seed corpus. New corpus entries go to a scratch
# folder, so the committed corpus stays as it is. A crash, hang, leak or
# sanitizer report fails the script and leaves the input in the scratch
# folder (its path is printed).
#   fuzz/run-short.sh BUILD_DIR
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
build="$(cd "${1:?usage: run-short.sh BUILD_DIR}" && pwd)"
seconds="${FUZZ_SECONDS:-15}"
source "$here/fuzz-env.sh"

work="$(mktemp -d "${TMPDIR:-/tmp}/zemtra-fuzz-XXXXXX")"
passed=0
failed=0
for fuzzer in "${zemtra_fuzzers[@]}"; do
  binary="$build/bin/$fuzzer"
  corpus="$work/$fuzzer"
  mkdir -p "$corpus"
  log="$work/$fuzzer.log"
  regressions=()
  if [ -d "$here/regressions/$fuzzer" ]; then
    mapfile -t regressions < <(find "$here/regressions/$fuzzer" -type f | sort)
  fi
  ok=1
  if [ ${#regressions[@]} -gt 0 ] && ! "$binary" "${zemtra_fuzz_flags[@]}" "${regressions[@]}" >"$log" 2>&1; then
    ok=0
  fi
  if [ $ok = 1 ] && ! (cd "$work" && "$binary" "${zemtra_fuzz_flags[@]}" $(zemtra_fuzz_target_flags "$fuzzer") \
      -max_total_time="$seconds" -print_final_stats=1 "$corpus" "$here/corpus/$(zemtra_fuzz_corpus "$fuzzer")" \
      >>"$log" 2>&1); then
    ok=0
  fi
  if [ $ok = 1 ]; then
    passed=$((passed + 1))
    runs="$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' || echo '?')"
    echo "fuzz: $fuzzer ok (${#regressions[@]} kept findings, $runs inputs in ${seconds} s)"
  else
    failed=$((failed + 1))
    echo "fuzz: $fuzzer FAILED; log and input in $work" >&2
    tail -n 60 "$log" >&2
  fi
done
echo "fuzz: $passed passed, $failed failed"
if [ $failed -eq 0 ]; then rm -rf "$work"; fi
[ $failed -eq 0 ]
