#!/usr/bin/env python3
"""The tests of check_links.py: every kind of dead link is found, and nothing else."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

CHECKER = pathlib.Path(__file__).with_name("check_links.py")


class CheckLinks(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = pathlib.Path(temporary.name) / "html"
        (self.folder / "search").mkdir(parents=True)
        self.write("b.html", '<h2 id="here">B</h2><a name="there"></a>')
        self.write("picture.svg", "<svg/>")
        pathlib.Path(temporary.name, "outside.html").write_text("", encoding="utf-8")

    def write(self, name, text):
        (self.folder / name).write_text(text, encoding="utf-8")

    def check(self, text, name="a.html"):
        self.write(name, text)
        return subprocess.run([sys.executable, CHECKER, self.folder], capture_output=True,
                              text=True, check=False)

    def assert_dead(self, text, expected):
        result = self.check(text)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr.splitlines(), expected)

    def test_links_that_arrive(self):
        result = self.check('<a href="b.html#here">1</a><a href="b.html#there">2</a>'
                            '<a href="#own">3</a><p id="own"><img src="picture.svg">'
                            '<a href="https://example.org/x#y">4</a><a href="b.html?q=1">5</a>')
        self.assertEqual((result.returncode, result.stdout, result.stderr),
                         (0, "check_links: all 6 links arrive\n", ""))

    def test_links_in_folders_are_relative_to_the_page(self):
        result = self.check('<a href="../b.html#here">1</a>', "search/all.html")
        self.assertEqual(result.returncode, 0, result.stderr)

    def test_a_missing_page(self):
        self.assert_dead('\n<a href="c.html">1</a>', [
            "a.html:2: c.html: no such file", "check_links: 1 of 1 links are dead"])

    def test_a_missing_picture(self):
        self.assert_dead('<img src="no.svg">', [
            "a.html:1: no.svg: no such file", "check_links: 1 of 1 links are dead"])

    def test_a_missing_anchor_elsewhere(self):
        self.assert_dead('<a href="b.html#gone">1</a>', [
            "a.html:1: b.html#gone: no such anchor", "check_links: 1 of 1 links are dead"])

    def test_a_missing_anchor_here(self):
        self.assert_dead('<a href="#gone">1</a><a href="b.html">2</a>', [
            "a.html:1: #gone: no such anchor", "check_links: 1 of 2 links are dead"])

    def test_a_file_outside_the_folder(self):
        self.assert_dead('<a href="../outside.html">1</a>', [
            "a.html:1: ../outside.html: outside the reference",
            "check_links: 1 of 1 links are dead"])

    def test_an_empty_folder_is_no_success(self):
        self.write("b.html", "")
        result = self.check("no links")
        self.assertEqual(result.returncode, 1)
        self.assertIn("was the reference built?", result.stderr)


if __name__ == "__main__":
    unittest.main()
