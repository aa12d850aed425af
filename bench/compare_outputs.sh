#!/bin/bash
# Runs two karvo builds on the same inputs and compares the alignment, the
# run log and the guide tree byte for byte.
#
#   bench/compare_outputs.sh OLD_BIN_DIR NEW_BIN_DIR [FAMILY.fa ...]
#
# Each BIN_DIR holds karvo with its plug-in beside it. Without family files
# the examples, the synthetic families of $ZEMTRA_SHARED_BENCH/synthetic
# (default ../shared/bench beside the repository) up to
# 200 sequences and RANDOM_FAMILIES (default 100) random families of 3 to 40
# rows (gaps, short and empty rows, both engines) are used. Prints one line
# per difference and, at the end, how many runs and files were compared;
# exits 1 on any difference.
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
    # A file neither run wrote (the run ended early) is the same on both sides.
    [ -e "$work/old/$f" ] || [ -e "$work/new/$f" ] || continue
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
  syn="${ZEMTRA_SHARED_BENCH:-$here/../shared/bench}/synthetic"
  for fam in syn_n0010_l0300 syn_n0050_l0300 syn_n0200_l0300 syn_n0020_l1000; do
    [ -f "$syn/$fam.fa" ] || continue
    compare "$fam" "$syn/$fam.fa"
    compare "$fam gap 10 pre 3" "$syn/$fam.fa" --gap 10 --prealigned 3
  done
  python3 - "$work/random" "${RANDOM_FAMILIES:-100}" <<'PY'
import os, random, sys
folder, count = sys.argv[1], int(sys.argv[2])
os.makedirs(folder, exist_ok=True)
rng = random.Random(20261123)
letters = "ACDEFGHIKLMNPQRSTVWY"
for f in range(count):
    rows, width = rng.randint(3, 40), rng.randint(5, 160)
    base = [rng.choice(letters) for _ in range(width)]
    with open(f"{folder}/r{f:03d}.fa", "w") as out:
        for r in range(rows):
            gap, change = rng.random() * 0.5, rng.random() * 0.6
            row = "".join("-" if rng.random() < gap else (rng.choice(letters) if rng.random() < change else b)
                          for b in base)
            out.write(f">s{r}\n{row}\n")
PY
  n=0
  for fa in "$work"/random/*.fa; do
    args=(--matrix $((n % 15)) --gap $(((n * 37) % 101)) --prealigned $((n % 4)))
    compare "$(basename "$fa") ${args[*]}" "$fa" "${args[@]}"
    ZEMTRA_REFERENCE_ENGINE=1 compare "$(basename "$fa") reference ${args[*]}" "$fa" "${args[@]}"
    n=$((n + 1))
  done
fi

echo "compared $runs runs, $files files: $diffs differ"
[ "$diffs" -eq 0 ]
