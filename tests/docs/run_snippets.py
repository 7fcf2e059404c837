#!/usr/bin/env python3
"""Compiles and runs the programs of a document and compares what they print with what it says.

    run_snippets.py DOCUMENT LIBRARY-FOLDER TOOL COMPILER [FLAG...]

A block ```c is a whole program, and the next ```text block what it prints; "..." there stands for any
text. A block ```ini NAME is a file that the programs below it find in their folder. A block ```console
holds commands behind "$ " and, below each, what it prints. A program without a ```text block must end
with success. Every C program of the document is run; a document without one fails.
"""

import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"^```(\w+)(?: +(\S+))?\n(.*?)^```$", re.MULTILINE | re.DOTALL)
SECONDS = 60  # for one program


def matches(expected: str, printed: str) -> bool:
    pattern = ".*".join(re.escape(part) for part in expected.split("..."))
    return re.fullmatch(pattern, printed, re.DOTALL) is not None


def environment(library_folder: str) -> dict:
    """The caller's, without what would switch traces on or move the profile."""
    kept = {name: value for name, value in os.environ.items() if not name.startswith(("K7", "ORLA"))}
    return kept | {"LD_LIBRARY_PATH": library_folder, "TZ": "UTC0", "LC_ALL": "C"}


class Document:
    def __init__(self, text, folder, library_folder, tool, compile_command):
        self.blocks = BLOCK.findall(text)
        self.folder = pathlib.Path(folder)
        self.environment = environment(library_folder)
        self.link = [f"-L{library_folder}", "-lorla"]
        self.tool = tool
        self.compile_command = compile_command
        self.programs = 0
        self.failures = []

    def run(self):
        for place, (kind, name, content) in enumerate(self.blocks):
            if kind == "ini":
                (self.folder / name).write_text(content)
            elif kind == "c":
                following = self.blocks[place + 1:place + 2]
                expected = following[0][2] if following and following[0][0] == "text" else "..."
                self.run_program(content, expected)
            elif kind == "console":
                self.run_console(content)

    def run_program(self, source, expected):
        self.programs += 1
        file = self.folder / f"program{self.programs}.c"
        program = file.with_suffix("")
        file.write_text(source)
        built = subprocess.run([*self.compile_command, str(file), *self.link, "-o", str(program)],
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
    document, library_folder, tool, *compile_command = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        text = pathlib.Path(document).read_text(encoding="utf-8")
        snippets = Document(text, folder, library_folder, tool, compile_command)
        snippets.run()
    print("\n\n".join(snippets.failures), end="")
    print(f"{document}: {snippets.programs} programs, {len(snippets.failures)} failures")
    sys.exit(1 if snippets.failures or snippets.programs == 0 else 0)


main()
