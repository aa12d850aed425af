"""karvo align's guide tree and pairwise tables, read back as their users
read them: the Newick with Bio.Phylo, the tables with a small parser and
compared with the run log, the SVG rendered to PNG by rsvg-convert."""

import math
import os
import re
import shutil
import subprocess
from pathlib import Path

import numpy
import pytest
from Bio import Phylo

KARVO = os.environ["KARVO"]
SOURCE = Path(os.environ["ZEMTRA_SOURCE_DIR"])
PICTURES = Path(os.environ["PICTURE_DIR"])
GLOBINS = SOURCE / "examples" / "globins.fa"
KINASES = SOURCE / "examples" / "kinases.fa"


def fasta_names(path):
    return [line[1:].split()[0] for line in Path(path).read_text().splitlines() if line.startswith(">")]


def align(tmp_path, fasta, *options):
    """Runs karvo align with the run log beside the outputs; returns the log."""
    log = tmp_path / "run.log"
    env = dict(os.environ, HOME=str(tmp_path))
    result = subprocess.run([KARVO, "align", str(fasta), "--force", "-q", "--log", str(log), *map(str, options)],
                            env=env, capture_output=True, text=True, check=False)
    assert result.returncode == 0, result.stderr
    return log.read_text()


def log_table(log, heading, occurrence=0):
    """A table of the run log as {row name: [cells]} in row order (at most
    ten columns, so no wrapped rows)."""
    start = [m.end() for m in re.finditer(re.escape(heading), log)][occurrence]
    rows = {}
    for line in log[start:].splitlines()[4:]:
        if not re.match(r"^\s*\d+-", line):
            break
        rows[line[4:12].strip()] = [float(cell) for cell in line[12:].split()]
    assert rows, heading
    return rows


def read_phylip(path):
    lines = Path(path).read_text().splitlines()
    count = int(lines[0])
    table = {}
    for line in lines[1:count + 1]:
        name, *cells = line.split()
        table[name] = [float(cell) for cell in cells]
    assert len(table) == count
    return table


def read_tsv(path):
    """The two matrices of a TSV table file: {title: (names, {name: cells})}."""
    tables = {}
    for block in Path(path).read_text().strip("\n").split("\n\n"):
        header, *rows = [line.split("\t") for line in block.splitlines()]
        tables[header[0]] = (header[1:], {row[0]: [float(cell) for cell in row[1:]] for row in rows})
    return tables


@pytest.fixture(scope="module")
def globins(tmp_path_factory):
    out = tmp_path_factory.mktemp("globins")
    log = align(out, GLOBINS, "--tree-newick", out / "g.nwk", "--tree-svg", out / "g.svg", "--distances",
                out / "g.phy", "-o", out / "g.fa")
    align(out, GLOBINS, "--distances", out / "g.tsv", "--order", "tree", "-o", out / "tree_order.fa")
    return out, log


def test_newick_has_the_join_distances_as_patristic_distances(globins):
    out, _ = globins
    tree = Phylo.read(out / "g.nwk", "newick")
    names = fasta_names(GLOBINS)
    assert sorted(leaf.name for leaf in tree.get_terminals()) == sorted(names)
    depths = [tree.distance(leaf) for leaf in tree.get_terminals()]
    assert max(depths) - min(depths) < 1e-6
    distances = read_phylip(out / "g.phy")
    order = list(distances)
    # HBB and HBD join first, as two single sequences: at their own distance.
    join = distances["HBB_HUMAN"][order.index("HBD_HUMAN")]
    assert abs(tree.distance("HBB_HUMAN", "HBD_HUMAN") - join) < 1e-6
    # Average linkage: the root joins the myoglobins to the mean of their
    # distances to the haemoglobins.
    myoglobins = ["MYG_HUMAN", "MYG_PHYMC"]
    mean = sum(distances[m][order.index(h)] for m in myoglobins for h in order if h not in myoglobins) / 10
    assert abs(tree.distance("MYG_HUMAN", "HBA_HUMAN") - mean) < 1e-4


