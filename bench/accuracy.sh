#!/usr/bin/env bash
# Accuracy of `karvo align` on the 40 BAliBASE 3.0 cases of ../shared/bench:
# every case's unaligned sequences are aligned (all columns) with each
# matrix and gap penalty below, and scored against the reference's core
# columns with ../shared/bench/tools/msa_score.py (sum-of-pairs and
# total-column). Prints one Markdown table with the peers' figures from
# ../shared/bench/results/balibase_dev/summary.tsv below it.
#
# A case the run refuses or ends (for example the engine's status 666, rows
# that do not fit) counts as failed and scores 0 in the means.
#
# Usage: bench/accuracy.sh [--bin DIR] [--matrices "A B ..."] [--gaps "N ..."]
#                          [--cases-out FILE]
#   --bin DIR        folder of the karvo executable and its plug-in
#                    (default build/bin)
#   --cases-out FILE also write every case's scores as TSV
# The data stay in ../shared/bench; nothing of them is copied here.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
shared="${ZEMTRA_SHARED_BENCH:-$root/../shared/bench}"
bin="$root/build/bin"
matrices="STRMAT110 HENIKOFF GONNET DAYHOFF PAM120 JONES"
gaps="20 40 60"
cases_out=""
while [ $# -gt 0 ]; do
  case "$1" in
    --bin) bin="$2"; shift ;;
    --matrices) matrices="$2"; shift ;;
    --gaps) gaps="$2"; shift ;;
    --cases-out) cases_out="$2"; shift ;;
    *) echo "usage: $0 [--bin DIR] [--matrices \"A B\"] [--gaps \"N M\"] [--cases-out FILE]" >&2; exit 2 ;;
  esac
  shift
done
python=/usr/bin/python3
score="$shared/tools/msa_score.py"
data="$shared/data"
[ -x "$bin/karvo" ] || { echo "no karvo in $bin (build the karvo_app target)" >&2; exit 2; }
[ -f "$data/cases.tsv" ] || { echo "no BAliBASE cases in $data" >&2; exit 2; }

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cases=$(tail -n +2 "$data/cases.tsv" | cut -f1)
per_case="$work/cases.tsv"
printf 'matrix\tgap\tcase\tstatus\tsp\ttc\tseconds\n' >"$per_case"

for matrix in $matrices; do
  for gap in $gaps; do
    for case in $cases; do
      start=$(date +%s.%N)
      status=0
      "$bin/karvo" align "$data/$case.fa" --matrix "$matrix" --gap "$gap" -q --force \
        --log "$work/run.log" -o "$work/out.fa" 2>"$work/err" || status=$?
      end=$(date +%s.%N)
      seconds=$(awk -v a="$start" -v b="$end" 'BEGIN { printf "%.3f", b - a }')
      if [ "$status" = 0 ]; then
        read -r sp tc < <("$python" "$score" "$work/out.fa" "$data/$case.ref.fa" --core "$data/$case.core" --tsv)
      else
        sp=0; tc=0
      fi
      printf '%s\t%s\t%s\t%s\t%s\t%s\t%s\n' "$matrix" "$gap" "$case" "$status" "$sp" "$tc" "$seconds" >>"$per_case"
      rm -f "$work/out.fa"
    done
  done
done
[ -n "$cases_out" ] && cp "$per_case" "$cases_out"

echo "| aligner | settings | cases ok | mean SP (core) | mean TC (core) | total wall s |"
echo "|---|---|---|---|---|---|"
awk -F'\t' 'NR > 1 {
    key = $1 "\t" $2
    if (!(key in n)) order[++keys] = key
    n[key]++; ok[key] += ($4 == 0); sp[key] += $5; tc[key] += $6; s[key] += $7
  }
  END {
    for (i = 1; i <= keys; i++) {
      k = order[i]; split(k, part, "\t")
      printf "| karvo | %s, gap %s | %d/%d | %.4f | %.4f | %.1f |\n", part[1], part[2], ok[k], n[k], sp[k] / n[k], tc[k] / n[k], s[k]
    }
  }' "$per_case"
awk -F'\t' 'NR > 1 { printf "| %s | defaults | %d/%d | %.4f | %.4f | %.1f |\n", $1, $2, $2 + $3, $4, $5, $8 }' \
  "$shared/results/balibase_dev/summary.tsv"
