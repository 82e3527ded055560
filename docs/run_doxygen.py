#!/usr/bin/env python3
"""Runs Doxygen and prints what it warns of: run_doxygen.py DOXYGEN DOXYFILE HEADER-FOLDER

Doxygen repeats a warning for every class that inherits a member, and knows no place where the
comment is a summary only ("<load>:1: ..."). Here each stands once, with file and line. Its status
is Doxygen's.
"""

import pathlib
import re
import subprocess
import sys

NO_PLACE = re.compile(r"<[^<>]+>:1: (.*\b(\w+)::(\w+)\b.*)")


def with_place(line, headers):
    match = NO_PLACE.match(line)
    if match is None:
        return line
    text, class_name, member = match.groups()
    header = headers / f"{class_name}.h"
    if header.is_file():
        for number, code in enumerate(header.read_text(encoding="utf-8").splitlines(), start=1):
            if re.search(rf"^[^/]*\b{member}\(", code):
                return f"{header}:{number}: {text}"
    return line


def main():
    doxygen, doxyfile, headers = sys.argv[1:]
    done = subprocess.run([doxygen, doxyfile], stderr=subprocess.PIPE, encoding="utf-8",
                          check=False)
    # A dictionary keeps the order.
    for line in dict.fromkeys(done.stderr.splitlines()):
        print(with_place(line, pathlib.Path(headers)), file=sys.stderr)
    sys.exit(done.returncode)


if __name__ == "__main__":
    main()
