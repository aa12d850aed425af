#!/usr/bin/env bash
# Configures and builds the project into build/ (Release, tests included).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${ZEMTRA_BUILD_DIR:-$root/build}"
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release "$@"
cmake --build "$build" -j "$(nproc)"
