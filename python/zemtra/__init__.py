"""Re-align a column range of a protein multiple alignment in-process.

The zemtra engine re-aligns the residues of the chosen columns of every
sequence and puts the result back in place; columns outside the range keep
their residues exactly where they were. Two methods: ``"progressive"`` (guide
tree by average linkage over pairwise alignments, then progressive profile
alignment) and ``"consistency"`` (pair-HMM posteriors made consistent over
third sequences, a guide tree from their expected accuracies, progressive
alignment that maximises the summed posteriors, then refinement; for up to
200 sequences all of it once more on residue profiles from the first
alignment's columns), which also rates every column it aligns
(``Result.column_confidence``).

    >>> import zemtra
    >>> result = zemtra.realign([("a", "MKV"), ("b", "MKIV")])
    >>> result.alignment
    [('a', 'MKV-'), ('b', 'MKIV')]

Nothing is written to disk unless ``log=`` names a file. See
``help(zemtra.realign)`` for the arguments and ``help(zemtra.Result)`` for
what comes back.
"""

from __future__ import annotations

import enum
import os
import struct
import sys
from typing import TYPE_CHECKING, Any, Callable, Dict, List, Mapping, Optional, Sequence, Tuple, Union

from . import _zemtra

if TYPE_CHECKING:
    from Bio.Align import Alignment, MultipleSeqAlignment

try:
    import numpy as _numpy
except ImportError:  # NumPy is optional: the tables are then lists of lists
    _numpy = None

__all__ = ["realign", "Result", "Outcome", "EngineExit", "matrix_names"]

#: What realign accepts as an alignment.
AlignmentLike = Union["MultipleSeqAlignment", "Alignment", Sequence[Tuple[str, str]], Mapping[str, str]]
#: A progress callback: progress(done, total); returning False cancels.
Progress = Callable[[int, int], Optional[bool]]


class Outcome(str, enum.Enum):
    """How a run ended: ``"completed"``, or ``"cancelled"`` when the progress
    callback returned False (the alignment is then the input, unchanged)."""

    COMPLETED = "completed"
    CANCELLED = "cancelled"

    def __str__(self) -> str:
        return self.value


_EXIT_EXPLANATIONS = {
    "gap0 B": "an alignment of two sequences or groups paired no position",
    "gap A": "an alignment of two sequences or groups paired no position",
    "gap B": "an alignment of two sequences or groups paired no position",
    "rows do not fit": "the re-aligned rows would not fit in twice the range width; a higher gap penalty gives fewer, "
    "shorter gaps",
    "out of memory in the tree builder": "out of memory while building the guide tree",
}


class EngineExit(Exception):
    """The engine stopped a run where it would otherwise end the process.

    ``status`` is the exit status it would have used (1 or 666), ``reason``
    its short fixed text ("gap A", "rows do not fit", ...). The input is
    unchanged and the interpreter stays usable.
    """

    def __init__(self, status: int, reason: str) -> None:
        self.status = status
        self.reason = reason
        explanation = _EXIT_EXPLANATIONS.get(reason, reason or "no reason given")
        quoted = f', "{reason}"' if reason.startswith("gap") else ""
        super().__init__(f"the run would have ended the process (status {status}{quoted}): {explanation}")


