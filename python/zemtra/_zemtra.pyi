# The extension module under the zemtra package; use zemtra.realign.
from typing import Any, Callable, Dict, List, Optional


class HostAlignment:
    """Rows read as the host's alignment readers read them."""

    def __init__(self, names: List[str], rows: List[str]) -> None: ...
    @property
    def columns(self) -> int: ...
    @property
    def sequences(self) -> int: ...
    def realign(
        self,
        first: int,
        stop: int,
        matrix: int,
        gap: int,
        prealigned: int,
        tree: bool,
        progress: Optional[Callable[[int, int], Optional[bool]]],
        method: str = "progressive",
        consistency_rounds: int = -1,
        refine: int = -1,
    ) -> Dict[str, Any]: ...

def find_matrix(name_or_number: str) -> Optional[int]: ...
def unknown_matrix_message(given: str) -> str: ...
def matrix_names() -> str: ...
def write_file_atomically(path: str, data: bytes) -> None: ...
