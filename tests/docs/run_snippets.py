#!/usr/bin/env python3
"""Compiles and runs the programs of a document and compares what they print with what it says.

    run_snippets.py [--python PYTHON] --cxx COMMAND DOCUMENT LIBRARY-FOLDER TOOL COMPILER [FLAG...]

A block ```c, ```cpp or ```python is a whole program. Programs that follow one another do the same
in other languages; the next ```text block is what each of them prints; "..." there matches any
text. A block ```ini NAME is a file that each program below it finds in its folder. A block
```console holds commands after "$ " and, below each, what it prints. A program without a ```text
block must end with success. Every C and C++ program of the document is run, and with --python, an
interpreter that can load the library, every Python program; a document without a program fails.
"""

import argparse
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"^```(\w+)(?: +(\S+))?\n(.*?)^```$", re.MULTILINE | re.DOTALL)
SECONDS = 60  # for one program
LANGUAGES = ("c", "cpp", "python")
PACKAGE = pathlib.Path(__file__).resolve().parents[2] / "python"


def matches(expected: str, printed: str) -> bool:
    pattern = ".*".join(re.escape(part) for part in expected.split("..."))
    return re.fullmatch(pattern, printed, re.DOTALL) is not None


def environment(library_folder: str) -> dict:
    """The caller's, without variables that switch traces on or name another profile."""
    kept = {name: value for name, value in os.environ.items() if not name.startswith(("K7", "ORLA"))}
    return kept | {"LD_LIBRARY_PATH": library_folder, "PYTHONPATH": str(PACKAGE), "TZ": "UTC0",
                   "LC_ALL": "C"}


class Document:
    def __init__(self, text, folder, options):
        self.blocks = BLOCK.findall(text)
        self.folder = pathlib.Path(folder)
        self.environment = environment(options.library_folder)
        self.link = [f"-L{options.library_folder}", "-lorla"]
        self.tool = options.tool
        self.compilers = {"c": options.compile_command, "cpp": shlex.split(options.cxx)}
        self.python = options.python
        self.files = {}
        self.programs = 0
        self.failures = []

    def run(self):
        for place, (kind, name, content) in enumerate(self.blocks):
            if kind == "ini":
                self.files[name] = content
            elif kind in self.compilers:
                self.run_program(kind, content, self.expected_at(place))
            elif kind == "python" and self.python:
                self.programs += 1
                self.restore_files()
                self.compare(content, [self.python, "-B", "-c", content], self.expected_at(place))
            elif kind == "console":
                self.run_console(content)

    def expected_at(self, place):
        """What the program at a place is to print."""
        following = [block for block in self.blocks[place:] if block[0] not in LANGUAGES][:1]
        return following[0][2] if following and following[0][0] == "text" else "..."

    def restore_files(self):
        """As the document has them: programs may change them."""
        for name, content in self.files.items():
            (self.folder / name).write_text(content)

    def run_program(self, kind, source, expected):
        self.programs += 1
        self.restore_files()
        file = self.folder / f"program{self.programs}.{kind}"
        program = file.with_suffix("")
        file.write_text(source)
        built = subprocess.run([*self.compilers[kind], str(file), *self.link, "-o", str(program)],
                               capture_output=True, text=True, check=False)
        if built.returncode != 0 or built.stderr:
            self.failures.append(f"{source}\ndoes not compile without a word:\n{built.stderr}")
            return
        self.compare(source, [str(program)], expected)

    def run_console(self, content):
        for command, expected in re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", content, re.MULTILINE):
            words = shlex.split(command)
            if words[0] != "orla":
                self.failures.append(f"{command}: only orla is run here")
                continue
            self.compare(command, [self.tool, *words[1:]], expected)

    def compare(self, what, command, expected):
        done = subprocess.run(command, cwd=self.folder, env=self.environment, capture_output=True,
                              text=True, timeout=SECONDS, check=False)
        if done.returncode != 0 or done.stderr or not matches(expected, done.stdout):
            self.failures.append(f"{what}\nis to print\n{expected}\nprinted\n{done.stdout}{done.stderr}"
                                 f"and ended with status {done.returncode}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--python")
    parser.add_argument("--cxx", required=True)
    parser.add_argument("document")
    parser.add_argument("library_folder")
    parser.add_argument("tool")
    parser.add_argument("compile_command", nargs=argparse.REMAINDER)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        text = pathlib.Path(options.document).read_text(encoding="utf-8")
        snippets = Document(text, folder, options)
        snippets.run()
    print("\n\n".join(snippets.failures), end="")
    print(f"{options.document}: {snippets.programs} programs, {len(snippets.failures)} failures")
    sys.exit(1 if snippets.failures or snippets.programs == 0 else 0)


main()
