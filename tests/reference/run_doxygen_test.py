#!/usr/bin/env python3
"""The tests of docs/run_doxygen.py, with a program that warns in place of Doxygen."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

RUNNER = pathlib.Path(__file__).parents[2] / "docs" / "run_doxygen.py"


class RunDoxygen(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = pathlib.Path(temporary.name)

    def run_with(self, warnings, status=1):
        """Returns the status and the lines on standard error."""
        (self.folder / "warnings").write_text(warnings, encoding="utf-8")
        doxygen = self.folder / "doxygen"
        doxygen.write_text(f'#!/bin/sh\ncat "$1" >&2\nexit {status}\n', encoding="utf-8")
        doxygen.chmod(0o755)
        done = subprocess.run(
            [sys.executable, RUNNER, doxygen, self.folder / "warnings", self.folder],
            capture_output=True, encoding="utf-8", check=False)
        return done.returncode, done.stderr.splitlines()

    def test_the_status_is_passed_on(self):
        self.assertEqual(self.run_with("", 0), (0, []))
        self.assertEqual(self.run_with("", 7), (7, []))

    def test_a_place_stays(self):
        self.assertEqual(self.run_with("State.h:7: error: no X::load\n"),
                         (1, ["State.h:7: error: no X::load"]))

    def test_a_repeated_warning_is_said_once(self):
        self.assertEqual(self.run_with("a:1: b\nc:1: d\na:1: b\n"), (1, ["a:1: b", "c:1: d"]))

    def test_a_missing_place_is_found(self):
        header = self.folder / "State.h"
        header.write_text("class State {\n  // load()\n  int reload();\n  int load();\n};\n",
                          encoding="utf-8")
        self.assertEqual(self.run_with("<load>:1: error: parameters of member State::load\n"),
                         (1, [f"{header}:4: error: parameters of member State::load"]))

    def test_without_a_header_the_warning_stays_as_it_is(self):
        self.assertEqual(self.run_with("<load>:1: error: member State::load\n"),
                         (1, ["<load>:1: error: member State::load"]))


if __name__ == "__main__":
    unittest.main()
