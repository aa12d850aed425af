"""The align-families workflow run locally with two cores on three small
families: every alignment, tree, distance table and run log is written, and
the summary has one row per family with its sequences and columns."""

import csv
import gzip
import shutil
import subprocess

import pytest

from conftest import KARVO, SOURCE, run

WORKFLOW = SOURCE / "workflows" / "align-families"

pytestmark = pytest.mark.skipif(shutil.which("snakemake") is None,
                                reason="snakemake is not installed (apt-get install snakemake)")


def fasta_records(text):
    return [block for block in text.split(">")[1:]]


def test_three_families_give_every_output_and_the_summary(tmp_path):
    families = tmp_path / "families"
    families.mkdir()
    globins = (SOURCE / "examples" / "globins.fa").read_text()
    shutil.copy(SOURCE / "examples" / "globins.fa", families / "globins.fa")
    shutil.copy(SOURCE / "examples" / "kinases.fa", families / "kinases.fasta")
    # A compressed family of the first four globins.
    with gzip.open(families / "haemoglobins.fa.gz", "wt") as out:
        out.write("".join(">" + record for record in fasta_records(globins)[:4]))
    expected = {"globins": 7, "kinases": len(fasta_records((families / "kinases.fasta").read_text())),
                "haemoglobins": 4}

    config = [f"families={families}", f"karvo={KARVO}", "results=results"]
    # Until karvo has --method, the method is karvo's own default.
    if "--method" not in run([KARVO, "align", "--help"]).stdout:
        config.append("method=")
    run(["snakemake", "--snakefile", WORKFLOW / "Snakefile", "--directory", tmp_path, "--cores", "2",
         "--quiet", "--config", *config])

    results = tmp_path / "results"
    for family, sequences in expected.items():
        alignment = fasta_records((results / "alignments" / f"{family}.fa").read_text())
        assert len(alignment) == sequences, family
        assert (results / "trees" / f"{family}.nwk").read_text().rstrip().endswith(";")
        assert (results / "distances" / f"{family}.tsv").read_text().startswith("percent_identity\t")
        assert (results / "logs" / f"{family}.log").stat().st_size > 0
    with open(results / "summary.tsv", newline="") as table:
        rows = {row["family"]: row for row in csv.DictReader(table, delimiter="\t")}
    assert {family: int(row["sequences"]) for family, row in rows.items()} == expected
    for family, row in rows.items():
        first = fasta_records((results / "alignments" / f"{family}.fa").read_text())[0]
        assert int(row["columns"]) == len("".join(first.split("\n")[1:]))
        assert 0 < float(row["mean_identity"]) <= 100
