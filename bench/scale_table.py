#!/usr/bin/env python3
"""How a whole run grows with the number of sequences.

For each family size (synthetic families of make_family.py, length 300 by
default): `karvo align --no-log --verbose` end to end under GNU time (wall
seconds, processor seconds of all threads, peak resident MB) with the split
of its wall time into the pairwise phase, the tree phase and the rest that
karvo reports; then, up to --log-up-to sequences, the same run writing its
log (processor seconds, peak MB, log MB). A size whose predicted time (from
the smaller sizes, growing with the square of the count) exceeds the budget
is skipped.

Called by run.sh, which builds the programs:

  scale_table.py --bin BUILD/bin --families DIR [--sizes 1000,2000] [--budget S] [--log-up-to N]
"""

import argparse
import os
import re
import subprocess
import sys
import tempfile


def run_timed(command, cwd):
    """Runs command under GNU time: (wall s, processor s, peak MB, stderr) or None."""
    with tempfile.NamedTemporaryFile("r", suffix=".time") as t:
        full = ["time", "-f", "%e %U %S %M", "-o", t.name] + command
        p = subprocess.run(full, cwd=cwd, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        if p.returncode != 0:
            sys.stderr.write(f"failed ({p.returncode}): {' '.join(command)}\n{p.stderr[-2000:]}\n")
            return None
        wall, user, system, peak = t.read().split()[-4:]
    return float(wall), float(user) + float(system), int(peak) / 1024.0, p.stderr


def family(root, directory, n, length):
    path = os.path.join(directory, f"syn_n{n}_l{length:04d}.fa")
    if not os.path.exists(path):
        subprocess.run([sys.executable, os.path.join(root, "bench", "make_family.py"), "--n", str(n), "--len",
                        str(length), "--seed", "11000", "--out", path], check=True,
                       stdout=subprocess.DEVNULL)
    return path


def karvo_row(bin_dir, path, scratch, logged):
    """karvo align end to end, with its log in the scratch folder or none."""
    log = os.path.join(scratch, "run.log")
    command = [os.path.join(bin_dir, "karvo"), "align", path, "--force", "--quiet", "--verbose", "-o",
               os.path.join(scratch, "out.fa")]
    command += ["--log", log] if logged else ["--no-log"]
    timed = run_timed(command, scratch)
    if timed is None:
        return None
    row = {"wall": timed[0], "cpu": timed[1], "peak": timed[2]}
    row["log"] = os.path.getsize(log) / 1048576.0 if os.path.exists(log) else 0.0
    split = re.search(r"pairwise phase ([0-9.]+) s, tree phase ([0-9.]+) s, whole run ([0-9.]+) s", timed[3])
    if split:
        row["pairwise"], row["tree"], row["run"] = (float(v) for v in split.groups())
    for name in ("run.log", "out.fa"):
        if os.path.exists(os.path.join(scratch, name)):
            os.remove(os.path.join(scratch, name))
    return row


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", required=True)
    parser.add_argument("--families", required=True)
    parser.add_argument("--sizes", default="1000,2000,5000,10000")
    parser.add_argument("--length", type=int, default=300)
    parser.add_argument("--budget", type=float, default=900)
    parser.add_argument("--log-up-to", type=int, default=2000)
    args = parser.parse_args()
    args.bin = os.path.abspath(args.bin)
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    os.makedirs(args.families, exist_ok=True)
    scratch = tempfile.mkdtemp(prefix="zemtra_scale_")

    print("| sequences × 300 | wall s | processor s | peak MB | pairwise / tree / rest, wall s | tree share | "
          "with the log: processor s, peak MB, log MB |")
    print("|---|---|---|---|---|---|---|")
    known = None  # (n, seconds) of the largest size measured so far
    for n in [int(s) for s in args.sizes.split(",")]:
        if known is not None:
            predicted = known[1] * (n / known[0]) ** 2
            if predicted > args.budget:
                print(f"| {n:,} | skipped: about {predicted:.0f} s predicted | | | | | |", flush=True)
                continue
        path = family(root, args.families, n, args.length)
        k = karvo_row(args.bin, path, scratch, False)
        if k is None or "run" not in k:
            print(f"| {n:,} | failed | | | | | |", flush=True)
            continue
        known = (n, k["wall"])
        logged = "not run"
        if n <= args.log_up_to:
            w = karvo_row(args.bin, path, scratch, True)
            logged = "failed" if w is None else f"{w['cpu']:.1f}, {w['peak']:.0f}, {w['log']:.0f}"
        rest = k["run"] - k["pairwise"] - k["tree"]
        print(f"| {n:,} | {k['wall']:.1f} | {k['cpu']:.1f} | {k['peak']:.0f} | "
              f"{k['pairwise']:.1f} / {k['tree']:.1f} / {rest:.1f} | {100 * k['tree'] / k['run']:.0f} % | "
              f"{logged} |", flush=True)
    os.rmdir(scratch)


if __name__ == "__main__":
    main()
