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
