"""Biopython reads every alignment format karvo writes back to the same rows.

Run by CTest with KARVO_BINARY naming the built karvo; the alignment is one
real run over the globins example, written once in each format.
"""
import gzip
import os
import subprocess
from pathlib import Path

import pytest
from Bio import AlignIO

KARVO = os.environ.get("KARVO_BINARY", "")
EXAMPLE = Path(__file__).resolve().parents[2] / "examples" / "globins.fa"

# File extension and Biopython's name for the format.
FORMATS = [
    ("fa", "fasta"),
    ("aln", "clustal"),
    ("msf", "msf"),
    ("sto", "stockholm"),
    ("phy", "phylip-relaxed"),
]


def align(tmp_path, output, *extra):
    env = dict(os.environ, KARVO_TMPDIR=str(tmp_path))
    result = subprocess.run(
        [KARVO, "align", str(EXAMPLE), "-q", "--force", "--log", str(tmp_path / "run.log"), "-o", str(output), *extra],
        env=env, capture_output=True, text=True, check=False)
    assert result.returncode == 0, result.stderr
    return output


def rows(alignment):
    # MSF writes gaps as '.'; every other format as '-'.
    return [(record.id, str(record.seq).replace(".", "-")) for record in alignment]


@pytest.fixture(scope="module")
def reference(tmp_path_factory):
    directory = tmp_path_factory.mktemp("reference")
    with open(align(directory, directory / "reference.fa")) as handle:
        return rows(AlignIO.read(handle, "fasta"))


@pytest.mark.skipif(not KARVO, reason="KARVO_BINARY is not set")
@pytest.mark.parametrize("extension,biopython_format", FORMATS)
def test_biopython_reads_the_same_rows(tmp_path, reference, extension, biopython_format):
    output = align(tmp_path, tmp_path / f"out.{extension}")
    with open(output) as handle:
        assert rows(AlignIO.read(handle, biopython_format)) == reference
    compressed = align(tmp_path, tmp_path / f"out.{extension}.gz")
    with gzip.open(compressed, "rt") as handle:
        assert rows(AlignIO.read(handle, biopython_format)) == reference


@pytest.mark.skipif(not KARVO, reason="KARVO_BINARY is not set")
def test_clustal_marks_conserved_columns(tmp_path):
    output = align(tmp_path, tmp_path / "out.aln")
    with open(output) as handle:
        alignment = AlignIO.read(handle, "clustal")
    marks = alignment.column_annotations["clustal_consensus"]
    columns = [alignment[:, c] for c in range(alignment.get_alignment_length())]
    assert len(marks) == len(columns)
    for mark, column in zip(marks, columns):
        if "-" in column:
            assert mark == " "
        elif len(set(column)) == 1:
            assert mark == "*"
        else:
            assert mark in " :."
    assert "*" in marks and ":" in marks and "." in marks


@pytest.mark.skipif(not KARVO, reason="KARVO_BINARY is not set")
def test_compressed_standard_input_to_clustal_on_standard_output(tmp_path, reference):
    env = dict(os.environ, KARVO_TMPDIR=str(tmp_path))
    result = subprocess.run(
        [KARVO, "align", "-", "-o", "-", "--format", "clustal", "-q", "--force", "--log", str(tmp_path / "run.log")],
        input=gzip.compress(EXAMPLE.read_bytes()), env=env, cwd=tmp_path, capture_output=True, check=False)
    assert result.returncode == 0, result.stderr
    assert not (tmp_path / "-").exists()
    (tmp_path / "out.aln").write_bytes(result.stdout)
    with open(tmp_path / "out.aln") as handle:
        assert rows(AlignIO.read(handle, "clustal")) == reference
