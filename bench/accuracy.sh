#!/usr/bin/env bash
# Accuracy of `karvo align` on the 40 BAliBASE 3.0 cases of ../shared/bench:
# every case's unaligned sequences are aligned (all columns) with each
# matrix and gap penalty below, and scored against the reference's core
# columns with ../shared/bench/tools/msa_score.py (sum-of-pairs and
# total-column). Beside the exact method, in the same run: the consistency
# method (`karvo align --method consistency` when karvo offers it, else the
# bench driver zemtra_consistency_align of the same folder) on the 40 cases
# and on the synthetic families of ../shared/bench/synthetic (scored
# against their true alignments, every column), and ProbCons live when it
# is installed (synthetic families of at most 200 sequences only: larger
# ones run for hours). Prints one Markdown table with the peers' recorded
# figures from ../shared/bench/results/*/summary.tsv below it.
#
# A case the run refuses or ends (for example the engine's status 666, rows
# that do not fit) counts as failed and scores 0 in the means.
#
# Usage: bench/accuracy.sh [--bin DIR] [--matrices "A B ..."] [--gaps "N ..."]
#                          [--methods "exact consistency probcons"]
#                          [--cases-out FILE]
#   --bin DIR        folder of the karvo executable and its plug-in
#                    (default build/bin)
#   --methods LIST   which aligners to run (default all three)
#   --cases-out FILE also write every case's scores as TSV
# The data stay in ../shared/bench; nothing of them is copied here.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
shared="${ZEMTRA_SHARED_BENCH:-$root/../shared/bench}"
bin="$root/build/bin"
matrices="STRMAT110 HENIKOFF GONNET DAYHOFF PAM120 JONES"
gaps="20 40 60"
cases_out=""
methods="exact consistency probcons"
while [ $# -gt 0 ]; do
  case "$1" in
    --bin) bin="$2"; shift ;;
    --matrices) matrices="$2"; shift ;;
    --gaps) gaps="$2"; shift ;;
    --cases-out) cases_out="$2"; shift ;;
    --methods) methods="$2"; shift ;;
    *) echo "usage: $0 [--bin DIR] [--matrices \"A B\"] [--gaps \"N M\"] [--methods \"exact consistency probcons\"] [--cases-out FILE]" >&2; exit 2 ;;
  esac
  shift
done
python="${PYTHON:-python3}"
score="$shared/tools/msa_score.py"
data="$shared/data"
[ -f "$data/cases.tsv" ] || { echo "no BAliBASE cases in $data" >&2; exit 2; }

synthetic="$shared/synthetic"
wants() { case " $methods " in *" $1 "*) return 0 ;; *) return 1 ;; esac; }

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
per_case="$work/cases.tsv"
printf 'aligner\tsettings\tset\tcase\tstatus\tsp\ttc\tseconds\n' >"$per_case"

# run_case ALIGNER SETTINGS SET CASE IN REF CORE COMMAND...: runs COMMAND
# (which writes $work/out.fa), scores it against REF (core columns when CORE
# names a file) and appends one line to the per-case table.
run_case() {
  local aligner="$1" settings="$2" set="$3" case="$4" in="$5" ref="$6" core="$7"
  shift 7
  local start end seconds status=0 sp=0 tc=0
  start=$(date +%s.%N)
  "$@" "$in" 2>"$work/err" || status=$?
  end=$(date +%s.%N)
  seconds=$(awk -v a="$start" -v b="$end" 'BEGIN { printf "%.3f", b - a }')
  if [ "$status" = 0 ] && [ -s "$work/out.fa" ]; then
    if [ -n "$core" ]; then
      read -r sp tc < <("$python" "$score" "$work/out.fa" "$ref" --core "$core" --tsv)
    else
      read -r sp tc < <("$python" "$score" "$work/out.fa" "$ref" --tsv)
    fi
  else
    [ "$status" = 0 ] && status=1
  fi
  printf '%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\n' "$aligner" "$settings" "$set" "$case" "$status" "$sp" "$tc" "$seconds" >>"$per_case"
  rm -f "$work/out.fa"
}

