#!/usr/bin/env bash
# The test command: installs what is missing, configures, builds and runs
# every test.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh"
build="${ZEMTRA_BUILD_DIR:-$root/build}"
cd "$build"
ctest --output-on-failure -j "$(nproc)"