class Result:
    """What ``realign`` returns.

    alignment
        The re-aligned alignment, of the type given: a list of
        ``(name, row)`` tuples, a dict, or a Biopython
        ``MultipleSeqAlignment`` or ``Alignment`` (records keep id, name and
        description; an ``Alignment``'s sequences become the residues of
        its rows).
        Rows are upper case with ``-`` for gaps, as the engine reads them.
    names
        The sequences that took part in the run (those with residues in the
        range), in run order: the rows and columns of ``identity`` and
        ``distance`` and the leaves of ``newick``.
    log
        The run log, byte for byte the file ``karvo align`` writes
        (``log.encode("utf-8", "surrogateescape")`` gives its bytes).
    newick
        The guide tree in Newick format, or None when ``tree=False`` or the
        run was cancelled.
    identity, distance
        Square tables over ``names``: percent identity of the pairwise
        alignments and the distance the guide tree is built from. For the
        consistency method, identity is counted in the re-aligned range (the
        columns where both have a residue) and distance is the guide tree's
        distance at which the two sequences were joined (1 - expected
        accuracy of the two groups). NumPy
        arrays when NumPy is installed, else lists of lists; None when the
        run was cancelled. Made when first read.
    column_confidence
        Consistency runs: one value per column of ``alignment``, from 0 to 1
        in the re-aligned columns (how reliable the run rates each of them)
        and NaN outside the range. A NumPy array when NumPy is installed,
        else a list. None for progressive and cancelled runs.
    outcome
        ``Outcome.COMPLETED`` or ``Outcome.CANCELLED``.
    run_seconds
        Wall time of the engine's run itself.
    """

    __slots__ = ("alignment", "names", "log", "newick", "outcome", "run_seconds", "column_confidence", "_tables",
                 "_make_tables")

    def __init__(self, alignment: Any, names: List[str], log: str, newick: Optional[str], outcome: Outcome,
                 run_seconds: float, make_tables: Optional[Callable[[], Tuple[Any, Any]]],
                 column_confidence: Any = None) -> None:
        self.alignment = alignment
        self.names = names
        self.log = log
        self.newick = newick
        self.outcome = outcome
        self.run_seconds = run_seconds
        self.column_confidence = column_confidence
        self._tables: Optional[Tuple[Any, Any]] = None
        self._make_tables = make_tables

    def _pairwise(self) -> Tuple[Any, Any]:
        if self._tables is None:
            self._tables = self._make_tables() if self._make_tables is not None else (None, None)
            self._make_tables = None
        return self._tables

    @property
    def identity(self) -> Any:
        """Percent identity of every pair's pairwise alignment, over ``names``."""
        return self._pairwise()[0]

    @property
    def distance(self) -> Any:
        """The distance of every pair that the guide tree is built from, over ``names``."""
        return self._pairwise()[1]

    def __repr__(self) -> str:
        return (
            f"<zemtra.Result {self.outcome.value}: {len(self.names)} sequences re-aligned, "
            f"log {len(self.log)} characters, tree {'yes' if self.newick else 'no'}>"
        )


def matrix_names() -> str:
    """The built-in substitution matrices, in number order (0 first)."""
    return _zemtra.matrix_names()


