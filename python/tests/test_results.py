"""Names, tables and tree of a result."""

import math

import pytest

import zemtra


def test_names_are_the_sequences_that_took_part():
    pairs = [("a", "MK--"), ("b", "--IV"), ("c", "MKIV"), ("d", "MRIV")]
    result = zemtra.realign(pairs, range=(2, 4))
    assert result.names == ["b", "c", "d"]
    assert len(result.identity) == 3 and len(result.distance[0]) == 3


def test_tables_match_the_logs_pairwise_tables(globins):
    result = zemtra.realign(globins)
    n = len(globins)
    identity = [[float(v) for v in row] for row in result.identity]
    distance = [[float(v) for v in row] for row in result.distance]
    assert all(identity[i][i] == 100.0 and distance[i][i] == 0.0 for i in range(n))
    assert all(identity[i][j] == identity[j][i] and distance[i][j] == distance[j][i]
               for i in range(n) for j in range(n))
    # HBB_HUMAN and HBD_HUMAN, as the log prints them.
    assert "  3-HBB_HUM   45.8  45.1 100.0  93.2" in result.log
    assert round(identity[2][3], 1) == 93.2
    assert distance[2][3] < distance[2][5]


def test_numpy_arrays_when_numpy_is_there(globins):
    numpy = pytest.importorskip("numpy")
    result = zemtra.realign(globins)
    assert isinstance(result.identity, numpy.ndarray) and result.identity.shape == (7, 7)


def test_tree_off_and_on(globins):
    assert zemtra.realign(globins, tree=False).newick is None
    newick = zemtra.realign([("it's", "MKVLL"), ("b c", "MKIVLL")]).newick
    assert newick.startswith("(") and newick.endswith(";")
    assert "'it''s'" in newick and "'b c'" in newick


def test_help_reads_well():
    doc = zemtra.realign.__doc__
    for word in ("alignment", "range", "matrix", "gap", "prealigned", "log", "tree", "progress", "Raises"):
        assert word in doc
    assert "karvo align --range 11:50" in doc


def test_newick_branch_lengths_are_join_distances(globins):
    from io import StringIO

    Phylo = pytest.importorskip("Bio.Phylo")
    result = zemtra.realign(globins)
    tree = Phylo.read(StringIO(result.newick), "newick")
    i, j = result.names.index("HBB_HUMAN"), result.names.index("HBD_HUMAN")
    assert math.isclose(tree.distance("HBB_HUMAN", "HBD_HUMAN"), float(result.distance[i][j]), rel_tol=1e-5)
