#!/usr/bin/env bash
# Fuzzes for longer than CI does: every fuzzer (or those named) for
# FUZZ_SECONDS each (default 1800), growing fuzz/corpus-work/<fuzzer> (not
# committed) from the seed corpus. Interesting new inputs can be minimised
# into the seed corpus with libFuzzer's -merge=1; crashes land in
# fuzz/findings/ and belong, once fixed, in fuzz/regressions/<fuzzer>/.
#   fuzz/run-long.sh BUILD_DIR [FUZZER...]
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
build="$(cd "${1:?usage: run-long.sh BUILD_DIR [FUZZER...]}" && pwd)"
shift
seconds="${FUZZ_SECONDS:-1800}"
source "$here/fuzz-env.sh"
selected=("$@")
if [ ${#selected[@]} -eq 0 ]; then selected=("${zemtra_fuzzers[@]}"); fi

mkdir -p "$here/findings"
status=0
for fuzzer in "${selected[@]}"; do
  corpus="$here/corpus-work/$fuzzer"
  mkdir -p "$corpus"
  echo "== $fuzzer for $seconds s"
  if ! (cd "$here/findings" && "$build/bin/$fuzzer" "${zemtra_fuzz_flags[@]}" $(zemtra_fuzz_target_flags "$fuzzer") \
      -max_total_time="$seconds" -print_final_stats=1 "$corpus" "$here/corpus/$(zemtra_fuzz_corpus "$fuzzer")"); then
    echo "== $fuzzer found a defect; see fuzz/findings/" >&2
    status=1
  fi
done
exit $status
