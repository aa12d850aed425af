#!/usr/bin/env python3
"""What the zemtra Python module adds to a run, and that it changes nothing.

Re-aligns a family with zemtra.realign several times and compares the wall
time of each call with the time the plug-in's run itself took
(Result.run_seconds): the difference is the module's work (reading the rows
into the host's alignment, the worker thread, the log, rows and tables back
into Python objects). Then checks rows and log against `karvo align` on the
same file.

  PYTHONPATH=build/python python3 bench/python_overhead.py \\
      [--family FILE] [--karvo build/bin/karvo] [--repeat 7]
"""

import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import zemtra
from Bio import SeqIO

ROOT = Path(__file__).resolve().parents[1]


def read_fasta(path):
    return [(record.id, str(record.seq)) for record in SeqIO.parse(str(path), "fasta")]


def karvo_align(karvo, path):
    with tempfile.TemporaryDirectory() as folder:
        out = Path(folder) / "out.fa"
        subprocess.run([karvo, "align", str(path), "-o", str(out), "-q"], check=True,
                       env=dict(os.environ, KARVO_TMPDIR=folder))
        return read_fasta(out), (Path(folder) / "zemtra.log").read_bytes()


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    shared = Path(os.environ.get("ZEMTRA_SHARED_BENCH", ROOT.parent / "shared" / "bench"))
    ap.add_argument("--family", default=str(shared / "synthetic" / "syn_n0200_l0300.fa"))
    ap.add_argument("--karvo", default=str(ROOT / "build" / "bin" / "karvo"))
    ap.add_argument("--repeat", type=int, default=7)
    args = ap.parse_args()

    pairs = read_fasta(args.family)
    zemtra.realign(pairs)  # warm caches and the page cache
    walls, runs = [], []
    for _ in range(args.repeat):
        began = time.perf_counter()
        result = zemtra.realign(pairs)
        walls.append(time.perf_counter() - began)
        runs.append(result.run_seconds)
    overheads = [wall - run for wall, run in zip(walls, runs)]
    share = statistics.median(o / r for o, r in zip(overheads, runs))
    print(f"{Path(args.family).name}: {len(pairs)} sequences, {args.repeat} calls")
    print(f"  realign wall   median {statistics.median(walls) * 1000:8.1f} ms")
    print(f"  run itself     median {statistics.median(runs) * 1000:8.1f} ms")
    print(f"  module         median {statistics.median(overheads) * 1000:8.1f} ms  ({share * 100:.1f} % of the run)")

    rows, log = karvo_align(args.karvo, args.family)
    same_rows = result.alignment == rows
    same_log = result.log.encode("utf-8", "surrogateescape") == log
    print(f"  rows equal to karvo align: {same_rows}; log equal: {same_log} ({len(log)} bytes)")
    ok = same_rows and same_log and share < 0.05
    print("PASS" if ok else "FAIL: overhead must stay under 5 % and rows and log must equal karvo's")
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
