"""Follows a page of the documentation as a reader would, and holds what happens against the page.

    pages.py run PAGE.md [--prefix PREFIX] [--link NAME=PATH]... [--compiler C++] [--flags FLAGS]
                      [--generator GENERATOR]
    pages.py files PAGE.md FOLDER

PREFIX is where the library is installed, where the system does not know of it; NAME becomes a link
in the folder.

Every fenced block of a page is compiled, run or compared; one that is not says why:

    ```cpp    compiles, after the earlier C++ blocks of the page, as one source file.
    ```sh     is run, in one shell and one folder for the whole page.
    ```text   behind a ```sh block is what that block prints. A line "..." stands for any lines.
    others    need one of the comments below.

A comment above a block says what else is to be done with it:

    <!-- file: NAME -->          the block is a file of this name in the folder.
    <!-- when: NAME has "TEXT" --> a reader takes their time: waits until the file has the text.
    <!-- not run: REASON -->     the block is left alone.

C++ that a block needs and the reader does not stands in a comment: <!-- cpp, a line end, the code.
Lines of reports are compared without the number of the source line.
"""

import argparse
import contextlib
import dataclasses
import os
import pathlib
import re
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

PATIENCE = 240  # Seconds for one block; the slowest build of the library needs most of a minute.
WARNINGS = "-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wno-ignored-qualifiers -Werror".split()


class PageError(Exception):
    """What is wrong, and where."""


@dataclasses.dataclass
class Block:
    """A fenced block, or C++ in a comment (language "hidden")."""

    language: str
    text: str
    line: int
    file: str = ""
    when: tuple = ()
    not_run: str = ""


BLOCK = re.compile(
    r"(?P<comments>(?:^<!-- (?:file|when|not run): [^\n]* -->\n)*)"
    r"(?:^```(?P<language>[^\n]*)\n(?P<text>.*?)^```$|^<!-- cpp\n(?P<hidden>.*?)^-->$)",
    re.DOTALL | re.MULTILINE,
)


def comment(comments, name):
    found = re.search(rf"^<!-- {name}: (.*) -->$", comments, re.MULTILINE)
    return found.group(1) if found else ""


def parse(page):
    """Returns the blocks of a page in their order."""
    blocks = []
    for match in BLOCK.finditer(page):
        comments = match["comments"]
        when = comment(comments, "when")
        blocks.append(
            Block(
                language="hidden" if match["language"] is None else match["language"],
                text=match["hidden"] if match["language"] is None else match["text"],
                line=page.count("\n", 0, match.start()) + comments.count("\n") + 1,
                file=comment(comments, "file"),
                when=tuple(part.strip('"') for part in when.split(" has ", 1)) if when else (),
                not_run=comment(comments, "not run"),
            )
        )
    fences = len(re.findall(r"^ *```", page, re.MULTILINE))
    if fences != 2 * sum(block.language != "hidden" for block in blocks):
        raise PageError(f"of {fences} lines with ``` not all begin or end a block at the margin")
    return blocks


def write_files(blocks, folder):
    """Writes the blocks that are files, and returns their names."""
    for block in blocks:
        if block.file:
            (folder / block.file).write_text(block.text, encoding="utf-8")
    return [block.file for block in blocks if block.file]


class Shell:
    """One shell for a whole page, so that a later block sees the variables and jobs of an earlier."""

    END = "end-of-block"

    def __init__(self, folder, environment):
        self.process = subprocess.Popen(
            ["bash", "--noprofile", "--norc"],
            cwd=folder,
            env=environment,
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
            encoding="utf-8",
            start_new_session=True,
        )

    def run(self, block):
        """Returns what a block prints; a command that fails is an error."""
        watch = threading.Timer(PATIENCE, self.stop)
        watch.start()
        try:
            self.process.stdin.write(f"set -e\n{block.text}\nset +e\necho {self.END}\n")
            self.process.stdin.flush()
            printed = []
            for line in self.process.stdout:
                if line.rstrip("\n") == self.END:
                    return printed
                printed.append(line.rstrip())
        except BrokenPipeError:
            printed = []
        finally:
            watch.cancel()
        raise PageError(
            f"line {block.line}: a command fails, or does not end in {PATIENCE} s, after\n  "
            + "\n  ".join(printed)
        )

    def stop(self):
        try:
            os.killpg(self.process.pid, 9)
        except ProcessLookupError:
            pass
        self.process.wait()

    def close(self):
        self.stop()
        for pipe in (self.process.stdin, self.process.stdout):
            with contextlib.suppress(BrokenPipeError):
                pipe.close()


def wait_for(folder, block):
    name, text = block.when
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        path = folder / name
        if path.exists() and text in path.read_text(encoding="utf-8", errors="replace"):
            return
        time.sleep(0.05)
    raise PageError(f"line {block.line}: {name} does not get the text {text!r} in {PATIENCE} s")


def comparable(line):
    return re.sub(r"   Line: \d+   ", "   Line: ...   ", line.rstrip())


def compare(block, printed):
    """Holds the lines of a ```text block against what was printed."""
    expected = block.text.splitlines()
    pattern = "".join(
        r"(?:.*\n)*?" if line.strip() == "..." else re.escape(comparable(line)) + r"\n"
        for line in expected
    )
    if not re.fullmatch(pattern, "".join(comparable(line) + "\n" for line in printed)):
        raise PageError(
            f"line {block.line}: the page says\n  "
            + "\n  ".join(expected)
            + "\nbut this is printed\n  "
            + "\n  ".join(printed)
        )


