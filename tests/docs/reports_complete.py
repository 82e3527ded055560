"""Holds the tables of messages in docs/reports.md against the reports that the source makes.

    reports_complete.py SRC REPORTS.md

Every message in SRC stands in the first column of a table of the page, with <...> for each piece
that varies, and every message of the page is made somewhere in SRC.
"""

import pathlib
import re
import sys

LITERAL = r'"((?:[^"\\]|\\.)*)"'
PIECE = "<>"  # Stands for what varies, whatever its name is on the page.


def without_comments(text):
    return re.sub(r"^\s*//.*$", "", text, flags=re.MULTILINE)


def arguments(text, start):
    """Splits the arguments of the call whose bracket opens before `start`; strings stay whole."""
    parts, depth, begin, position = [], 1, start, start
    while depth > 0:
        string = re.compile(LITERAL).match(text, position)
        if string:
            position = string.end()
            continue
        char = text[position]
        depth += (char in "([{") - (char in ")]}")
        if depth == 0 or (depth == 1 and char == ","):
            parts.append(text[begin:position].strip())
            begin = position + 1
        position += 1
    return parts


def calls(text, name):
    """Returns the place and the arguments of every call of a function or macro."""
    return [
        (match.start(), arguments(text, match.end()))
        for match in re.finditer(rf"(?<![\w#]){name}\(", text)
        if not text[: match.start()].endswith("#define ")
    ]


def literals(text):
    return re.findall(LITERAL, text)


def constants(text, name=r"\w+"):
    """Returns the texts of `const char* const NAME = "..."`, by name."""
    return dict(re.findall(rf"const char\* const ({name})\s*=\s*{LITERAL}", text))


class Source:
    """All files of a folder, and what the reports in them may say."""

    def __init__(self, folder):
        paths = sorted([*folder.glob("*.cpp"), *folder.glob("*.h")])
        self.texts = {p.name: without_comments(p.read_text(encoding="utf-8")) for p in paths}
        self.texts.pop("Utility.h")  # It defines the macros.
        self.separators = {
            text
            for source in self.texts.values()
            for text in constants(source, "SEPARATOR").values()
        }

    def passed(self, function, argument):
        """Returns the literals that calls of a function give it as an argument."""
        return {
            literal
            for text in self.texts.values()
            for _, given in calls(text, function)
            if len(given) > argument
            for literal in literals(given[argument])
        }

    def values_of(self, piece, text, place):
        """Returns the texts that a piece of a message may stand for."""
        if piece in constants(text):
            return {constants(text)[piece]}
        if piece == "failure":
            separator = re.findall(r"Errno failure\{errno, ([^}]*)\}", text[:place])[-1]
            found = literals(separator) or self.separators
            return {f"errno = {PIECE}{one}{PIECE}" for one in found}
        # Whole messages, and pieces of one, that a function is given to report.
        if piece == "message":
            return self.passed("(?:NamedFile::)?succeeded", 1)
        if piece == "wrongType":
            return self.passed("reportNoVariable", 1)
        if piece == "advice":
            named = constants(text)
            return {named["NEVER"], named["FORGOT_CREATE"], named["NO_ADVICE"]}
        return {PIECE}

    def messages_of(self, message, text, place):
        found = {""}
        for piece in re.split(r"<<", " ".join(re.sub(LITERAL, self.keep, message).split())):
            parts = re.findall(r"\x00(\d+)\x00", piece)
            if parts:
                values = {"".join(self.kept[int(i)] for i in parts)}
            else:
                values = self.values_of(piece.strip(), text, place)
            found = {start + value for start in found for value in values}
        return found

    def keep(self, match):
        self.kept.append(match.group(1))
        return f"\x00{len(self.kept) - 1}\x00"

    def messages(self):
        result = {}
        for name, text in self.texts.items():
            for kind in "ERROR", "INFORMATION":
                for suffix, argument in ("", 0), ("_AT", 1):
                    for place, given in calls(text, f"QUARNEL_{kind}{suffix}"):
                        self.kept = []
                        message = ",".join(given[argument:])
                        for one in self.messages_of(message, text, place):
                            result.setdefault(one, set()).add(name)
        return result


def of_page(page):
    """Returns the messages in the tables of a page whose first column is that of messages."""
    tables = re.findall(r"^\| message \|.*\n\|[-|]+\n((?:\|.*\n)*)", page, re.MULTILINE)
    rows = re.findall(r"^\| `([^`]+)` \|", "".join(tables), re.MULTILINE)
    return [re.sub(r"<[\w ]+>", PIECE, row) for row in rows]


def main(folder, path):
    made = Source(pathlib.Path(folder)).messages()
    page = of_page(pathlib.Path(path).read_text(encoding="utf-8"))
    faults = [
        f"{path} lacks what {', '.join(sorted(made[one]))} reports: {one}"
        for one in sorted(made.keys() - set(page))
    ]
    faults += [f"nothing in {folder} reports: {one}" for one in page if one not in made]
    faults += [f"{path} has twice: {one}" for one in sorted(set(page)) if page.count(one) > 1]
    if len(made) < 50:
        faults.append(f"only {len(made)} messages are found in {folder}: has their look changed?")
    if faults:
        sys.exit("\n".join(faults))
    print(f"{len(made)} messages of the source are those of the page")


if __name__ == "__main__":
    main(*sys.argv[1:])
