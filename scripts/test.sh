#!/usr/bin/env bash
# The test command: installs what is missing, then
#  0. checks that every C++ file is formatted as .clang-format says, and
#     that no product file is over 600 lines nor function over 80;
#  1. builds (Release, warnings as errors) and runs every test;
#  2. builds again with clang (warnings as errors too), AddressSanitizer and
#     UndefinedBehaviorSanitizer (build-asan/, which also holds the fuzzers)
#     and runs every test there with leak checks on;
#  3. builds the suites of the threaded paths with clang and ThreadSanitizer
#     (build-tsan/, warnings as errors) and runs their threaded tests there;
#  4. runs each fuzzer briefly on its committed seed corpus.
# ZEMTRA_SANITIZERS=0 stops after step 1; FUZZ_SECONDS sets step 4's time per
# fuzzer (default 15).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/scripts/install-deps.sh"
"$root/scripts/check-format.sh"
python3 "$root/scripts/check-sizes.py" "$root"
"$root/scripts/build.sh" -DZEMTRA_WERROR=ON
build="${ZEMTRA_BUILD_DIR:-$root/build}"
(cd "$build" && ctest --output-on-failure -j "$(nproc)")

if [ "${ZEMTRA_SANITIZERS:-1}" = 0 ]; then exit 0; fi

asan="${ZEMTRA_ASAN_BUILD_DIR:-$root/build-asan}"
CXX=clang++ cmake -S "$root" -B "$asan" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g" \
  -DZEMTRA_SANITIZE=ON -DZEMTRA_FUZZ=ON -DZEMTRA_WERROR=ON >/dev/null
cmake --build "$asan" -j "$(nproc)"
source "$root/fuzz/fuzz-env.sh"
echo "Tests with AddressSanitizer, UndefinedBehaviorSanitizer and leak checks:"
(cd "$asan" && ctest --output-on-failure -j "$(nproc)")

# The all-pairs phase with 3 threads and the rows spread over 2 and 8 (more
# than the cores), whole runs with 1, 2 and 5 threads, the consistency
# method on 1 and 2 threads, files written from two threads, the host
# settings read while replaced, and the Python module called from four
# threads at once.
tsan="${ZEMTRA_TSAN_BUILD_DIR:-$root/build-tsan}"
CXX=clang++ cmake -S "$root" -B "$tsan" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g" \
  -DZEMTRA_TSAN=ON -DZEMTRA_WERROR=ON >/dev/null
cmake --build "$tsan" -j "$(nproc)" --target run_driver_test exactness_tests consistency_tests host_tests \
  zemtra_python_module
echo "Threaded paths with ThreadSanitizer:"
(cd "$tsan" && TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" ctest --output-on-failure -j "$(nproc)" \
  -R 'PairwisePhase|ForEachRow|RunExactness.LargerFamilies|ConsistencyAlign.SameBytes|FileIoThreads|HostSettingsThreads|python_thread_tests')
"$root/fuzz/run-short.sh" "$asan"
