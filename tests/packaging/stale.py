"""What is generated and kept in the repository, against what is made of its sources now."""
from __future__ import annotations

import difflib
import sys
from typing import Iterable, Iterator, NamedTuple

MOST_SHOWN = 60


class Kept(NamedTuple):
    """A file as it is kept, and as it would be written now; empty where there is none."""
    name: str
    kept: str
    made: str

    def difference(self) -> Iterator[str]:
        return difflib.unified_diff(self.kept.splitlines(), self.made.splitlines(),
                                    f"{self.name} as kept", f"{self.name} as made now",
                                    lineterm="")


def check(files: Iterable[Kept], generated: str) -> None:
    """Ends the test when one is not what it is made of: with the lines that differ, and with the
    command that writes it."""
    lines = [line for file in files for line in file.difference()]
    if not lines:
        return
    if len(lines) > MOST_SHOWN:
        lines = [*lines[:MOST_SHOWN], f"and {len(lines) - MOST_SHOWN} lines more"]
    sys.exit("\n".join([*lines, f"to write it anew: tools/regenerate {generated}"]))
