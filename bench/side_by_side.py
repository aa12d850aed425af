#!/usr/bin/env python3
"""Time the aligner's implementations and its peers on the same families.

For every family: the pairwise phase with the reference and the fast
implementation (in process, zemtra_bench_run), the fast pairwise phase on one
thread, parasail's traced global kernel on the same pairs (one thread), the
whole run with both implementations, `karvo align` end to end, and ClustalW
2.1 with its defaults. Wall seconds, GCUPS of the pairwise phase and peak
memory (GNU time's maximum resident set size) go into one table, followed by
the ratios. Commands whose predicted time exceeds the budget are skipped and
shown with their estimate.

Called by run.sh, which builds the programs and installs the peers.
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile


def read_fasta(path):
    seqs, current = [], None
    with open(path) as fh:
        for line in fh:
            line = line.strip()
            if line.startswith(">"):
                current = []
                seqs.append(current)
            elif current is not None:
                current.append(line.replace("-", ""))
    return ["".join(s) for s in seqs]


def timed(command, cwd=None, env=None):
    """Runs command under GNU time; returns (wall s, peak MB, stdout) or None."""
    with tempfile.NamedTemporaryFile("r", suffix=".time") as t:
        full = ["time", "-f", "%e %M", "-o", t.name] + command
        p = subprocess.run(full, cwd=cwd, env=env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        if p.returncode != 0:
            sys.stderr.write(f"failed ({p.returncode}): {' '.join(command)}\n{p.stderr[-2000:]}\n")
            return None
        wall, peak = t.read().split()[-2:]
    return float(wall), int(peak) / 1024.0, p.stdout


def field(text, key):
    m = re.search(rf"\b{key}=([0-9.]+)", text)
    return float(m.group(1)) if m else None


class Bench:
    def __init__(self, args):
        self.bin = args.bin
        self.budget = args.budget
        self.rows = []
        self.tmp = tempfile.mkdtemp(prefix="zemtra_bench_")
        self.env = dict(os.environ, KARVO_TMPDIR=os.path.join(self.tmp, "personal"))
        os.makedirs(self.env["KARVO_TMPDIR"], exist_ok=True)
        # Throughputs seen so far, for the estimates of skipped runs.
        self.rate = {}

    def estimate(self, what, work):
        return work / self.rate[what] if what in self.rate else 0.0

    def learn(self, what, work, seconds):
        if seconds > 0:
            self.rate[what] = work / seconds

    def measure(self, family, label, what, work, command, gcups_work=None, cwd=None):
        """One table row; skipped when its estimate exceeds the budget."""
        guess = self.estimate(what, work)
        row = {"family": family, "what": label, "seconds": None, "gcups": None, "peak": None, "note": ""}
        if guess > self.budget:
            row["note"] = f"skipped (est. {guess:.0f} s)"
            self.rows.append(row)
            return row
        # The personal directory collects the host log of every run; start
        # each run with an empty one.
        shutil.rmtree(self.env["KARVO_TMPDIR"], ignore_errors=True)
        os.makedirs(self.env["KARVO_TMPDIR"])
        result = timed(command, cwd=cwd, env=self.env)
        if result is None:
            row["note"] = "failed"
        else:
            wall, peak, out = result
            seconds = field(out, "seconds") or wall
            row.update(seconds=seconds, peak=peak)
            if gcups_work:
                row["gcups"] = gcups_work / seconds / 1e9
            self.learn(what, work, seconds)
        self.rows.append(row)
        return row

    def family(self, path, with_reference, with_peers):
        name = os.path.basename(path).rsplit(".", 1)[0]
        seqs = read_fasta(path)
        n, width = len(seqs), max(len(s) for s in seqs)
        cells = n * (n - 1) / 2 * width * width
        # A whole run is mostly its pairwise phase; the reference's cluster
        # refresh adds a term that grows with the fourth power of n.
        tree_work = cells + n ** 4
        b = self.bin
        rows = {}
        if with_reference:
            rows["ref_pairwise"] = self.measure(name, "reference pairwise phase", "ref_pairwise", cells,
                                                [f"{b}/zemtra_bench_run", "--reference", "--phase", "pairwise", path],
                                                gcups_work=cells)
        rows["fast_pairwise"] = self.measure(name, "fast pairwise phase", "fast_pairwise", cells,
                                             [f"{b}/zemtra_bench_run", "--phase", "pairwise", path], gcups_work=cells)
        rows["fast_pairwise_1"] = self.measure(name, "fast pairwise phase, 1 thread", "fast_pairwise_1", cells,
                                               [f"{b}/zemtra_bench_run", "--phase", "pairwise", "--threads", "1",
                                                path], gcups_work=cells)
        if with_peers and os.path.exists(f"{b}/zemtra_parasail_yardstick"):
            rows["parasail"] = self.measure(name, "parasail nw_trace_scan_profile_16, 1 thread", "parasail", cells,
                                            [f"{b}/zemtra_parasail_yardstick", path], gcups_work=cells)
        if with_reference:
            rows["ref_run"] = self.measure(name, "reference whole run", "ref_run", tree_work,
                                           [f"{b}/zemtra_bench_run", "--reference", path])
        rows["fast_run"] = self.measure(name, "fast whole run", "fast_run", tree_work,
                                        [f"{b}/zemtra_bench_run", path])
        out = os.path.join(self.tmp, name)
        rows["karvo"] = self.measure(name, "karvo align (end to end)", "karvo", tree_work,
                                     [f"{b}/karvo", "align", path, "--force", "--quiet", "-o", out + ".karvo.fa",
                                      "--log", out + ".log"])
        if with_peers and shutil.which("clustalw"):
            # ClustalW writes its guide tree beside its input.
            local = os.path.join(self.tmp, name + ".fa")
            shutil.copy(path, local)
            rows["clustalw"] = self.measure(name, "ClustalW 2.1 defaults", "clustalw", cells,
                                            ["clustalw", f"-INFILE={local}", f"-OUTFILE={out}.aln"], cwd=self.tmp)
        return name, rows

    def table(self, ratios):
        print("| family | what | seconds | GCUPS | peak MB | note |")
        print("|---|---|---|---|---|---|")
        for r in self.rows:
            s = f"{r['seconds']:.3f}" if r["seconds"] is not None else "-"
            g = f"{r['gcups']:.2f}" if r["gcups"] is not None else "-"
            m = f"{r['peak']:.0f}" if r["peak"] is not None else "-"
            print(f"| {r['family']} | {r['what']} | {s} | {g} | {m} | {r['note']} |")
        print()
        print("| family | ratio | value |")
        print("|---|---|---|")
        for family, label, value in ratios:
            print(f"| {family} | {label} | {value} |")


def ratio(a, b, key="seconds", invert=False):
    if not a or not b or a.get(key) is None or b.get(key) is None or b[key] == 0:
        return "-"
    value = b[key] / a[key] if invert else a[key] / b[key]
    return f"{value:.1f}x"


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("--bin", required=True, help="folder of the built programs")
    ap.add_argument("--budget", type=float, default=300.0, help="skip commands predicted to take longer (s)")
    ap.add_argument("--reference-limit", type=int, default=200,
                    help="largest family (sequences) the reference implementation is run on")
    ap.add_argument("families", nargs="+")
    args = ap.parse_args()
    bench = Bench(args)
    ratios = []
    # Smallest first: the skipped runs are estimated from the runs before.
    families = sorted(args.families, key=lambda p: (lambda s: len(s) ** 2 * max(map(len, s)) ** 2)(read_fasta(p)))
    try:
        for path in families:
            n = len(read_fasta(path))
            name, r = bench.family(path, with_reference=n <= args.reference_limit, with_peers=True)
            ratios.append((name, "pairwise phase: reference / fast", ratio(r.get("ref_pairwise"), r.get("fast_pairwise"))))
            ratios.append((name, "whole run: reference / fast", ratio(r.get("ref_run"), r.get("fast_run"))))
            ratios.append((name, "kernel 1 thread: fast GCUPS / parasail GCUPS",
                           ratio(r.get("fast_pairwise_1"), r.get("parasail"), key="gcups")))
            ratios.append((name, "end to end: ClustalW / karvo align", ratio(r.get("clustalw"), r.get("karvo"))))
            ratios.append((name, "peak memory: ClustalW / karvo align",
                           ratio(r.get("clustalw"), r.get("karvo"), key="peak")))
        bench.table(ratios)
    finally:
        shutil.rmtree(bench.tmp, ignore_errors=True)


if __name__ == "__main__":
    main()