def test_tables_match_the_run_log(globins):
    out, log = globins
    identities = log_table(log, "Percentage identities:")
    nas = log_table(log, "Normalized alignment scores (NAS = 100.0 * Sreal/Smax):")
    names = fasta_names(GLOBINS)
    phylip = read_phylip(out / "g.phy")
    assert list(phylip) == names
    tsv = read_tsv(out / "g.tsv")
    tree_names, identity = tsv["percent_identity"]
    for name in names:
        short = name[:7]
        for c, other in enumerate(names):
            # The log prints the float the file holds, rounded to one decimal.
            cell = float(numpy.float32(identity[name][tree_names.index(other)]))
            assert f"{cell:.1f}" == f"{identities[short][c]:.1f}", (name, other)
            # It prints the NAS; the file holds the distance made from it.
            distance = phylip[name][c]
            assert abs(100.0 * math.exp(-distance / 100.0) - nas[short][c]) <= 0.05 + 1e-4, (name, other)
            assert tsv["distance"][1][name][tree_names.index(other)] == distance


def test_tree_order_is_the_leaf_order_and_the_logs_joining_order(globins):
    out, log = globins
    leaves = [leaf.name for leaf in Phylo.read(out / "g.nwk", "newick").get_terminals()]
    assert fasta_names(out / "tree_order.fa") == leaves
    assert read_tsv(out / "g.tsv")["distance"][0] == leaves
    joined = list(log_table(log, "Percentage identities:", occurrence=1))
    assert joined == [name[:7] for name in leaves]
    assert fasta_names(out / "g.fa") == fasta_names(GLOBINS)


def test_prealigned_block_is_one_clade_at_height_zero(tmp_path):
    align(tmp_path, GLOBINS, "--prealigned", "3", "--tree-newick", tmp_path / "t.nwk")
    tree = Phylo.read(tmp_path / "t.nwk", "newick")
    block = tree.common_ancestor(*fasta_names(GLOBINS)[:3])
    assert sorted(leaf.name for leaf in block.clades) == sorted(fasta_names(GLOBINS)[:3])
    assert all(leaf.branch_length == 0 for leaf in block.clades)


def test_two_sequences_are_one_join_at_their_distance(tmp_path):
    two = tmp_path / "two.fa"
    two.write_text("".join(KINASES.read_text().partition(">MK01")[0]))
    align(tmp_path, two, "--tree-newick", tmp_path / "t.nwk", "--distances", tmp_path / "t.dist")
    tree = Phylo.read(tmp_path / "t.nwk", "newick")
    table = read_phylip(tmp_path / "t.dist")
    assert tree.distance("CDK2_HUMAN", "CDK1_HUMAN") == pytest.approx(table["CDK2_HUMAN"][1], abs=1e-6)


def family_of_300(tmp_path_factory):
    family = PICTURES / "family300.fa"
    if not family.exists():
        PICTURES.mkdir(parents=True, exist_ok=True)
        subprocess.run(["/usr/bin/python3", str(SOURCE / "bench" / "make_family.py"), "--n", "300", "--len", "120",
                        "--seed", "300", "--out", str(family)], check=True, capture_output=True)
    return family


@pytest.mark.parametrize("name", ["kinases", "globins", "family300"])
def test_svg_renders_readably_within_the_width_bound(tmp_path, tmp_path_factory, name):
    if shutil.which("rsvg-convert") is None:
        pytest.fail("rsvg-convert is missing: install librsvg2-bin (scripts/install-deps.sh)")
    fasta = {"kinases": KINASES, "globins": GLOBINS}.get(name) or family_of_300(tmp_path_factory)
    svg = tmp_path / "tree.svg"
    align(tmp_path, fasta, "--tree-svg", svg)
    text = svg.read_text()
    names = fasta_names(fasta)
    for sequence in names:
        assert text.count(f">{sequence}</text>") == 1, sequence
    PICTURES.mkdir(parents=True, exist_ok=True)
    png = PICTURES / f"tree_{name}.png"
    subprocess.run(["rsvg-convert", str(svg), "-o", str(png)], check=True)
    width, height = png_size(png)
    assert 600 <= width <= 1000
    assert height >= 18 * len(names)
    assert height <= 18 * len(names) + 120


def png_size(path):
    header = Path(path).read_bytes()[:24]
    assert header[:8] == b"\x89PNG\r\n\x1a\n"
    return int.from_bytes(header[16:20], "big"), int.from_bytes(header[20:24], "big")
