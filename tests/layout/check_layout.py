#!/usr/bin/env python3
"""Compares the slot order of virtual functions with expected_vtables.txt.

The order is part of the interface: programs built against one version must find the same functions
in the same slots of the next. The vtables are read from the assembly of layout.cpp, which, unlike
the compiler's own class dump, tells overloads apart.
"""

import difflib
import pathlib
import re
import subprocess
import sys
import tempfile

from demangled import shorten

HERE = pathlib.Path(__file__).parent
EXPECTED = HERE / "expected_vtables.txt"
PROBE = re.compile(r"\w*Probe<\w+>::")


def assembly(compiler, include_dir):
    with tempfile.TemporaryDirectory() as folder:
        output = pathlib.Path(folder, "layout.s")
        command = [compiler, "-std=c++17", "-O0", "-S", "-w", "-I", include_dir]
        subprocess.run([*command, "-o", output, HERE / "layout.cpp"], check=True)
        text = output.read_bytes()
    return subprocess.run(["c++filt"], input=text, check=True, stdout=subprocess.PIPE).stdout.decode()


def slot_name(symbol):
    symbol = shorten(symbol).removeprefix("non-virtual thunk to ")
    if "::~" in symbol:
        return "destructor"
    if PROBE.match(symbol):
        return "pure " + PROBE.sub("", symbol)
    return symbol


def vtables(text):
    """Yields a class's lines: its name, then its slots; each further base begins with "base"."""
    for match in re.finditer(r"^vtable for Probe<(\w+)>:\n((?:\s+\.\w+\s.*\n)+)", text, re.MULTILINE):
        lines = [match[1]]
        for symbol in re.findall(r"^\s+\.(?:quad|xword|8byte|dword)\s+(.*)$", match[2], re.MULTILINE):
            if re.fullmatch(r"-?\d+", symbol):
                continue
            if symbol.startswith("typeinfo for "):
                if len(lines) > 1:
                    lines.append("  base")
                continue
            name = slot_name(symbol)
            # A virtual destructor fills two slots: one destroys, the other also frees.
            if name == "destructor" and lines[-1] == "  destructor":
                continue
            lines.append("  " + name)
        yield lines


def expected_lines():
    lines = (line.split("#")[0].rstrip() for line in EXPECTED.read_text().splitlines())
    return [line for line in lines if line]


def main():
    compiler, include_dir = sys.argv[1:]
    found = [line for lines in sorted(vtables(assembly(compiler, include_dir))) for line in lines]
    difference = list(difflib.unified_diff(expected_lines(), found, EXPECTED.name, "found", lineterm=""))
    print("\n".join(difference) if difference else f"{len(found)} lines of vtables as expected")
    return 1 if difference else 0


if __name__ == "__main__":
    sys.exit(main())
