"""Holds what the demonstration prints against what the README shows of it.

    demo.py README.md DEMO CONFIGURATION
"""

import pathlib
import re
import subprocess
import sys
import tempfile


def shown(readme):
    """Returns the lines of the first ```text block under "Two commands"."""
    section = readme.split("## Two commands", 1)[1]
    return re.search(r"^```text\n(.*?)^```$", section, re.DOTALL | re.MULTILINE).group(1).splitlines()


def main(readme, program, configuration):
    with tempfile.TemporaryDirectory() as folder:
        command = [program, "--config", configuration, "--save", folder + "/demo.values"]
        done = subprocess.run(command, cwd=folder, capture_output=True, text=True, check=True)
    printed = iter(line.rstrip() for line in done.stdout.splitlines())
    for line in shown(pathlib.Path(readme).read_text(encoding="utf-8")):
        # Lines may be left out of the README, and the file lies elsewhere in the test.
        if line != "..." and not line.startswith("The values are saved") and line not in printed:
            sys.exit(f"the README says\n  {line}\nwhich the demo does not print there")


if __name__ == "__main__":
    main(*sys.argv[1:])