def realign(
    alignment: AlignmentLike,
    range: slice | tuple[int, int] | None = None,
    matrix: str | int = "STRMAT110",
    gap: int = 40,
    prealigned: int = 0,
    log: str | os.PathLike[str] | None = None,
    tree: bool = True,
    progress: Progress | None = None,
    method: str = "progressive",
    consistency_rounds: int | None = None,
    refine: int | None = None,
) -> Result:
    """Re-align a column range of a protein multiple alignment.

    alignment
        A Biopython ``Bio.Align.MultipleSeqAlignment`` or
        ``Bio.Align.Alignment`` (its sequences as SeqRecords, Seq or str;
        those without an id are named ``seq1``, ``seq2``, ...), a list of
        ``(name, sequence)`` pairs or a dict ``{name: sequence}``. Sequences
        are str (or Biopython ``Seq``): letters are residues (upper-cased),
        ``-`` and ``.`` gaps, blanks are ignored and a final ``*`` is
        dropped, exactly as ``karvo`` reads files. Rows shorter than the
        longest are padded with gaps. The object is never modified.
    range
        The columns to re-align, 0-based with the stop excluded, like Python
        slicing: ``slice(10, 50)``, ``(10, 50)`` or ``slice(10, None)``;
        negative numbers count from the end. Default: every column.
        ``karvo align --range 11:50`` (1-based, both ends included) is
        ``range=(10, 50)``.
    matrix
        Substitution matrix by name (any case, ``_`` for a blank) or number
        0-14; ``zemtra.matrix_names()`` lists them.
    gap
        Gap penalty, 0 to 100.
    prealigned
        How many leading sequences are already aligned to each other; they
        are kept as one block and the others aligned to it.
    log
        A file path: the run log is also written there (replaced whole,
        never half-written). By default nothing is written to disk.
    tree
        Whether to build the guide tree (``Result.newick``).
    progress
        Called as ``progress(done, total)`` from the calling thread while
        the run goes on, at most every 20 ms with the latest of the run's
        progress points. Returning ``False`` cancels the run at its next row
        start (the result then has ``outcome`` CANCELLED and the input
        rows); raising an exception cancels it and the exception propagates
        once the run has stopped. The consistency method reports its own
        steps and reads a cancel at each of them.
    method
        ``"progressive"`` (the default; ``matrix`` and ``gap`` are its
        parameters) or ``"consistency"``.
    consistency_rounds
        Consistency method only: rounds of the consistency transformation,
        0 or more (default 2).
    refine
        Consistency method only: refinement attempts, 0 for none (default
        400); the re-estimation pass, made for up to 200 sequences,
        refines with a quarter of them.

    The run itself does not hold the interpreter lock: other threads keep
    running, and two threads may re-align two alignments at once. Ctrl-C
    cancels the run at its next row start and raises KeyboardInterrupt.

    Raises TypeError or ValueError for arguments that do not fit (with the
    words of ``karvo``'s messages), ValueError when there is nothing to
    align, EngineExit when the engine stops a run it cannot finish,
    MemoryError when memory runs out and OSError when ``log`` cannot be
    written.
    """
    kind, names, rows, records = _read_alignment(alignment)
    host = _zemtra.HostAlignment(names, rows)
    first, stop = _column_range(range, host.columns)
    matrix_number = _matrix_number(matrix)
    _check_int("gap", gap)
    if gap < 0 or gap > 100:
        raise ValueError(f"gap must be from 0 to 100, not {gap}")
    _check_int("prealigned", prealigned)
    if prealigned < 0:
        raise ValueError(f"prealigned must be 0 or more, not {prealigned}")
    if prealigned > len(names):
        raise ValueError(f"prealigned {prealigned} is more than the {len(names)} sequences of the alignment")
    if not isinstance(tree, bool):
        raise TypeError(f"tree must be True or False, not {type(tree).__name__}")
    if progress is not None and not callable(progress):
        raise TypeError(f"progress must be callable, not {type(progress).__name__}")
    rounds, refine_attempts = _method_settings(method, consistency_rounds, refine)
    log_path = _log_path(log)

    raw = host.realign(first, stop, matrix_number, gap, prealigned, tree, progress, method, rounds, refine_attempts)
    if "exit" in raw:
        raise EngineExit(*raw["exit"])
    _check_exchange(raw, first, stop, prealigned)
    if raw["outcome"] == "directory failed":
        raise OSError(f"cannot create the log folder for {raw['log_path']}; nothing was aligned")
    if raw["outcome"] not in ("completed", "cancelled"):
        raise RuntimeError(f"the run ended unexpectedly ({raw['outcome']})")

    log_bytes = raw["log"]
    if log_path is not None:
        _zemtra.write_file_atomically(log_path, log_bytes)
    log_text = log_bytes.decode("utf-8", "surrogateescape")
    run_names = [names[i] for i in raw["sent"]]
    if raw["outcome"] == "cancelled":
        return Result(_output(kind, alignment, names, rows, records), run_names, log_text, None, Outcome.CANCELLED,
                      raw["seconds"], None)
    newick = raw["newick"]
    return Result(_output(kind, alignment, names, raw["rows"], records), run_names, log_text, newick,
                  Outcome.COMPLETED, raw["seconds"], _table_maker(raw, log_text, len(run_names)),
                  _column_confidence(raw))


# --- arguments ---------------------------------------------------------------


def _is_biopython_alignment(value: Any) -> bool:
    align = sys.modules.get("Bio.Align")
    return align is not None and isinstance(value, align.MultipleSeqAlignment)


def _is_biopython_new_alignment(value: Any) -> bool:
    align = sys.modules.get("Bio.Align")
    return align is not None and isinstance(value, getattr(align, "Alignment", ()))


def _sequence_text(value: Any, where: str) -> str:
    if isinstance(value, str):
        return value
    seq = sys.modules.get("Bio.Seq")
    if seq is not None and isinstance(value, seq.Seq):
        return str(value)
    raise TypeError(f"{where}: a sequence must be a str or a Bio.Seq.Seq, not {type(value).__name__}")


