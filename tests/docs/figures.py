"""Holds the measured figures of a page against the page of results, where they are measured.

    figures.py PAGE.md RESULTS.md
"""

import pathlib
import re
import sys

FIGURE = r"-?\d[\d.]* ± \d[\d.]*(?:e[+-]?\d+)?"


def figures(path):
    return set(re.findall(FIGURE, pathlib.Path(path).read_text(encoding="utf-8")))


def main(page, results):
    found = figures(page)
    if not found:
        sys.exit(f"{page} has no figures like 1.5 ± 0.2: has their look changed?")
    unknown = found - figures(results)
    if unknown:
        sys.exit(f"{page} has figures that are not in {results}: {', '.join(sorted(unknown))}")
    print(f"{len(found)} figures are those of {results}")


if __name__ == "__main__":
    main(*sys.argv[1:])
