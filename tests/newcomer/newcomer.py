"""Plays a newcomer: does what the README says, one step per block of commands, and takes the time.

    newcomer.py README.md --root ROOT      installs the packages and follows the README in the Debian
                                           below ROOT, as its user "newcomer"; needs root
    newcomer.py README.md --prefix PREFIX  follows the README here, with the library below PREFIX

In the Debian below ROOT the folder of the newcomer is that of a checkout, with build/packages.
"""

import argparse
import contextlib
import os
import pathlib
import re
import shlex
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "docs"))
import pages

LIMIT = 60  # Seconds for all steps.
HOME = "home/newcomer"
# What a README must show to be timed at all.
REQUIRED = {
    "the packages being installed": r"^sudo apt-get install .*\.deb",
    "a program being compiled": r"^g\+\+ .*pkg-config --cflags --libs quarnel",
    "a learning curve": r"^episode \d+ .* #+$",
    "a changed configuration being read": r"^kill -USR1 ",
    "the learner being stopped": r"^kill -TERM ",
    "a second program that loads the values": r'\("corridor\.values"\);',
}
EPISODE = re.compile(r"^episode \d+  steps (\d+)", re.MULTILINE)
# A lucky episode is as short as before; this many are not, but once in half a million runs.
EPISODES_AFTER_CHANGE = 5


class Watch:
    """Takes the time of each step."""

    def __init__(self):
        self.steps = []

    @contextlib.contextmanager
    def step(self, what):
        start = time.monotonic()
        yield
        self.steps.append((time.monotonic() - start, what))

    def total(self):
        return sum(seconds for seconds, _ in self.steps)

    def print_table(self):
        for seconds, what in [*self.steps, (self.total(), "all")]:
            print(f"{seconds:6.1f} s  {what}")


def in_root(root, user):
    """The start of a command that runs as a user in the Debian below a folder."""
    environment = ["HOME=/" + HOME, "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C.UTF-8"]
    place = ["env", "--ignore-environment", "--chdir=/" + HOME, *environment]
    return ["chroot", f"--userspec={user}:{user}", root, *place]


def required_lines(blocks):
    """Returns the first line that shows each thing in REQUIRED."""
    text = "\n".join(block.text for block in blocks)
    found = {what: re.search(line, text, re.MULTILINE) for what, line in REQUIRED.items()}
    missing = [what for what, match in found.items() if not match]
    if missing:
        raise pages.PageError(f"it does not show {', '.join(missing)}")
    return {what: match.string[match.start() :].splitlines()[0] for what, match in found.items()}


def check_effect(log):
    """Waits for episodes after the change of the configuration, which are to take longer."""
    end = time.monotonic() + pages.PATIENCE
    while time.monotonic() < end:
        before, _, after = log.read_text(encoding="utf-8").partition("SIGUSR1")
        # What is not ended by a line end is still being written.
        lengths = [int(steps) for steps in EPISODE.findall(after.rpartition("\n")[0])]
        if len(lengths) >= EPISODES_AFTER_CHANGE:
            usual = int(EPISODE.findall(before)[-1])
            if sum(lengths) <= usual * len(lengths):
                raise pages.PageError(
                    f"the changed configuration has no effect: {usual} steps before, then {lengths}"
                )
            return
        time.sleep(0.05)
    raise pages.PageError(f"{log.name} shows no episodes after SIGUSR1 in {pages.PATIENCE} s")


def follow(blocks, folder, shell, watch):
    printed = None
    for block in blocks:
        if block.not_run or block.file:
            printed = None
        elif block.language == "sh":
            with watch.step(block.text.splitlines()[0][:80]):
                if block.when:
                    pages.wait_for(folder, block)
                printed = shell.run(block)
                if "kill -USR1" in block.text:
                    check_effect(folder / "corridor.log")
        elif block.language == "text":
            pages.compare(block, printed)


def shell_in_root(root, user):
    shell = pages.Shell(root, None)
    inside = [*in_root(root, user), "bash", "--noprofile", "--norc"]
    shell.process.stdin.write(f"exec {shlex.join(inside)}\n")
    return shell


def install(command, root):
    """Installs as the README says; who is root needs no sudo."""
    shell = shell_in_root(root, "root")
    try:
        shell.run(pages.Block("sh", 'sudo() { DEBIAN_FRONTEND=noninteractive "$@"; }', 0))
        shell.run(pages.Block("sh", command, 0))
    finally:
        shell.close()


def play(blocks, folder, shell, watch):
    try:
        with watch.step("paste " + ", ".join(block.file for block in blocks if block.file)):
            pages.write_files(blocks, folder)
        follow(blocks, folder, shell, watch)
    finally:
        shell.close()


def play_in_root(blocks, root, watch):
    command = required_lines(blocks)["the packages being installed"]
    with watch.step(command):
        install(command, root)
    play(blocks, pathlib.Path(root) / HOME, shell_in_root(root, "newcomer"), watch)


def play_here(blocks, prefix, watch):
    required_lines(blocks)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        shell = pages.Shell(folder, dict(os.environ, LC_ALL="C.UTF-8", **pages.library_in(prefix)))
        play(blocks, folder, shell, watch)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("page")
    place = parser.add_mutually_exclusive_group(required=True)
    place.add_argument("--root")
    place.add_argument("--prefix")
    options = parser.parse_args()
    pages.leave_nothing_running()
    watch = Watch()
    try:
        blocks = pages.parse(pathlib.Path(options.page).read_text(encoding="utf-8"))
        if options.root:
            play_in_root(blocks, options.root, watch)
        else:
            play_here(blocks, options.prefix, watch)
    except pages.PageError as error:
        watch.print_table()
        sys.exit(f"{options.page}: {error}")
    watch.print_table()
    if watch.total() > LIMIT:
        sys.exit(f"{options.page}: that takes more than {LIMIT} s")


if __name__ == "__main__":
    main()