def _read_alignment(alignment: Any) -> Tuple[str, List[str], List[str], Any]:
    """The kind of input ("biopython", "dict" or "pairs"), names and rows."""
    names: List[str] = []
    rows: List[str] = []
    records = None
    if _is_biopython_alignment(alignment):
        kind = "biopython"
        records = list(alignment)
        for index, record in enumerate(records):
            names.append(record.id)
            rows.append(_sequence_text(record.seq, f"alignment[{index}]"))
    elif _is_biopython_new_alignment(alignment):
        kind = "biopython-alignment"
        records = list(alignment.sequences)
        for index, record in enumerate(records):
            names.append(getattr(record, "id", None) or f"seq{index + 1}")
            rows.append(str(alignment[index]))
    elif isinstance(alignment, Mapping):
        kind = "dict"
        for name, sequence in alignment.items():
            names.append(name)
            rows.append(_sequence_text(sequence, f"alignment[{name!r}]"))
    elif isinstance(alignment, (list, tuple)):
        kind = "pairs"
        for index, pair in enumerate(alignment):
            if not isinstance(pair, (list, tuple)) or len(pair) != 2:
                raise TypeError(f"alignment[{index}] must be a (name, sequence) pair, not {_describe(pair)}")
            names.append(pair[0])
            rows.append(_sequence_text(pair[1], f"alignment[{index}]"))
    else:
        raise TypeError(
            "alignment must be a Bio.Align.MultipleSeqAlignment or Alignment, a list of (name, sequence) pairs or a "
            "dict, "
            f"not {type(alignment).__name__}"
        )
    first_seen: Dict[str, int] = {}
    for index, name in enumerate(names):
        if not isinstance(name, str):
            raise TypeError(f"alignment[{index}]: a name must be a str, not {type(name).__name__}")
        if not name:
            raise ValueError(f"alignment[{index}]: empty sequence name")
        if name in first_seen:
            raise ValueError(f"duplicate sequence name {name} (first at row {first_seen[name]})")
        first_seen[name] = index
    return kind, names, rows, records


def _describe(value: Any) -> str:
    text = repr(value)
    return text if len(text) <= 40 else type(value).__name__


def _check_int(name: str, value: Any) -> None:
    if isinstance(value, bool) or not isinstance(value, int):
        raise TypeError(f"{name} must be an int, not {type(value).__name__}")


def _column_range(given: Any, columns: int) -> Tuple[int, int]:
    """The range as (first, stop), 0-based and half-open, inside the columns."""
    if given is None:
        return 0, columns
    if isinstance(given, slice):
        if given.step not in (None, 1):
            raise ValueError(f"range {given!r} has a step; only a block of whole columns can be re-aligned")
        start, stop, shown = given.start, given.stop, repr(given)
    elif isinstance(given, (tuple, list)) and len(given) == 2:
        start, stop = given
        shown = f"({start}, {stop})"
    else:
        raise TypeError(f"range must be a slice or a (start, stop) pair, not {_describe(given)}")
    for value in (start, stop):
        if value is not None and (isinstance(value, bool) or not isinstance(value, int)):
            raise TypeError(f"range {shown}: column numbers must be int, not {type(value).__name__}")
    first = 0 if start is None else start + columns if start < 0 else start
    last = columns if stop is None else stop + columns if stop < 0 else stop
    if first < 0 or last > columns:
        raise ValueError(f"range {shown} is outside the alignment's {columns} columns")
    if first >= last:
        raise ValueError(f"empty range {shown}: stop must come after start")
    return first, last


def _matrix_number(matrix: Any) -> int:
    if isinstance(matrix, bool) or not isinstance(matrix, (str, int)):
        raise TypeError(f"matrix must be a name or a number, not {type(matrix).__name__}")
    number = _zemtra.find_matrix(str(matrix))
    if number is None:
        raise ValueError(_zemtra.unknown_matrix_message(str(matrix)))
    return number


def _method_settings(method: Any, rounds: Any, refine: Any) -> Tuple[int, int]:
    """The consistency settings as the engine takes them, -1 for not given."""
    if not isinstance(method, str):
        raise TypeError(f"method must be a str, not {type(method).__name__}")
    if method not in ("progressive", "consistency"):
        raise ValueError(f"method must be 'progressive' or 'consistency', not {method!r}")
    values = []
    for name, value in (("consistency_rounds", rounds), ("refine", refine)):
        if value is None:
            values.append(-1)
            continue
        if method != "consistency":
            raise ValueError(f"{name} belongs to the consistency method; pass method='consistency' or leave {name} out")
        _check_int(name, value)
        if value < 0:
            raise ValueError(f"{name} must be 0 or more, not {value}")
        values.append(value)
    return values[0], values[1]


