#!/usr/bin/env bash
# Installs the Debian packages the project needs, only those that are missing.
# Idempotent; needs root (or sudo) only when something is missing.
set -euo pipefail

packages=(
  g++ cmake make pkg-config python3
  python3-pytest python3-biopython
  qt6-base-dev
  zlib1g-dev
  libgtest-dev libgmock-dev
  libbenchmark-dev
  libcli11-dev
  xvfb xauth fonts-dejavu-core
  python3-pytest python3-biopython python3-numpy librsvg2-bin
  clang libclang-rt-14-dev llvm
  python3-dev pybind11-dev python3-pytest python3-biopython python3-numpy python3-venv python3-pip
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
