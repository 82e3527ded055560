#!/usr/bin/env python3
"""The tests of docs/reference_filter.py."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

FILTER = pathlib.Path(__file__).parents[2] / "docs" / "reference_filter.py"


class ReferenceFilter(unittest.TestCase):
    def assert_becomes(self, text, expected):
        with tempfile.TemporaryDirectory() as folder:
            page = pathlib.Path(folder) / "page.md"
            page.write_text(text, encoding="utf-8")
            printed = subprocess.run([sys.executable, FILTER, page], capture_output=True,
                                     encoding="utf-8", check=True).stdout
        self.assertEqual(printed, expected)
        self.assertEqual(printed.count("\n"), text.count("\n"))

    def test_headings_get_names(self):
        self.assert_becomes("# A page\n\n## `errno`, and how?\n### Two_words\n",
                            "# A page {#page}\n\n## `errno`, and how? {#page-errno-and-how}\n"
                            "### Two_words {#page-two_words}\n")

    def test_equal_headings_get_different_names(self):
        self.assert_becomes("## Same\n```sh\nls\n```\n## Same\n",
                            "## Same {#page-same}\n```sh\nls\n```\n## Same {#page-same-1}\n")

    def test_links_between_pages(self):
        self.assert_becomes("[a](other.md), [b](other.md#there), [c](#here)\n",
                            "[a](@ref other), [b](@ref other-there), [c](@ref page-here)\n")

    def test_a_link_over_the_end_of_a_line(self):
        self.assert_becomes("[a\nb](other.md), c\n", "[a b](@ref other)\n, c\n")

    def test_links_to_files_that_the_reference_does_not_have(self):
        self.assert_becomes("[a](../README.md), [b](../src/) and [c](man/x.7)\n",
                            "a (`README.md`), b (`src`) and c (`docs/man/x.7`)\n")

    def test_links_to_other_hosts_and_pictures_stay(self):
        text = "[a](https://example.org/x.md#y) ![b](picture.svg)\n"
        self.assert_becomes(text, text)

    def test_bold_text(self):
        self.assert_becomes("**`a` is\nb.** `double** c` and `d ** e`\n",
                            "<b>`a` is\nb.</b> `double** c` and `d ** e`\n")

    def test_code_stays(self):
        text = "```cpp\n# Quarnel [a](other.md)\n<!-- b -->\n```\n"
        self.assert_becomes(text, text)

    def test_comments_go_and_their_lines_stay(self):
        self.assert_becomes("a\n<!-- file: b -->\n<!-- cpp\nint c;\n-->\nd\n", "a\n\n\n\n\nd\n")

    def test_the_library_is_not_the_class(self):
        self.assert_becomes("Quarnel, `Quarnel`, `a Quarnel b`, Quarnel's, Quarnel::step()\n",
                            "%Quarnel, `Quarnel`, `a Quarnel b`, %Quarnel's, Quarnel::step()\n")


if __name__ == "__main__":
    unittest.main()
