#!/usr/bin/env python3
"""Checks that each fault of faults.txt can be planted: its text is in its file exactly once."""

import sys
from pathlib import Path

FOLDER = Path(__file__).resolve().parent
ROOT = FOLDER.parents[1]


def misfits():
    file = text = ""
    for number, line in enumerate((FOLDER / "faults.txt").read_text().splitlines(), 1):
        if line.startswith(("src/", "include/")):
            file = line.split()[0]
        elif line.startswith("< "):
            text = line[2:]
        elif line.startswith("> "):
            count = (ROOT / file).read_text().count(text)
            if count != 1:
                yield f"tests/mutation/faults.txt:{number}: {file} has this {count} times, not once: {text}"


if __name__ == "__main__":
    found = list(misfits())
    print("\n".join(found))
    sys.exit(1 if found else 0)
