#!/usr/bin/env bash
# Rewrites the golden files under tests/data/ from what the built tests
# write now. Only on request: review `git diff tests/data` before committing.
# Arguments go to ctest (e.g. -R run_report to rewrite one suite's files).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${ZEMTRA_BUILD_DIR:-$root/build}"
(cd "$build" && ZEMTRA_UPDATE_GOLDEN=1 ctest --output-on-failure "$@")
git -C "$root" status --short -- tests/data
