"""Takes the first program out of the README, and holds what it prints against the README's words.

    readme.py extract README.md PROGRAM.cpp
    readme.py snippets PAGE.md SOURCE.cpp
    readme.py run README.md PROGRAM
    readme.py demo README.md DEMO CONFIGURATION
"""

import pathlib
import re
import subprocess
import sys
import tempfile

LONGEST_PROGRAM = 60


def block(readme, language, heading="## A first program"):
    """Returns the first fenced block of a language after a heading."""
    section = readme.split(heading, 1)[1]
    return re.search(rf"^```{language}\n(.*?)^```$", section, re.DOTALL | re.MULTILINE).group(1)


def extract(readme, program):
    text = block(readme, "cpp")
    if text.count("\n") >= LONGEST_PROGRAM:
        sys.exit(f"the README's first program has {LONGEST_PROGRAM} lines or more")
    pathlib.Path(program).write_text(text, encoding="utf-8")


def snippets(page, source):
    """Writes all C++ blocks of a page into one source file, which a test compiles."""
    blocks = re.findall(r"^```cpp\n(.*?)^```$", page, re.DOTALL | re.MULTILINE)
    pathlib.Path(source).write_text("\n".join(blocks), encoding="utf-8")


def run(readme, program):
    with tempfile.TemporaryDirectory() as folder:
        done = subprocess.run([program], cwd=folder, capture_output=True, text=True, check=True)
        files = sorted(path.name for path in pathlib.Path(folder).iterdir())
    expected = block(readme, "text").strip()
    printed = done.stdout.strip().splitlines()[-1]
    if printed != expected:
        sys.exit(f"the README says\n  {expected}\nbut its program prints\n  {printed}")
    if done.stderr:
        sys.exit(f"the README's program reports errors:\n{done.stderr}")
    if files != ["corridor.conf", "corridor.values"]:
        sys.exit(f"the README's program leaves {files}")


def demo(readme, program, configuration):
    with tempfile.TemporaryDirectory() as folder:
        command = [program, "--config", configuration, "--save", folder + "/demo.values"]
        done = subprocess.run(command, cwd=folder, capture_output=True, text=True, check=True)
    printed = iter(line.rstrip() for line in done.stdout.splitlines())
    for line in block(readme, "text", "## Two commands").splitlines():
        # Lines may be left out of the README, and the file lies elsewhere in the test.
        if line != "..." and not line.startswith("The values are saved") and line not in printed:
            sys.exit(f"the README says\n  {line}\nwhich the demo does not print there")


if __name__ == "__main__":
    {"extract": extract, "snippets": snippets, "run": run, "demo": demo}[sys.argv[1]](
        pathlib.Path(sys.argv[2]).read_text(encoding="utf-8"), *sys.argv[3:]
    )
