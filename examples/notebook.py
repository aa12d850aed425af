"""Re-align the globins in Python, print their identity table and guide tree.

Run from the source tree after building (PYTHONPATH=build/python), or with
the package installed:

    PYTHONPATH=build/python /usr/bin/python3 examples/notebook.py
"""

from io import StringIO
from pathlib import Path

from Bio import Phylo, SeqIO
from Bio.Align import MultipleSeqAlignment

import zemtra

# The example file is unaligned; Biopython's alignment wants equal lengths.
records = list(SeqIO.parse(Path(__file__).with_name("globins.fa"), "fasta"))
width = max(len(record) for record in records)
for record in records:
    record.seq = record.seq + "-" * (width - len(record))
globins = MultipleSeqAlignment(records)

result = zemtra.realign(globins)
print(result.alignment)

print("\nPercent identity of the pairwise alignments:")
names = [name[:10] for name in result.names]
print(" " * 11 + "".join(f"{name:>11}" for name in names))
for name, row in zip(names, result.identity):
    print(f"{name:<11}" + "".join(f"{value:>11.1f}" for value in row))

print("\nGuide tree:")
Phylo.draw_ascii(Phylo.read(StringIO(result.newick), "newick"))
