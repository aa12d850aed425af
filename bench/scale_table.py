#!/usr/bin/env python3
"""How a whole run grows with the number of sequences.

For each family size (synthetic families of make_family.py, length 300 by
default): `karvo align` end to end under GNU time (wall seconds, processor
seconds of all threads, peak resident MB, size of the run log), then the
same family once more in process (zemtra_bench_run --phase run) for the
split of its time into the pairwise phase, the tree phase and the rest (the
log and the final measures). A size whose predicted time (from the smaller
sizes, growing with the square of the count) exceeds the budget is skipped.

Called by run.sh, which builds the programs:

  scale_table.py --bin BUILD/bin --families DIR [--sizes 1000,2000] [--budget S]
"""

import argparse
import os
import re
import subprocess
import sys
import tempfile


def run_timed(command, cwd):
    """Runs command under GNU time: (wall s, processor s, peak MB) or None."""
    with tempfile.NamedTemporaryFile("r", suffix=".time") as t:
        full = ["time", "-f", "%e %U %S %M", "-o", t.name] + command
        p = subprocess.run(full, cwd=cwd, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        if p.returncode != 0:
            sys.stderr.write(f"failed ({p.returncode}): {' '.join(command)}\n{p.stderr[-2000:]}\n")
            return None
        wall, user, system, peak = t.read().split()[-4:]
    return float(wall), float(user) + float(system), int(peak) / 1024.0


def family(root, directory, n, length):
    path = os.path.join(directory, f"syn_n{n}_l{length:04d}.fa")
    if not os.path.exists(path):
        subprocess.run([sys.executable, os.path.join(root, "bench", "make_family.py"), "--n", str(n), "--len",
                        str(length), "--seed", "11000", "--out", path], check=True,
                       stdout=subprocess.DEVNULL)
    return path


def karvo_row(bin_dir, path, scratch):
    """karvo align end to end; the log goes to the scratch folder unless the
    command line can leave it out."""
    karvo = os.path.join(bin_dir, "karvo")
    helptext = subprocess.run([karvo, "align", "--help"], stdout=subprocess.PIPE, text=True).stdout
    log = os.path.join(scratch, "run.log")
    command = [karvo, "align", path, "--force", "--quiet", "-o", os.path.join(scratch, "out.fa")]
    command += ["--no-log"] if "--no-log" in helptext else ["--log", log]
    timed = run_timed(command, scratch)
    if timed is None:
        return None
    log_mb = os.path.getsize(log) / 1048576.0 if os.path.exists(log) else 0.0
    for name in ("run.log", "out.fa"):
        if os.path.exists(os.path.join(scratch, name)):
            os.remove(os.path.join(scratch, name))
    return {"wall": timed[0], "cpu": timed[1], "peak": timed[2], "log": log_mb, "logged": "--no-log" not in command}


def split_row(bin_dir, path):
    p = subprocess.run([os.path.join(bin_dir, "zemtra_bench_run"), "--phase", "run", path], stdout=subprocess.PIPE,
                       stderr=subprocess.PIPE, text=True)
    if p.returncode != 0:
        sys.stderr.write(p.stderr[-2000:])
        return None
    values = dict(re.findall(r"(\w+)=([0-9.]+)", p.stdout))
    return {k: float(values[k]) for k in ("seconds", "pairwise_s", "tree_s", "cpu", "log_mb")}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", required=True)
    parser.add_argument("--families", required=True)
    parser.add_argument("--sizes", default="1000,2000,5000,10000")
    parser.add_argument("--length", type=int, default=300)
    parser.add_argument("--budget", type=float, default=900)
    args = parser.parse_args()
    args.bin = os.path.abspath(args.bin)
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    os.makedirs(args.families, exist_ok=True)
    scratch = tempfile.mkdtemp(prefix="zemtra_scale_")

    print("| sequences × 300 | karvo align s | processor s | peak MB | log MB | in process: pairwise / tree / "
          "log and final measures s | tree share |")
    print("|---|---|---|---|---|---|---|")
    known = None  # (n, seconds) of the largest size measured so far
    for n in [int(s) for s in args.sizes.split(",")]:
        if known is not None:
            predicted = 2 * known[1] * (n / known[0]) ** 2
            if predicted > args.budget:
                print(f"| {n:,} | skipped: about {predicted:.0f} s predicted | | | | | |", flush=True)
                continue
        path = family(root, args.families, n, args.length)
        k = karvo_row(args.bin, path, scratch)
        s = split_row(args.bin, path)
        if k is None or s is None:
            print(f"| {n:,} | failed | | | | | |", flush=True)
            continue
        known = (n, k["wall"])
        rest = s["seconds"] - s["pairwise_s"] - s["tree_s"]
        log = f"{k['log']:.0f}" if k["logged"] else f"none ({s['log_mb']:.0f} in process)"
        print(f"| {n:,} | {k['wall']:.1f} | {k['cpu']:.1f} | {k['peak']:.0f} | {log} | "
              f"{s['pairwise_s']:.1f} / {s['tree_s']:.1f} / {rest:.1f} | "
              f"{100 * s['tree_s'] / s['seconds']:.0f} % |", flush=True)
    os.rmdir(scratch)


if __name__ == "__main__":
    main()
