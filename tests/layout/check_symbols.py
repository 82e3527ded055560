#!/usr/bin/env python3
"""Fails when a member of the public classes is not exported by the library.

Programs may have been compiled against headers in which a member was not inline, so the inline
members are in the library too.
"""

import pathlib
import subprocess
import sys

from demangled import shorten

EXPECTED = pathlib.Path(__file__).with_name("expected_symbols.txt")


def exported(library):
    command = ["nm", "-D", "--defined-only", "-C", library]
    text = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout
    return {shorten(line).split(" ", 2)[2] for line in text.splitlines()}


def expected():
    lines = (line.split("#")[0].strip() for line in EXPECTED.read_text().splitlines())
    return [line for line in lines if line]


def main():
    (library,) = sys.argv[1:]
    symbols = exported(library)
    missing = [symbol for symbol in expected() if symbol not in symbols]
    for symbol in missing:
        print(f"not exported: {symbol}")
    if not missing:
        print(f"{len(expected())} symbols are exported")
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
