"""Shared helpers: the source tree, karvo itself and small alignments."""

import os
import subprocess
import sys
import tempfile
from pathlib import Path

import pytest

SOURCE = Path(os.environ.get("ZEMTRA_SOURCE_DIR", Path(__file__).resolve().parents[2]))
EXAMPLES = SOURCE / "examples"


def read_fasta(path):
    """(name, sequence) pairs of a FASTA file; the name is the header's first word."""
    pairs = []
    for line in Path(path).read_text().splitlines():
        if line.startswith(">"):
            pairs.append([line[1:].split()[0], ""])
        elif line.strip():
            pairs[-1][1] += line.strip()
    return [tuple(pair) for pair in pairs]


def write_fasta(path, pairs):
    Path(path).write_text("".join(f">{name}\n{sequence}\n" for name, sequence in pairs))


def child_environment(**extra):
    """The environment for programs started by the tests: a sanitizer runtime
    preloaded into this interpreter must not reach karvo, which has its own."""
    env = {key: value for key, value in os.environ.items() if key != "LD_PRELOAD"}
    env.update(extra)
    return env


def karvo_align(input_path, *options, newick=False):
    """Rows and log bytes of `karvo align` on a file, in a private folder
    (and its --tree-newick text when newick is true)."""
    karvo = os.environ.get("KARVO", str(SOURCE / "build" / "bin" / "karvo"))
    with tempfile.TemporaryDirectory() as folder:
        env = child_environment(KARVO_TMPDIR=folder)
        out = Path(folder) / "out.fa"
        tree = Path(folder) / "tree.nwk"
        extra = ["--tree-newick", str(tree)] if newick else []
        subprocess.run([karvo, "align", str(input_path), "-o", str(out), "-q", *extra, *options], env=env, check=True)
        found = read_fasta(out), (Path(folder) / "zemtra.log").read_bytes()
        return (*found, tree.read_text()) if newick else found


def make_family(folder, n, length, seed):
    """A synthetic family written by the benchmark's generator."""
    path = Path(folder) / f"family_{n}_{length}_{seed}.fa"
    subprocess.run([sys.executable, str(SOURCE / "bench" / "make_family.py"), "--n", str(n), "--len", str(length),
                    "--seed", str(seed), "--out", str(path)], check=True, stdout=subprocess.DEVNULL,
                   env=child_environment())
    return read_fasta(path)


@pytest.fixture(scope="session")
def globins():
    return read_fasta(EXAMPLES / "globins.fa")


@pytest.fixture(scope="session")
def kinases():
    return read_fasta(EXAMPLES / "kinases.fa")


@pytest.fixture(scope="session")
def family(tmp_path_factory):
    """200 sequences: long enough a run to cancel or interrupt on its way."""
    return make_family(tmp_path_factory.mktemp("family"), 200, 300, 7)
