"""The tests of pages.py: what a page says wrongly is found, with its place."""

import os
import pathlib
import sys
import tempfile
import time
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import pages  # pylint: disable=wrong-import-position


def is_running(pid):
    try:
        state = pathlib.Path(f"/proc/{pid}/stat").read_text(encoding="utf-8")
    except FileNotFoundError:
        return False
    return state.rpartition(") ")[2][0] != "Z"


class Pages(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = pathlib.Path(temporary.name)
        patience = pages.PATIENCE
        self.addCleanup(setattr, pages, "PATIENCE", patience)

    def follow(self, text):
        """Follows a page where no library is installed, with a compiler that refuses everything."""
        (self.folder / "quarnel.pc").write_text("Name: none\nDescription: none\nVersion: 0\n")
        environment = dict(os.environ, LC_ALL="C.UTF-8", PKG_CONFIG_PATH=str(self.folder))
        pages.follow(pages.parse(text), self.folder, environment, ["false"])

    def assert_wrong(self, text, expected):
        with self.assertRaises(pages.PageError) as caught:
            self.follow(text)
        self.assertIn(expected, str(caught.exception))

    def test_a_page_that_is_right(self):
        self.follow(
            "<!-- file: a -->\n```conf\nx\n```\n```sh\nn=2\ncat a\n```\n```text\nx\n```\n"
            "```sh\nseq $n\necho end\n```\n```text\n1\n...\nend\n```\n"
        )

    def test_other_output(self):
        self.assert_wrong("\n```sh\necho a\n```\n```text\nb\n```\n", "line 5: the page says\n  b")

    def test_more_output_than_the_page_says(self):
        self.assert_wrong("```sh\nseq 2\n```\n```text\n1\n```\n", "line 4: the page says")

    def test_left_out_lines_do_not_stand_for_wrong_ones(self):
        self.assert_wrong("```sh\nseq 3\n```\n```text\n1\n...\n4\n```\n", "line 4: the page says")

    def test_the_number_of_a_source_line_may_be_another(self):
        self.follow("```sh\necho 'a   Line: 7    --> b'\n```\n```text\na   Line: 9    --> b\n```\n")
        self.assert_wrong(
            "```sh\necho 'a   Line: 7    --> b'\n```\n```text\na   Line: 7    --> c\n```\n", "line 4"
        )

    def test_a_command_that_fails(self):
        self.assert_wrong("```sh\necho before\nfalse\n```\n", "line 1: a command fails")

    def test_a_command_that_does_not_end(self):
        pages.PATIENCE = 0.2
        self.assert_wrong("```sh\ntail -f /dev/null\n```\n", "does not end in 0.2 s")

    def test_a_text_that_never_comes(self):
        pages.PATIENCE = 0.2
        self.assert_wrong(
            '```sh\necho a > log\n```\n<!-- when: log has "b" -->\n```sh\ntrue\n```\n',
            "log does not get the text 'b'",
        )

    def test_a_text_that_comes_in_time(self):
        self.follow('```sh\necho a > log\n```\n<!-- when: log has "a" -->\n```sh\ntrue\n```\n')

    def test_blocks_that_nothing_tests(self):
        for page in (
            "```json\n{}\n```\n",
            "```text\nprinted\n```\n",
            "<!-- not run: so -->\n```sh\necho a\n```\n```text\na\n```\n",
            "<!-- file: a.sh -->\n```sh\necho a\n```\n```text\na\n```\n",
        ):
            self.assert_wrong(page, "nothing tests this block")

    def test_code_that_does_not_compile(self):
        self.assert_wrong("```cpp\nint a\n```\n", "does not compile")

    def test_a_block_that_is_not_closed(self):
        with self.assertRaises(pages.PageError):
            pages.parse("```sh\necho a\n")

    def test_what_a_page_leaves_running_is_ended(self):
        self.follow("```sh\ntail -f /dev/null & echo $! > pid\n```\n")
        pid = int((self.folder / "pid").read_text(encoding="utf-8"))
        end = time.monotonic() + 10
        while is_running(pid):
            self.assertLess(time.monotonic(), end, "it is still running")
            time.sleep(0.01)


if __name__ == "__main__":
    unittest.main()
