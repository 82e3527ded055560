#!/usr/bin/env python3
"""Checks that the local links of the reference arrive: check_links.py HTML-FOLDER

Every href and src that names no other host must be a file in the folder, and where it names an
anchor, that page must have it. Prints each link that doesn't arrive, with its page and line, and
fails.
"""

import pathlib
import re
import sys
from html.parser import HTMLParser
from urllib.parse import unquote

OTHER_HOST = re.compile(r"[a-zA-Z][a-zA-Z0-9+.-]*:|//")


class Page(HTMLParser):
    """The links and the anchors of a page."""

    def __init__(self, text):
        super().__init__()
        self.links = []
        self.anchors = set()
        self.feed(text)
        self.close()

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name in ("href", "src") and value is not None:
                self.links.append((self.getpos()[0], value))
            elif name == "id" or (name == "name" and tag == "a"):
                self.anchors.add(value)


def fault(folder, pages, page, link):
    """What is wrong with a link; None where it arrives."""
    if OTHER_HOST.match(link):
        return None
    path, _, anchor = unquote(link).partition("#")
    target = (page.parent / path.partition("?")[0]).resolve() if path else page
    if not target.is_file():
        return "no such file"
    if folder not in target.parents:
        return "outside the reference"
    if anchor and target in pages and anchor not in pages[target].anchors:
        return "no such anchor"
    return None


def dead_links(folder):
    """Lines "page:line: link: fault" by page; and the number of links that were looked at."""
    folder = folder.resolve()
    paths = sorted(folder.rglob("*.html"))
    pages = {path: Page(path.read_text(encoding="utf-8")) for path in paths}
    faults, count = [], 0
    for path, page in pages.items():
        for line, link in page.links:
            count += 1
            wrong = fault(folder, pages, path, link)
            if wrong is not None:
                faults.append(f"{path.relative_to(folder)}:{line}: {link}: {wrong}")
    return faults, count


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: check_links.py HTML-FOLDER")
    folder = pathlib.Path(sys.argv[1])
    faults, count = dead_links(folder)
    if count == 0:
        sys.exit(f"check_links: no links in {folder}: was the reference built?")
    for line in faults:
        print(line, file=sys.stderr)
    if faults:
        sys.exit(f"check_links: {len(faults)} of {count} links are dead")
    print(f"check_links: all {count} links arrive")


if __name__ == "__main__":
    main()
