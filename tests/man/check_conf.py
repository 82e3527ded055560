"""Holds the manual page of the configuration file against the library.

    check_conf.py PAGE PROGRAM

PROGRAM loads a configuration file, or creates it, and saves it. The keys and defaults of the page
are those of a new file; its example is that file with comments; and each line of the example, when
it is changed, is understood as changed.
"""

import pathlib
import re
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
import man_page  # pylint: disable=wrong-import-position

OTHER_WORDS = {
    "ACTION_SELECTION": ["EPSILON_GREEDY", "SOFTMAX"],
    "TRACES": ["ACCUMULATING", "NONE"],
}
OTHER_NUMBERS = ["0.25"]


def saved(program, folder, text=None):
    """Returns what the program makes of a configuration file; of none without a text."""
    file = pathlib.Path(folder) / "check.conf"
    file.unlink(missing_ok=True)
    if text is not None:
        file.write_text(text, encoding="utf-8")
    done = subprocess.run([program, str(file)], capture_output=True, text=True, check=True)
    if done.stderr:
        sys.exit(f"the library reports\n{done.stderr}of\n{text}")
    return file.read_text(encoding="utf-8")


def documented(source):
    """Returns the lines "KEY default" of the list of keys."""
    found = re.findall(r"^\.It Cm (\w+) Ar \w+\nDefault: (\S+)\.$", source, re.MULTILINE)
    if len(found) != len(re.findall(r"^\.It Cm", source, re.MULTILINE)):
        sys.exit("not every key of the page is followed by its default")
    return "".join(f"{key} {default}\n" for key, default in found)


def example(source):
    return next(t for words, t in man_page.displays(source) if words.get("file") == "quarnel.conf")


def without_comments(text):
    lines = [line for line in text.splitlines() if line and not line.startswith("#")]
    return "".join(line + "\n" for line in lines)


def expect(what, got, wanted):
    if got != wanted:
        sys.exit(f"{what}:\n{got}instead of\n{wanted}")


def main(page, program):
    source = pathlib.Path(page).read_text(encoding="utf-8")
    with tempfile.TemporaryDirectory() as folder:
        fresh = saved(program, folder)
        expect("the keys and defaults of the page are", documented(source), fresh)
        text = example(source)
        expect("the example has", without_comments(text), fresh)
        expect("the example loads as", saved(program, folder, text), fresh)
        for line in fresh.splitlines():
            key = line.split()[0]
            for value in OTHER_WORDS.get(key, OTHER_NUMBERS):
                if key in OTHER_WORDS and not re.search(rf"^\.Cm {value}\b", source, re.MULTILINE):
                    sys.exit(f"the page lacks the word {value} of {key}")
                changed = text.replace(f"\n{line}\n", f"\n{key} {value}\n")
                wanted = fresh.replace(f"{line}\n", f"{key} {value}\n")
                if changed == text:
                    sys.exit(f"the example lacks the line {line}")
                expect(f"{key} {value} loads as", saved(program, folder, changed), wanted)
    print(f"{len(fresh.splitlines())} keys are as the page says")


if __name__ == "__main__":
    main(*sys.argv[1:])
