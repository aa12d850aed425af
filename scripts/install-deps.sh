#!/usr/bin/env bash
# Installs the Debian packages the project needs, only those that are missing.
# Idempotent; needs root (or sudo) only when something is missing.
set -euo pipefail

packages=(
  # build
  g++ cmake make pkg-config
  zlib1g-dev libcli11-dev qt6-base-dev
  # tests: GoogleTest, the window's screenshots (offscreen, no X server),
  # the read-back checks, the SVG renderer, the format check
  libgtest-dev libgmock-dev fonts-dejavu-core
  python3 python3-pytest python3-biopython python3-numpy librsvg2-bin clang-format
  # sanitizer and fuzzer builds
  clang libclang-rt-14-dev llvm
  # the Python module and its installation into a virtual environment
  python3-dev pybind11-dev python3-venv python3-pip
  # benchmarks
  libbenchmark-dev
  # benchmark yardstick only, never linked into the product
  libparasail-dev
  # installing and packaging: packages, manual pages, the workflow
  dpkg-dev file man-db lintian snakemake
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}" >&2
sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
