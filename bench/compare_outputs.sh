#!/bin/bash
# Runs two karvo builds on the same inputs and compares the alignment, the
# run log and the guide tree byte for byte.
#
#   bench/compare_outputs.sh OLD_BIN_DIR NEW_BIN_DIR [FAMILY.fa ...]
#
# Each BIN_DIR holds karvo with its plug-in beside it. Without family files
# the examples and the synthetic families of /work/shared/bench/synthetic up
# to 200 sequences are used. Prints one line per difference and, at the end,
# how many runs and files were compared; exits 1 on any difference.
set -u
old=$(readlink -f "${1:?old bin dir}")
new=$(readlink -f "${2:?new bin dir}")
shift 2
here=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

runs=0
files=0
diffs=0

# compare NAME INPUT ARGS...: one run of each build, three files compared.
compare() {
  local name=$1 input=$2
  shift 2
  local side
  for side in old new; do
    local bin=$old
    [ "$side" = new ] && bin=$new
    mkdir -p "$work/$side"
    rm -f "$work/$side"/*
    (cd "$work/$side" && "$bin/karvo" align -q "$input" --log "$work/$side/run.log" --force -o out.fa \
      --tree-newick tree.nwk "$@" >stdout.txt 2>stderr.txt
     echo $? >status.txt)
  done
  runs=$((runs + 1))
  local f
  for f in out.fa run.log tree.nwk status.txt stderr.txt; do
    files=$((files + 1))
    if ! cmp -s "$work/old/$f" "$work/new/$f"; then
      echo "DIFFERS: $name: $f"
      diffs=$((diffs + 1))
    fi
  done
}

if [ $# -gt 0 ]; then
  for fa in "$@"; do compare "$(basename "$fa")" "$(readlink -f "$fa")"; done
else
  for ex in "$here"/examples/*.fa; do
    base=$(basename "$ex")
    for matrix in STRMAT110 0 3 7 14; do
      for gap in 0 10 40 100; do
        compare "$base m=$matrix g=$gap" "$ex" --matrix "$matrix" --gap "$gap"
      done
    done
    for range in 1:40 20:90 50:120; do
      for pre in 0 2; do
        compare "$base range=$range pre=$pre" "$ex" --range "$range" --prealigned "$pre"
      done
    done
  done
  syn=/work/shared/bench/synthetic
  for fam in syn_n0010_l0300 syn_n0050_l0300 syn_n0200_l0300 syn_n0020_l1000; do
    [ -f "$syn/$fam.fa" ] || continue
    compare "$fam" "$syn/$fam.fa"
    compare "$fam gap 10 pre 3" "$syn/$fam.fa" --gap 10 --prealigned 3
  done
fi

echo "compared $runs runs, $files files: $diffs differ"
[ "$diffs" -eq 0 ]
