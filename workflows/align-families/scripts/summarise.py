"""The summary table of the align-families workflow: one row per family with
its sequences and alignment columns, the method and scoring, the mean
pairwise identity, and the run's time and peak memory (Snakemake's
benchmark of the karvo run). Run by Snakemake's script directive."""

import csv
from statistics import mean

from Bio import AlignIO

# Biopython's names of the formats karvo writes.
BIOPYTHON_FORMATS = {"fasta": "fasta", "clustal": "clustal", "msf": "msf", "stockholm": "stockholm",
                     "phylip": "phylip-relaxed"}


def identities(path):
    """The off-diagonal percent identities of a karvo --distances TSV file
    (its first table)."""
    with open(path, newline="") as table:
        rows = []
        for row in csv.reader(table, delimiter="\t"):
            if not row:
                break
            rows.append(row)
    values = [float(row[j]) for i, row in enumerate(rows[1:], 1) for j in range(1, len(row)) if j != i]
    return values


def benchmark(path):
    """Seconds and peak memory (MB) of the run."""
    with open(path, newline="") as table:
        row = next(csv.DictReader(table, delimiter="\t"))
    return float(row["s"]), row.get("max_rss", "NA")


def main(snakemake):
    fields = ["family", "sequences", "columns", "method", "matrix", "gap", "mean_identity", "seconds",
              "max_rss_mb"]
    parameters = snakemake.params
    with open(snakemake.output[0], "w", newline="") as out:
        writer = csv.writer(out, delimiter="\t", lineterminator="\n")
        writer.writerow(fields)
        for family, alignment_path, distances_path, benchmark_path in zip(
                parameters.families, snakemake.input.alignments, snakemake.input.distances,
                snakemake.input.benchmarks):
            alignment = AlignIO.read(alignment_path, BIOPYTHON_FORMATS[parameters.alignment_format])
            pairs = identities(distances_path)
            seconds, memory = benchmark(benchmark_path)
            writer.writerow([family, len(alignment), alignment.get_alignment_length(), parameters.method,
                             parameters.matrix, parameters.gap, f"{mean(pairs):.1f}" if pairs else "NA",
                             f"{seconds:.2f}", memory])


main(snakemake)  # noqa: F821 (set by Snakemake)
