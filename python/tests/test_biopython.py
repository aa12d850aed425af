"""Biopython alignments in and out."""

import pytest

import zemtra
from conftest import EXAMPLES, karvo_align

Align = pytest.importorskip("Bio.Align")
SeqIO = pytest.importorskip("Bio.SeqIO")
from Bio.Seq import Seq  # noqa: E402
from Bio.SeqRecord import SeqRecord  # noqa: E402


def test_multiple_seq_alignment_in_and_out():
    records = list(SeqIO.parse(EXAMPLES / "globins.fa", "fasta"))
    width = max(len(r) for r in records)
    padded = [SeqRecord(r.seq + "-" * (width - len(r)), id=r.id, name=r.name, description=r.description)
              for r in records]
    alignment = Align.MultipleSeqAlignment(padded, annotations={"source": "examples"})
    before = [str(r.seq) for r in alignment]

    result = zemtra.realign(alignment)

    rows, _ = karvo_align(EXAMPLES / "globins.fa")
    assert isinstance(result.alignment, Align.MultipleSeqAlignment)
    assert [(r.id, str(r.seq)) for r in result.alignment] == rows
    assert [r.description for r in result.alignment] == [r.description for r in records]
    assert result.alignment.annotations == {"source": "examples"}
    assert [str(r.seq) for r in alignment] == before


def test_seq_objects_in_pairs_and_dicts():
    pairs = [("a", Seq("MKVLL")), ("b", Seq("MKIVLL"))]
    assert zemtra.realign(pairs).alignment == zemtra.realign([(n, str(s)) for n, s in pairs]).alignment
    assert zemtra.realign(dict(pairs)).alignment == dict(zemtra.realign(pairs).alignment)


def test_newick_reads_into_bio_phylo(globins):
    from io import StringIO

    from Bio import Phylo

    tree = Phylo.read(StringIO(zemtra.realign(globins).newick), "newick")
    assert sorted(leaf.name for leaf in tree.get_terminals()) == sorted(name for name, _ in globins)


def test_alignment_class_in_and_out(globins):
    """Bio.Align.Alignment (the newer class) comes back as an Alignment with
    the rows of the same run on a MultipleSeqAlignment."""
    from Bio.Align import Alignment

    width = max(len(row) for _, row in globins)
    padded = [(name, row + "-" * (width - len(row))) for name, row in globins]
    records = [SeqRecord(Seq(row.replace("-", "")), id=name, description=f"{name} demo") for name, row in padded]
    given = Alignment(records, Alignment.infer_coordinates([row for _, row in padded]))
    expected = zemtra.realign(padded, range=(0, 40)).alignment

    result = zemtra.realign(given, range=(0, 40)).alignment

    assert isinstance(result, Alignment)
    assert [str(result[i]) for i in range(len(result.sequences))] == [row for _, row in expected]
    assert [r.id for r in result.sequences] == [name for name, _ in expected]
    assert [r.description for r in result.sequences] == [f"{name} demo" for name, _ in globins]
    # Sequences without ids are named seq1, seq2, ... and keep their type.
    plain = zemtra.realign(Alignment(["MKV", Seq("MKIV")], Alignment.infer_coordinates(["MK-V", "MKIV"]))).alignment
    assert [plain[i] for i in range(2)] == [row for _, row in zemtra.realign([("seq1", "MK-V"), ("seq2", "MKIV")]).alignment]
    assert [type(s).__name__ for s in plain.sequences] == ["str", "Seq"]
