#!/usr/bin/env python3
"""Write a synthetic protein family as unaligned FASTA.

A random root sequence (background amino-acid frequencies) evolves down a
random Yule tree whose mean root-to-leaf length is --depth substitutions per
site; each branch also inserts and deletes short stretches at --indel events
per site per unit of branch length. Larger families need fewer indels than
the shared probe set: the aligner never lets the alignment grow past twice
the widest input row, and the union of many sequences' insertions soon
would.

  make_family.py --n 1000 --len 300 --seed 11000 --out DIR/syn_n1000_l0300.fa

Only random.Random(seed).random() is used, so the output is the same on every
Python 3 version.
"""

import argparse
import math
import random

RESIDUES = "ARNDCQEGHILKMFPSTWYV"
WEIGHTS = [8.25, 5.53, 4.06, 5.45, 1.37, 3.93, 6.75, 7.07, 2.27, 5.96,
           9.66, 5.84, 2.42, 3.86, 4.70, 6.56, 5.34, 1.08, 2.92, 6.87]


class Draw:
    def __init__(self, seed):
        self.random = random.Random(seed).random

    def residue(self):
        x = self.random() * sum(WEIGHTS)
        for r, w in zip(RESIDUES, WEIGHTS):
            x -= w
            if x < 0:
                return r
        return RESIDUES[-1]

    def exponential(self, mean):
        return -math.log(1.0 - self.random()) * mean

    def poisson(self, mean):
        limit, k, p = math.exp(-mean), 0, self.random()
        while p > limit:
            k += 1
            p *= self.random()
        return k

    def stretch(self):
        k = 1
        while self.random() > 1.0 / 3.0 and k < 15:
            k += 1
        return k


def yule_tree(draw, leaves, depth):
    """Children of each node and branch lengths; node 0 is the root."""
    children, length, open_leaves, nodes = {0: []}, {0: 0.0}, [0], 1
    while len(open_leaves) < leaves:
        parent = open_leaves.pop(int(draw.random() * len(open_leaves)))
        for _ in range(2):
            children[parent].append(nodes)
            children[nodes] = []
            length[nodes] = draw.exponential(1.0)
            open_leaves.append(nodes)
            nodes += 1
    height, stack = {0: 0.0}, [0]
    while stack:
        v = stack.pop()
        for c in children[v]:
            height[c] = height[v] + length[c]
            stack.append(c)
    mean = sum(height[v] for v in open_leaves) / len(open_leaves) or 1.0
    return children, {v: l * depth / mean for v, l in length.items()}


def evolve(draw, leaves, residues, depth, indel):
    children, length = yule_tree(draw, leaves, depth)
    out, stack = [], [(0, "".join(draw.residue() for _ in range(residues)))]
    while stack:
        v, seq = stack.pop()
        if not children[v]:
            out.append(seq)
            continue
        for c in children[v]:
            t = length[c]
            change = 1.0 - math.exp(-t)
            s = "".join(draw.residue() if draw.random() < change else a for a in seq)
            for _ in range(draw.poisson(indel * t * len(s))):
                k = draw.stretch()
                at = int(draw.random() * (len(s) + 1))
                if draw.random() < 0.5 and len(s) > k + 10:
                    s = s[:at] + s[at + k:]
                else:
                    s = s[:at] + "".join(draw.residue() for _ in range(k)) + s[at:]
            stack.append((c, s))
    return out


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("--n", type=int, required=True, help="number of sequences")
    ap.add_argument("--len", type=int, default=300, help="root sequence length")
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--depth", type=float, default=0.55, help="mean root-to-leaf substitutions per site")
    ap.add_argument("--indel", type=float, default=None,
                    help="indel events per site per unit branch length (default: 0.025 up to 200 "
                         "sequences, 0.025 * 200 / n above)")
    ap.add_argument("--out", required=True, help="FASTA file to write")
    a = ap.parse_args()
    indel = a.indel if a.indel is not None else 0.025 * min(1.0, 200.0 / a.n)
    rows = evolve(Draw(a.seed), a.n, a.len, a.depth, indel)
    with open(a.out, "w") as fh:
        for i, row in enumerate(rows):
            fh.write(f">s{i + 1:04d}\n" + "".join(row[p:p + 60] + "\n" for p in range(0, len(row), 60)))
    lengths = [len(r) for r in rows]
    print(f"{a.out}: {a.n} sequences, lengths {min(lengths)}-{max(lengths)}, indel rate {indel:.5f}")


if __name__ == "__main__":
    main()
