"""The example script runs and shows the table and the tree."""

import os
import subprocess
import sys

import pytest

from conftest import EXAMPLES

pytest.importorskip("Bio.Phylo")


def test_notebook_example_runs():
    out = subprocess.run([sys.executable, str(EXAMPLES / "notebook.py")], env=dict(os.environ), check=True,
                         capture_output=True, text=True).stdout
    assert "Percent identity of the pairwise alignments:" in out
    rows = {line.split()[0]: line.split()[1:] for line in out.splitlines() if line.startswith("HBB_HUMAN ")}
    assert rows["HBB_HUMAN"][:4] == ["45.8", "45.1", "100.0", "93.2"]
    assert out.count("HBA_HUMAN") >= 4 and "Guide tree:" in out
