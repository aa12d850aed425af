"""Biopython reads every alignment format karvo writes back to the same rows,
and reads the sample input files to the rows karvo reads from them.

Run by CTest with KARVO_BINARY naming the built karvo; the alignment is one
real run over the globins example, written once in each format. The rows
karvo reads from each sample under tests/data/formats/inputs are the golden
file inputs.rows, which the C++ reader tests hold karvo to.
"""
import gzip
import os
import subprocess
from pathlib import Path

import pytest
from Bio import AlignIO, SeqIO

KARVO = os.environ.get("KARVO_BINARY", "")
ROOT = Path(__file__).resolve().parents[2]
EXAMPLE = ROOT / "examples" / "globins.fa"
SAMPLES = ROOT / "tests" / "data" / "formats" / "inputs"

# File extension and Biopython's name for the format.
FORMATS = [
    ("fa", "fasta"),
    ("aln", "clustal"),
    ("msf", "msf"),
    ("sto", "stockholm"),
    ("phy", "phylip-relaxed"),
]


def align(tmp_path, output, *extra, source=EXAMPLE, log="run.log"):
    env = dict(os.environ, KARVO_TMPDIR=str(tmp_path))
    result = subprocess.run(
        [KARVO, "align", str(source), "-q", "--force", "--log", str(tmp_path / log), "-o", str(output), *extra],
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


def golden_rows():
    """The rows karvo reads from each sample: {file: [(name, row, description)]}."""
    samples = {}
    for line in (SAMPLES.parent / "inputs.rows").read_text().splitlines():
        if line.startswith("== "):
            current = samples.setdefault(line[3:], [])
        else:
            name, row, description = line.split("\t")
            current.append((name, row, description.replace("^A", "\x01")))
    return samples


# Samples in the shapes Biopython reads, with the Biopython format that
# reads them (Biopython 1.80 knows neither the Kalign banner nor MSF rows
# that end early, nor PIR without '*', nor A3M).
BIOPYTHON_SAMPLES = [
    ("banner_probcons.aln", "clustal"),
    ("banner_msaprobs.aln", "clustal"),
    ("strict_sequential.phy", "phylip-sequential"),
    ("strict_interleaved.phy", "phylip"),
    ("relaxed_sequential.phy", "phylip-relaxed"),
    ("relaxed_interleaved.phy", "phylip-relaxed"),
    ("with_star.pir", "pir"),
    ("ctrl_a_title.fa", "fasta"),
]


@pytest.mark.parametrize("sample,biopython_format", BIOPYTHON_SAMPLES)
def test_karvo_reads_samples_as_biopython_does(sample, biopython_format):
    expected = golden_rows()[sample]
    records = list(SeqIO.parse(SAMPLES / sample, biopython_format))
    assert [(r.id, str(r.seq).upper()) for r in records] == [(name, row) for name, row, _ in expected]
    if biopython_format in ("pir", "fasta"):
        titles = [r.description[len(r.id):].strip() if biopython_format == "fasta" else r.description for r in records]
        assert titles == [description for _, _, description in expected]


def karvo_rows(tmp_path, source, *extra):
    output = align(tmp_path, tmp_path / "rows.fa", *extra, source=source)
    return rows(AlignIO.read(output, "fasta"))


@pytest.mark.skipif(not KARVO, reason="KARVO_BINARY is not set")
@pytest.mark.parametrize("extension", ["phy", "a3m"])
def test_phylip_and_a3m_outputs_read_back(tmp_path, extension):
    """karvo reads its own PHYLIP and A3M back to the alignment it wrote: a
    run over the copy gives the same rows as a run over a FASTA copy."""
    source = SAMPLES / "strict_interleaved.phy"
    fasta = align(tmp_path, tmp_path / "out.fa", source=source)
    written = align(tmp_path, tmp_path / f"out.{extension}", source=source)
    assert karvo_rows(tmp_path, written) == karvo_rows(tmp_path, fasta)
    if extension == "phy":
        assert rows(AlignIO.read(written, "phylip-relaxed")) == rows(AlignIO.read(fasta, "fasta"))


@pytest.mark.skipif(not KARVO, reason="KARVO_BINARY is not set")
def test_a3m_expanded_to_fasta_reads_in_biopython(tmp_path):
    output = align(tmp_path, tmp_path / "hits.fa", "--range", "1:3", source=SAMPLES / "profile_search.a3m")
    records = list(AlignIO.read(output, "fasta"))
    assert [r.id for r in records] == [name for name, _, _ in golden_rows()["profile_search.a3m"]]
    assert [str(r.seq)[3:] for r in records] == [row[3:] for _, row, _ in golden_rows()["profile_search.a3m"]]


@pytest.mark.skipif(not KARVO, reason="KARVO_BINARY is not set")
def test_compressed_log_holds_the_plain_logs_bytes(tmp_path):
    align(tmp_path, tmp_path / "a.fa", log="plain.log")
    align(tmp_path, tmp_path / "b.fa", log="packed.log.gz")
    assert gzip.decompress((tmp_path / "packed.log.gz").read_bytes()) == (tmp_path / "plain.log").read_bytes()
    assert sorted(p.name for p in tmp_path.iterdir() if "log" in p.name) == ["packed.log.gz", "plain.log"]