exact() { "$bin/karvo" align "$1" --matrix "$matrix" --gap "$gap" -q --force --log "$work/run.log" -o "$work/out.fa"; }
consistency_karvo() { "$bin/karvo" align "$1" --method consistency -q --force --log "$work/run.log" -o "$work/out.fa"; }
consistency_driver() { "$bin/zemtra_consistency_align" "$1" "$work/out.fa" --threads 2; }
probcons_live() { probcons "$1" >"$work/out.fa"; }

consistency=""
if wants consistency; then
  if "$bin/karvo" align --help 2>&1 | grep -q -- "consistency"; then
    consistency="consistency_karvo"; consistency_label="karvo --method consistency"
  elif [ -x "$bin/zemtra_consistency_align" ]; then
    consistency="consistency_driver"; consistency_label="zemtra_consistency_align --threads 2"
  else
    echo "no consistency method in $bin (karvo without --method consistency, no zemtra_consistency_align)" >&2
  fi
fi
probcons=""
if wants probcons; then
  if command -v probcons >/dev/null; then probcons="probcons_live"; else echo "probcons not installed: not run" >&2; fi
fi

if wants exact && [ ! -x "$bin/karvo" ]; then
  echo "no karvo in $bin (build the karvo_app target)" >&2
  exit 2
fi
cases=$(tail -n +2 "$data/cases.tsv" | cut -f1)
if wants exact; then
  for matrix in $matrices; do
    for gap in $gaps; do
      for case in $cases; do
        run_case karvo "$matrix, gap $gap" balibase "$case" "$data/$case.fa" "$data/$case.ref.fa" "$data/$case.core" exact
      done
    done
  done
fi
for case in $cases; do
  [ -n "$consistency" ] && run_case consistency "$consistency_label" balibase "$case" "$data/$case.fa" "$data/$case.ref.fa" "$data/$case.core" "$consistency"
  [ -n "$probcons" ] && run_case probcons "defaults (live)" balibase "$case" "$data/$case.fa" "$data/$case.ref.fa" "$data/$case.core" "$probcons"
done
if [ -f "$synthetic/cases.tsv" ]; then
  while IFS=$'\t' read -r case nseq _; do
    [ -n "$consistency" ] && run_case consistency "$consistency_label" synthetic "$case" "$synthetic/$case.fa" "$synthetic/$case.ref.fa" "" "$consistency"
    [ -n "$probcons" ] && [ "$nseq" -le 200 ] && run_case probcons "defaults (live)" synthetic "$case" "$synthetic/$case.fa" "$synthetic/$case.ref.fa" "" "$probcons"
  done < <(tail -n +2 "$synthetic/cases.tsv")
fi
[ -n "$cases_out" ] && cp "$per_case" "$cases_out"

echo "| aligner | settings | set | cases ok | mean SP | mean TC | total wall s |"
echo "|---|---|---|---|---|---|---|"
awk -F'\t' 'NR > 1 {
    key = $1 "\t" $2 "\t" $3
    if (!(key in n)) order[++keys] = key
    n[key]++; ok[key] += ($5 == 0); sp[key] += $6; tc[key] += $7; s[key] += $8
  }
  END {
    for (i = 1; i <= keys; i++) {
      k = order[i]; split(k, part, "\t")
      printf "| %s | %s | %s | %d/%d | %.4f | %.4f | %.1f |\n", part[1], part[2], part[3], ok[k], n[k], sp[k] / n[k], tc[k] / n[k], s[k]
    }
  }' "$per_case"
for set in balibase_dev synthetic; do
  [ -f "$shared/results/$set/summary.tsv" ] || continue
  awk -F'\t' -v set="$set" 'NR > 1 { printf "| %s | recorded | %s | %d/%d | %.4f | %.4f | %.1f |\n", $1, set, $2, $2 + $3, $4, $5, $8 }' \
    "$shared/results/$set/summary.tsv"
done
