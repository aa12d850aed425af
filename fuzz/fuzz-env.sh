# Shared by run-short.sh and run-long.sh: the fuzzers, their corpora and
# flags, and the sanitizer settings (leak checks on).
zemtra_fuzzers=(fuzz_read_any fuzz_read_fasta fuzz_read_clustal fuzz_read_msf fuzz_read_stockholm fuzz_read_phylip
  fuzz_read_pir fuzz_read_a3m fuzz_exchange fuzz_run fuzz_kernels fuzz_consistency)
zemtra_fuzz_flags=(-timeout=30 -rss_limit_mb=4096)
zemtra_sanitizer_dir="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"

zemtra_fuzz_corpus() {
  case "$1" in
    fuzz_read_*) echo read ;;
    fuzz_exchange) echo exchange ;;
    fuzz_run) echo run ;;
    fuzz_kernels) echo kernels ;;
    fuzz_consistency) echo consistency ;;
  esac
}

zemtra_fuzz_target_flags() {
  case "$1" in
    fuzz_read_*) echo "-max_len=4096 -dict=$zemtra_sanitizer_dir/readers.dict" ;;
    fuzz_exchange) echo "-max_len=1024" ;;
    fuzz_run) echo "-max_len=512 -len_control=0" ;;
    fuzz_kernels) echo "-max_len=2048 -timeout=120" ;;
    fuzz_consistency) echo "-max_len=512" ;;
  esac
}

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=0:detect_stack_use_after_return=0}"
export LSAN_OPTIONS="${LSAN_OPTIONS:-suppressions=$zemtra_sanitizer_dir/lsan.supp:print_suppressions=0}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}"
export QT_QPA_PLATFORM=offscreen
