#!/usr/bin/env python3
"""Fails when a unit test gained or lost tests without a word in the record of their numbers, or
when one is not built at all.

A test that silently falls out of the build is a test that passes for ever. After a wanted change:
    tests/inventory/check_inventory.py --update ctest build/release
"""

import collections
import json
import pathlib
import subprocess
import sys

RECORD = pathlib.Path(__file__).with_name("expected_counts.txt")
TESTS = RECORD.parent.parent
HEADER = "# Number of tests in each unit test, written by check_inventory.py --update.\n"


def count_tests(ctest, build_dir):
    listing = subprocess.run(
        [ctest, "--test-dir", build_dir, "--show-only=json-v1", "-L", "^unit$"],
        check=True,
        stdout=subprocess.PIPE,
    )
    tests = json.loads(listing.stdout)["tests"]
    # A disabled test is as good as none.
    enabled = (test for test in tests if "DISABLED" not in {p["name"] for p in test["properties"]})
    return collections.Counter(pathlib.Path(test["command"][0]).name for test in enabled)


def read_record():
    lines = RECORD.read_text().splitlines() if RECORD.exists() else []
    pairs = (line.split() for line in lines if not line.startswith("#"))
    return collections.Counter({name: int(number) for name, number in pairs})


def main():
    arguments = sys.argv[1:]
    update = arguments[:1] == ["--update"]
    ctest, build_dir = arguments[update:]
    found = count_tests(ctest, build_dir)
    if update:
        rows = (f"{name} {found[name]}\n" for name in sorted(found))
        RECORD.write_text(HEADER + "".join(rows))
        return 0
    recorded = read_record()
    files = {path.stem for path in TESTS.glob("*_test.cpp")}
    wrong = [
        name
        for name in sorted(files | set(found) | set(recorded))
        if found[name] != recorded[name] or found[name] == 0
    ]
    for name in wrong:
        print(f"{name}: {found[name]} tests, {recorded[name]} recorded")
    if wrong:
        print("If this is meant: tests/inventory/check_inventory.py --update ctest BUILD_DIRECTORY")
    else:
        print(f"{sum(found.values())} tests, as recorded")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
