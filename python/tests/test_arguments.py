"""Every refusal: the exception type and karvo's words."""

import re

import pytest

import zemtra

PAIRS = [("a", "MKVLLAGHW"), ("b", "MKIVLLHW")]


@pytest.mark.parametrize(
    "arguments, error, message",
    [
        ({"gap": 101}, ValueError, "gap must be from 0 to 100, not 101"),
        ({"gap": -1}, ValueError, "gap must be from 0 to 100, not -1"),
        ({"gap": 4.5}, TypeError, "gap must be an int, not float"),
        ({"prealigned": -1}, ValueError, "prealigned must be 0 or more, not -1"),
        ({"prealigned": 3}, ValueError, "prealigned 3 is more than the 2 sequences of the alignment"),
        ({"prealigned": "1"}, TypeError, "prealigned must be an int, not str"),
        ({"matrix": 15}, ValueError, "unknown matrix '15'"),
        ({"matrix": "nosuch"}, ValueError, "unknown matrix 'nosuch'"),
        ({"matrix": 1.0}, TypeError, "matrix must be a name or a number, not float"),
        ({"range": (0, 10)}, ValueError, "range (0, 10) is outside the alignment's 9 columns"),
        ({"range": (-10, 5)}, ValueError, "range (-10, 5) is outside the alignment's 9 columns"),
        ({"range": (5, 5)}, ValueError, "empty range (5, 5): stop must come after start"),
        ({"range": slice(6, 2)}, ValueError, "empty range slice(6, 2, None): stop must come after start"),
        ({"range": slice(0, 8, 2)}, ValueError, "range slice(0, 8, 2) has a step"),
        ({"range": 3}, TypeError, "range must be a slice or a (start, stop) pair, not 3"),
        ({"range": (1.0, 5)}, TypeError, "range (1.0, 5): column numbers must be int, not float"),
        ({"log": 3}, TypeError, "log must be a path, not int"),
        ({"log": "folder/"}, ValueError, "log folder/ does not name a file"),
        ({"tree": 1}, TypeError, "tree must be True or False, not int"),
        ({"progress": 5}, TypeError, "progress must be callable, not int"),
    ],
)
def test_bad_arguments(arguments, error, message):
    with pytest.raises(error, match=re.escape(message)):
        zemtra.realign(PAIRS, **arguments)


def test_unknown_matrix_lists_the_names():
    with pytest.raises(ValueError) as raised:
        zemtra.realign(PAIRS, matrix="nosuch")
    assert zemtra.matrix_names() in str(raised.value)


def test_matrix_names_and_numbers_are_karvos():
    by_name = zemtra.realign(PAIRS, matrix="test_matrix").log
    assert zemtra.realign(PAIRS, matrix="TEST MATRIX").log == by_name
    assert zemtra.realign(PAIRS, matrix=14).log == by_name
    assert zemtra.realign(PAIRS, matrix="14").log == by_name
    assert zemtra.realign(PAIRS).log != by_name


def test_log_that_is_a_folder(tmp_path):
    with pytest.raises(ValueError, match=re.escape(f"log {tmp_path} is a directory")):
        zemtra.realign(PAIRS, log=tmp_path)


def test_log_that_cannot_be_written(tmp_path):
    with pytest.raises(OSError, match="missing"):
        zemtra.realign(PAIRS, log=tmp_path / "missing" / "run.log")


@pytest.mark.parametrize(
    "alignment, error, message",
    [
        ("MKV", TypeError, "alignment must be a Bio.Align.MultipleSeqAlignment or Alignment, a list of (name, sequence) pairs"),
        ([("a", "MKV", "x")], TypeError, "alignment[0] must be a (name, sequence) pair"),
        ([("a", 5)], TypeError, "alignment[0]: a sequence must be a str or a Bio.Seq.Seq, not int"),
        ({"a": b"MKV"}, TypeError, "alignment['a']: a sequence must be a str or a Bio.Seq.Seq, not bytes"),
        ([(1, "MKV")], TypeError, "alignment[0]: a name must be a str, not int"),
        ([("", "MKV")], ValueError, "alignment[0]: empty sequence name"),
        ([("a", "MKV"), ("a", "MKV")], ValueError, "duplicate sequence name a (first at row 0)"),
        ([("a", "MKV"), ("b", "MK#V")], ValueError, "unexpected character '#' in sequence b, at row 1, position 2"),
        ([("a", "MK*V")], ValueError, "'*' inside sequence a (it may only end it), at row 0, position 2"),
        ([], ValueError, "no sequences"),
        ([("a", "--"), ("b", "..")], ValueError, "only gaps, no residues in any sequence"),
    ],
)
def test_bad_alignments(alignment, error, message):
    with pytest.raises(error, match=re.escape(message)):
        zemtra.realign(alignment)


@pytest.mark.parametrize(
    "alignment, arguments, message",
    [
        ([("a", "M-K"), ("b", "M-V")], {"range": (1, 2)}, "nothing to align: no sequence has residues in range (1, 2)"),
        ([("a", "MKV")], {}, "nothing to align: fewer than two sequences have residues in range (0, 3)"),
        ([("a", "MK--"), ("b", "MKIV")], {"range": (2, 3)},
         "nothing to align: fewer than two sequences have residues in range (2, 3)"),
        ([("a", "MKIV"), ("b", "MKIV"), ("c", "MK--")], {"prealigned": 2, "range": (2, 4)},
         "nothing to align: no sequence after the 2 prealigned ones has residues in range (2, 4)"),
    ],
)
def test_nothing_to_align(alignment, arguments, message):
    with pytest.raises(ValueError, match=re.escape(message)):
        zemtra.realign(alignment, **arguments)
