"""Column ranges: 0-based and half-open, columns outside untouched."""

import pytest

import zemtra
from conftest import EXAMPLES, karvo_align

ROWS = [("a", "MKV-LLAGHW"), ("b", "MKIVLL--HW"), ("c", "M-KVLAAGHW")]


@pytest.mark.parametrize("given", [slice(2, 8), (2, 8), [2, 8], slice(2, -2), (-8, -2)])
def test_forms_of_the_same_range(given):
    result = zemtra.realign(ROWS, range=given)
    expected = zemtra.realign(ROWS, range=(2, 8)).alignment
    assert result.alignment == expected
    for (name, before), (_, after) in zip(ROWS, result.alignment):
        assert after[:2] == before[:2] and after[-2:] == before[-2:]


def test_open_ends_mean_the_edges():
    assert zemtra.realign(ROWS, range=slice(None, None)).alignment == zemtra.realign(ROWS).alignment
    assert zemtra.realign(ROWS, range=slice(4, None)).alignment == zemtra.realign(ROWS, range=(4, 10)).alignment


def test_one_column_range_equals_karvos(tmp_path):
    path = tmp_path / "rows.fa"
    path.write_text("".join(f">{n}\n{s}\n" for n, s in ROWS))
    rows, log = karvo_align(path, "--range", "3:3")
    result = zemtra.realign(ROWS, range=(2, 3))
    assert result.alignment == rows and result.log.encode() == log


def test_range_on_an_example_equals_karvos(kinases):
    rows, _ = karvo_align(EXAMPLES / "kinases.fa", "--range", "101:200")
    assert zemtra.realign(kinases, range=slice(100, 200)).alignment == rows
