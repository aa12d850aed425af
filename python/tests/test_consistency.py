"""The consistency method: rows, column confidences, tree and its settings."""

import math
import os

import pytest

import zemtra
from conftest import SOURCE, read_fasta, write_fasta

GOLDEN = SOURCE / "tests" / "data" / "python" / "globins_consistency.fa"


def test_globins_give_the_golden_rows(globins):
    result = zemtra.realign(globins, method="consistency", refine=20)
    if os.environ.get("ZEMTRA_UPDATE_GOLDEN") == "1":
        write_fasta(GOLDEN, result.alignment)
    assert result.alignment == read_fasta(GOLDEN)
    assert result.log.startswith("Zemtra re-alignment, consistency method")
    assert result.newick.count(",") == len(globins) - 1
    assert result.names == [name for name, _ in globins]


def test_confidence_is_given_for_the_realigned_columns_only():
    # Column 1 is a gap in every row and goes; columns 0, 9 and 10 lie outside.
    pairs = [("a", "M-KVLSPADK-"), ("b", "M-RVHLTPEEK"), ("c", "W-ELSEGEWQL")]
    result = zemtra.realign(pairs, range=(2, 9), method="consistency", consistency_rounds=0, refine=0)
    confidence = list(result.column_confidence)
    width = len(result.alignment[0][1])
    assert len(confidence) == width
    outside = [confidence[0], *confidence[width - 2:]]
    assert all(math.isnan(value) for value in outside)
    assert all(0.0 <= value <= 1.0 for value in confidence[1:width - 2])
    assert [row[-2:] for _, row in result.alignment] == ["K-", "EK", "QL"]
    assert zemtra.realign(pairs).column_confidence is None


@pytest.mark.parametrize(
    "options, error, words",
    [
        ({"method": "fast"}, ValueError, "method must be 'progressive' or 'consistency', not 'fast'"),
        ({"method": 1}, TypeError, "method must be a str, not int"),
        ({"refine": 5}, ValueError, "refine belongs to the consistency method"),
        ({"consistency_rounds": 1}, ValueError, "consistency_rounds belongs to the consistency method"),
        ({"method": "consistency", "refine": -1}, ValueError, "refine must be 0 or more, not -1"),
        ({"method": "consistency", "consistency_rounds": 1.5}, TypeError, "consistency_rounds must be an int"),
    ],
)
def test_method_settings_are_checked(options, error, words):
    with pytest.raises(error, match=words):
        zemtra.realign([("a", "MKV"), ("b", "MKIV")], **options)
