#!/usr/bin/python3
"""Each program is linked with what it takes something of, and with nothing else.

    libraries.py BUILD
"""
from __future__ import annotations

import re
import subprocess
import sys
from pathlib import Path

# Besides those of the languages.
PROGRAMS = {
    "dov-dbus": {"QtCore", "QtDBus", "QtXml", "dbus-1"},
    "dov-watch": {"QtCore", "QtDBus", "ncursesw", "tinfo"},
    "dov-controller": {"QtCore"},
    "dov-line": {"QtCore"},
    "dov-panel": {"QtCore", "QtDBus", "websockets"},
    "dov-config-check": {"QtCore", "QtXml"},
}
LANGUAGES = {"stdc++", "gcc_s", "m", "c", "pthread", "ld-linux"}


def needed(program: Path) -> set[str]:
    """The names without version and suffix, that of Qt left out."""
    text = subprocess.run(["readelf", "--dynamic", program], check=True, text=True,
                          stdout=subprocess.PIPE).stdout
    names = re.findall(r"\(NEEDED\).*\[(?:lib)?([^]]*?)(?:-x86-64|-aarch64|-armhf)?\.so", text)
    return {re.sub(r"^Qt\d", "Qt", name) for name in names} - LANGUAGES


def main() -> None:
    wrong = False
    for name, expected in PROGRAMS.items():
        if not (Path(sys.argv[1]) / name).exists() and name == "dov-panel":
            continue  # an option of the build
        found = needed(Path(sys.argv[1]) / name)
        print(f"{name}: {' '.join(sorted(found))}")
        if found != expected:
            wrong = True
            print(f"    expected: {' '.join(sorted(expected))}")
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()