def _log_path(log: Any) -> Optional[str]:
    if log is None:
        return None
    if not isinstance(log, (str, os.PathLike)):
        raise TypeError(f"log must be a path, not {type(log).__name__}")
    path = os.fsdecode(os.fspath(log))
    base = path.rsplit("/", 1)[-1]
    if base in ("", ".", ".."):
        raise ValueError(f"log {path} does not name a file")
    if os.path.isdir(path):
        raise ValueError(f"log {path} is a directory")
    return path


def _check_exchange(raw: Mapping[str, Any], first: int, stop: int, prealigned: int) -> None:
    columns = f"range ({first}, {stop})"
    exchange = raw["exchange"]
    if exchange == "rewritten":
        return
    if exchange == "no additional sequences":
        if raw["fixed"] == 0:
            raise ValueError(f"nothing to align: no sequence has residues in {columns}")
        raise ValueError(
            f"nothing to align: no sequence after the {prealigned} prealigned ones has residues in {columns}"
        )
    if exchange == "fewer than two":
        raise ValueError(f"nothing to align: fewer than two sequences have residues in {columns}")
    raise RuntimeError(f"the plug-in did not run ({exchange})")


# --- results -----------------------------------------------------------------


def _output(kind: str, given: Any, names: List[str], rows: List[str], records: Any) -> Any:
    if kind == "pairs":
        return list(zip(names, rows))
    if kind == "dict":
        return dict(zip(names, rows))
    if kind == "biopython-alignment":
        return _new_alignment(records, rows)
    from Bio.Align import MultipleSeqAlignment
    from Bio.Seq import Seq
    from Bio.SeqRecord import SeqRecord

    out = []
    for record, row in zip(records, rows):
        out.append(
            SeqRecord(
                Seq(row),
                id=record.id,
                name=record.name,
                description=record.description,
                dbxrefs=list(record.dbxrefs),
                annotations=dict(record.annotations),
            )
        )
    return MultipleSeqAlignment(out, annotations=dict(getattr(given, "annotations", {}) or {}))


def _new_alignment(records: List[Any], rows: List[str]) -> Any:
    """A Bio.Align.Alignment of the rows; each sequence keeps its type (and a
    SeqRecord its id, name and description) and holds its row's residues."""
    from Bio.Align import Alignment
    from Bio.Seq import Seq
    from Bio.SeqRecord import SeqRecord

    sequences: List[Any] = []
    for record, row in zip(records, rows):
        residues = row.replace("-", "")
        if isinstance(record, SeqRecord):
            sequences.append(SeqRecord(Seq(residues), id=record.id, name=record.name, description=record.description,
                                       dbxrefs=list(record.dbxrefs), annotations=dict(record.annotations)))
        else:
            sequences.append(Seq(residues) if isinstance(record, Seq) else residues)
    # Newer Biopython reads printed rows with parse_printed_alignment, older
    # with infer_coordinates.
    if hasattr(Alignment, "parse_printed_alignment"):
        _, coordinates = Alignment.parse_printed_alignment([row.encode() for row in rows])
    else:
        coordinates = Alignment.infer_coordinates(rows)
    return Alignment(sequences, coordinates)


def _square(flat: List[float], n: int) -> Any:
    if _numpy is not None:
        return _numpy.array(flat, dtype=float).reshape(n, n)
    return [list(flat[i * n : (i + 1) * n]) for i in range(n)]


def _column_confidence(raw: Mapping[str, Any]) -> Any:
    """Per column of the result: the confidence inside the range, NaN outside."""
    if raw.get("confidence") is None:
        return None
    values = struct.unpack(f"{len(raw['confidence']) // 4}f", raw["confidence"])
    full = [float("nan")] * raw["columns"]
    full[raw["first_column"] : raw["first_column"] + len(values)] = values
    if _numpy is not None:
        return _numpy.array(full, dtype=float)
    return full


def _table_maker(raw: Mapping[str, Any], log: str, n: int) -> Callable[[], Tuple[Any, Any]]:
    tables = {"identity": raw["identity"], "distance": raw["distance"]}
    return lambda: _pairwise_tables(tables, log, n)


def _pairwise_tables(raw: Mapping[str, Any], log: str, n: int) -> Tuple[Any, Any]:
    tables = []
    for key in ("identity", "distance"):
        values = struct.unpack(f"{n * n}f", raw[key])
        tables.append(_square(list(values), n))
    return tables[0], tables[1]
