#!/usr/bin/env python3
"""Fails when a member of the public classes is not exported by the library, or when something else
is.

Programs may have been compiled against headers in which a member was not inline, so the inline
members are in the library too.
"""

import pathlib
import re
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


def owner(symbol):
    """The class or namespace that a symbol belongs to; of an instance of a template it stands
    behind the result."""
    of_class = re.sub(r"^(vtable|typeinfo|typeinfo name|non-virtual thunk) (for|to) ", "", symbol)
    found = re.match(r"(?:[^(]* )?(\w+)(?:::|$)", of_class)
    return found[1] if found else symbol


def main():
    (library,) = sys.argv[1:]
    symbols = exported(library)
    missing = [symbol for symbol in expected() if symbol not in symbols]
    for symbol in missing:
        print(f"not exported: {symbol}")
    owners = {owner(symbol) for symbol in expected()}
    foreign = [symbol for symbol in sorted(symbols) if owner(symbol) not in owners]
    for symbol in foreign:
        print(f"exported, and of none of the classes: {symbol}")
    if not missing and not foreign:
        print(f"{len(expected())} symbols are exported, and none that is not the library's")
    return 1 if missing or foreign else 0


if __name__ == "__main__":
    sys.exit(main())
