"""zemtra.realign gives karvo align's rows and log, byte for byte."""

import pytest

import zemtra
from conftest import EXAMPLES, karvo_align, read_fasta


@pytest.mark.parametrize(
    "example, options, arguments",
    [
        ("globins.fa", [], {}),
        ("kinases.fa", [], {}),
        ("globins.fa", ["--range", "11:60", "--matrix", "gonnet", "--gap", "25"],
         {"range": (10, 60), "matrix": "gonnet", "gap": 25}),
        ("kinases.fa", ["--prealigned", "2", "--matrix", "3"], {"prealigned": 2, "matrix": 3}),
    ],
)
def test_rows_and_log_equal_karvos(example, options, arguments):
    pairs = read_fasta(EXAMPLES / example)
    rows, log = karvo_align(EXAMPLES / example, *options)
    result = zemtra.realign(pairs, **arguments)
    assert result.alignment == rows
    assert result.log.encode("utf-8", "surrogateescape") == log
    assert result.outcome == zemtra.Outcome.COMPLETED


def test_input_kinds_give_the_same_rows(globins):
    as_pairs = zemtra.realign(globins).alignment
    as_lists = zemtra.realign([list(pair) for pair in globins]).alignment
    as_dict = zemtra.realign(dict(globins)).alignment
    assert as_lists == as_pairs
    assert isinstance(as_dict, dict) and list(as_dict.items()) == as_pairs


def test_input_is_never_modified(globins):
    given = [list(pair) for pair in globins]
    copy = [list(pair) for pair in globins]
    mapping = dict(globins)
    zemtra.realign(given, range=slice(5, 40))
    zemtra.realign(mapping)
    assert given == copy and mapping == dict(globins)


def test_log_argument_writes_the_same_bytes(globins, tmp_path):
    path = tmp_path / "run.log"
    path.write_text("an older log\n")
    result = zemtra.realign(globins, log=path)
    assert path.read_bytes() == result.log.encode("utf-8", "surrogateescape")
    assert sorted(p.name for p in tmp_path.iterdir()) == ["run.log"]


def test_residue_spelling_as_karvo_reads_it(tmp_path):
    pairs = [("a", "mk.v*"), ("b", "M K I V"), ("c", "MR-V")]
    path = tmp_path / "spelled.fa"
    path.write_text("".join(f">{n}\n{s}\n" for n, s in pairs))
    rows, log = karvo_align(path)
    result = zemtra.realign(pairs)
    assert result.alignment == rows
    assert result.log.encode() == log


@pytest.mark.parametrize("example", ["globins.fa", "kinases.fa"])
def test_newick_equals_karvos(example):
    _, _, newick = karvo_align(EXAMPLES / example, newick=True)
    assert zemtra.realign(read_fasta(EXAMPLES / example)).newick + "\n" == newick
