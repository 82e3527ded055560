#!/usr/bin/env python3
"""Prints a page of docs/ as Doxygen should read it: reference_filter.py PAGE

The pages are written for readers of the checkout. Some things differ in the reference:

* A page and its headings get names, made as web viewers of Markdown make them, so that links to
  `page.md#heading` arrive: page "choosing", heading "choosing-in-short".
* Links between pages name those.
* Links to other files become the text and the path of the file, as those are not there.
* Bold text is marked as HTML does: Doxygen misses it where it begins or ends with code.
* Comments, which the tests of the pages read, are left out.
* "Quarnel" in the text is the library, not the class of this name, to which Doxygen would link.

Lines stay lines: warnings name the place in the page.
"""

import collections
import pathlib
import posixpath
import re
import sys

FENCE = re.compile(r"^\s*(```|~~~)")
HEADING = re.compile(r"^(#{1,6}) +(.*)$")
COMMENT = re.compile(r"<!--.*?-->", re.DOTALL)
LIBRARY = re.compile(r"(`[^`]*`)|(?<![\w/%-])Quarnel(?![\w:])")
BOLD = re.compile(r"(`[^`]*`)|\*\*([^*]+)\*\*")
# A text may go over the end of a line, but not over that of a paragraph.
LINK = re.compile(r"(?<!!)\[((?:[^\[\]\n]|\n(?!\n))+)\]\(([^()\s]+)\)")


class Headings:
    """The names of a page and of its headings."""

    def __init__(self, page):
        self.page = page
        self.seen = collections.Counter()

    def name_of(self, heading):
        slug = re.sub(r"[^\w\- ]", "", heading.lower()).strip().replace(" ", "-")
        times = self.seen[slug]
        self.seen[slug] += 1
        return anchor(self.page, f"{slug}-{times}" if times else slug)

    def line_with_name(self, line):
        line = LIBRARY.sub(lambda found: found.group(1) or "%Quarnel", line)
        match = HEADING.match(line)
        if match is None:
            return line
        marks, text = match.groups()
        return f"{line} {{#{self.page if marks == '#' else self.name_of(text)}}}"


def anchor(page, fragment):
    return f"{page}-{fragment}" if fragment else page


def link_for_reference(page, match):
    text, target = match.groups()
    if re.match(r"[a-z]+:", target):
        return match.group(0)
    path, _, fragment = target.partition("#")
    if path and not re.fullmatch(r"[\w-]+\.md", path):
        return f"{text} (`{posixpath.normpath('docs/' + path)}`)"
    # Doxygen takes no text over the end of a line; that end then follows the link.
    line_ends = "\n" * text.count("\n")
    name = anchor(pathlib.Path(path or page).stem, fragment)
    return "[{}](@ref {}){}".format(text.replace("\n", " "), name, line_ends)


def prose(headings, lines):
    text = COMMENT.sub(lambda match: "\n" * match.group().count("\n"), "\n".join(lines))
    text = "\n".join(map(headings.line_with_name, text.split("\n")))
    text = BOLD.sub(lambda match: match.group(1) or f"<b>{match.group(2)}</b>", text)
    return LINK.sub(lambda match: link_for_reference(headings.page, match), text)


def blocks(lines):
    """Pairs (is code, lines): what stands between fences, fences included, and what doesn't."""
    block, fenced = [], False
    for line in lines:
        if FENCE.match(line) and not fenced:
            yield False, block
            block, fenced = [line], True
        elif FENCE.match(line):
            yield True, block + [line]
            block, fenced = [], False
        else:
            block.append(line)
    yield fenced, block


def page_for_reference(name, text):
    headings = Headings(name)
    return "\n".join("\n".join(block) if is_code else prose(headings, block)
                     for is_code, block in blocks(text.split("\n")) if block)


def main():
    path = pathlib.Path(sys.argv[1])
    sys.stdout.reconfigure(encoding="utf-8")
    sys.stdout.write(page_for_reference(path.stem, path.read_text(encoding="utf-8")))


if __name__ == "__main__":
    main()