def compile_snippets(blocks, folder, environment, compiler):
    snippets = [
        f"#line {block.line + 1}\n{block.text}"
        for block in blocks
        if block.language in ("cpp", "hidden") and not block.file and not block.not_run
    ]
    if not snippets:
        return
    source = folder / "snippets.cpp"
    source.write_text("\n".join(snippets), encoding="utf-8")
    flags = subprocess.run(
        ["pkg-config", "--cflags", "quarnel"],
        env=environment,
        stdout=subprocess.PIPE,
        text=True,
        check=True,
    ).stdout
    command = compiler + ["-std=c++17", *WARNINGS, *shlex.split(flags), "-fsyntax-only", str(source)]
    done = subprocess.run(command, stderr=subprocess.PIPE, text=True, check=False)
    source.unlink()
    if done.returncode != 0:
        raise PageError(f"its C++ does not compile:\n{done.stderr}")


def is_run(block):
    return block is not None and block.language == "sh" and not block.not_run and not block.file


def check_covered(blocks):
    """Every block is compiled, run, compared, or says why not."""
    previous = None
    for block in blocks:
        covered = (
            block.file
            or block.not_run
            or block.language in ("cpp", "hidden", "sh")
            or (block.language == "text" and is_run(previous))
        )
        if not covered:
            raise PageError(f"line {block.line}: nothing tests this block (see pages.py)")
        previous = block


def follow(blocks, folder, environment, compiler):
    """Does what the page says, block by block."""
    check_covered(blocks)
    compile_snippets(blocks, folder, environment, compiler)
    write_files(blocks, folder)
    shell = Shell(folder, environment)
    printed = None
    try:
        for block in blocks:
            if block.not_run or block.file:
                printed = None
            elif block.language == "sh":
                if block.when:
                    wait_for(folder, block)
                printed = shell.run(block)
            elif block.language == "text":
                compare(block, printed)
    finally:
        shell.close()


def compiler_named(folder, name, compiler):
    """Pages say `g++`; the test's compiler stands in for it, with what the library was built with."""
    command = folder / name
    command.write_text(f'#!/bin/sh\nexec {shlex.join(compiler)} "$@"\n', encoding="utf-8")
    command.chmod(0o755)


def library_in(prefix):
    """What tells a shell of a library that lies where the system does not look."""
    libraries = next(pathlib.Path(prefix).rglob("quarnel.pc")).parent.parent
    return {
        "PKG_CONFIG_PATH": f"{libraries}/pkgconfig",
        "LD_LIBRARY_PATH": str(libraries),
        "CMAKE_PREFIX_PATH": str(prefix),
        "MANPATH": f"{prefix}/share/man",
    }


def environment_with(tools, options):
    """The environment of a reader, for whom the library lies where the system looks."""
    environment = dict(
        os.environ,
        PATH=f"{tools}:{os.environ['PATH']}",
        LC_ALL="C.UTF-8",
        CXX=options.compiler,
        CXXFLAGS=options.flags,
    )
    if options.generator:
        environment["CMAKE_GENERATOR"] = options.generator
    if options.prefix:
        environment.update(library_in(options.prefix))
    return environment


def run(options):
    page = pathlib.Path(options.page)
    blocks = parse(page.read_text(encoding="utf-8"))
    # Its place, as the page's folder gets a command of the same name.
    compiler = [shutil.which(options.compiler) or options.compiler, *options.flags.split()]
    with tempfile.TemporaryDirectory() as root:
        tools = pathlib.Path(root) / "tools"
        folder = pathlib.Path(root) / "folder"
        tools.mkdir()
        folder.mkdir()
        compiler_named(tools, "g++", compiler)
        for name, target in options.link:
            (folder / name).parent.mkdir(parents=True, exist_ok=True)
            (folder / name).symlink_to(target)
        environment = environment_with(tools, options)
        follow(blocks, folder, environment, compiler)
    print(f"{page.name}: {len(blocks)} blocks are as the page says")


def leave_nothing_running():
    """Has a test that is ended by a signal end what its page has started."""
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda *_: sys.exit("interrupted"))


def main():
    leave_nothing_running()
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    commands = parser.add_subparsers(dest="command", required=True)
    run_command = commands.add_parser("run", help="follow a page")
    run_command.add_argument("page")
    run_command.add_argument("--link", action="append", default=[], type=lambda s: s.split("=", 1))
    run_command.add_argument("--prefix", default="")
    run_command.add_argument("--compiler", default="g++")
    run_command.add_argument("--flags", default="")
    run_command.add_argument("--generator", default="", help="of CMake, where it is not make")
    files_command = commands.add_parser("files", help="write the files that a page shows")
    files_command.add_argument("page")
    files_command.add_argument("folder")
    options = parser.parse_args()
    try:
        if options.command == "run":
            run(options)
        else:
            text = pathlib.Path(options.page).read_text(encoding="utf-8")
            print("\n".join(write_files(parse(text), pathlib.Path(options.folder))))
    except PageError as error:
        sys.exit(f"{options.page}: {error}")


if __name__ == "__main__":
    main()
