"""Follows the literal displays of a manual page as tests/docs/pages.py follows a page in Markdown.

    man_page.py PAGE [--prefix PREFIX] [--compiler C++] [--flags FLAGS]

Above each display stand comments that say what it is, in the words of pages.py:

    .\\" block: sh                its language: cpp, sh or text.
    .\\" file: NAME               it is a file of this name.
    .\\" not run: REASON          it is left alone.
"""

import argparse
import pathlib
import re
import sys
import tempfile

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "docs"))
import pages  # pylint: disable=wrong-import-position

DISPLAY = re.compile(r'((?:^\.\\" [^\n]*\n)*)^\.Bd ([^\n]*)\n(.*?)^\.Ed$', re.DOTALL | re.MULTILINE)
ESCAPES = {r"\e": "\\", r"\-": "-", r"\(aq": "'", r"\&": ""}


def plain(line):
    """Returns a line of a display as the reader sees it."""
    if line.startswith((".", "'")):
        raise pages.PageError(f"a macro in a literal display: {line}")
    line = re.sub(r"\\(?:\(..|.)", lambda escape: ESCAPES.get(escape[0], escape[0]), line)
    if re.search(r"\\\(|\\[&-]", line):
        raise pages.PageError(f"an escape that this test does not know: {line}")
    return line


def displays(source):
    """Returns the comments, by their first word, and the text of each literal display."""
    found = []
    for comments, arguments, text in DISPLAY.findall(source):
        if not arguments.startswith("-literal"):
            raise pages.PageError(f".Bd {arguments}: only -literal is known here")
        words = dict(re.findall(r'^\.\\" (block|file|not run): (.*)$', comments, re.MULTILINE))
        if "block" not in words:
            raise pages.PageError(f"nothing says what this display is:\n{text}")
        found.append((words, "".join(plain(line) + "\n" for line in text.splitlines())))
    if len(found) != len(re.findall(r"^\.Bd", source, re.MULTILINE)):
        raise pages.PageError("not all displays are found")
    return found


def markdown(source):
    blocks = []
    for words, text in displays(source):
        language = words.pop("block")
        comments = "".join(f"<!-- {word}: {rest} -->\n" for word, rest in words.items())
        blocks.append(f"{comments}```{language}\n{text}```\n")
    if not blocks:
        raise pages.PageError("there is no display to test")
    return "\n".join(blocks)


def main():
    pages.leave_nothing_running()
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("page")
    parser.add_argument("--prefix", default="")
    parser.add_argument("--compiler", default="g++")
    parser.add_argument("--flags", default="")
    options = parser.parse_args()
    source = pathlib.Path(options.page)
    try:
        with tempfile.TemporaryDirectory() as folder:
            page = pathlib.Path(folder) / source.name
            page.write_text(markdown(source.read_text(encoding="utf-8")), encoding="utf-8")
            pages.run(argparse.Namespace(**{**vars(options), "page": str(page), "link": [], "generator": ""}))
    except pages.PageError as error:
        sys.exit(f"{options.page}: {error}")


if __name__ == "__main__":
    main()
