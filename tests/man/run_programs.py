#!/usr/bin/env python3
"""Compiles and runs the programs in the EXAMPLES of section 3, and compares what they print with the
block that follows "prints" in the page.

    run_programs.py --compiler CC --flags FLAGS --include FOLDER --library FILE MAN_FOLDER
"""

import argparse
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

from page import pages, unescape

WARNINGS = ["-Wall", "-Wextra", "-Werror", "-Wconversion", "-O1"]


def programs(page):
    """Each program with the output that the page gives for it, or None."""
    text = "\n".join(page.section("EXAMPLES"))
    block = r"\.Bd -literal[^\n]*\n(.*?)\n\.Ed"
    for match in re.finditer(block + r"(?:\n\.Pp\nprints[^.]*?(?:\n\.Ev[^.]*)?\n" + block + ")?",
                             text, re.DOTALL):
        program, output = (unescape(part) + "\n" if part is not None else None
                           for part in match.groups())
        if program.startswith("#include"):
            yield program, output


def run(options, folder, source):
    (folder / "program.c").write_text(source, encoding="utf-8")
    library = Path(options.library).absolute()
    subprocess.run([options.compiler, *options.flags.split(), *WARNINGS, "program.c", "-o", "program",
                    *(f"-I{Path(path).absolute()}" for path in options.include), library,
                    f"-Wl,-rpath,{library.parent}"], cwd=folder, check=True)
    variables = {"PATH": os.environ["PATH"], "TZ": "UTC0", "LC_ALL": "C"}
    return subprocess.run(["./program"], cwd=folder, env=variables, text=True, capture_output=True,
                          check=False)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--flags", default="")
    parser.add_argument("--include", action="append", default=[])
    parser.add_argument("--library", required=True)
    parser.add_argument("man_folder")
    options = parser.parse_args()

    wrong = False
    for page in pages(options.man_folder, 3):
        found = list(programs(page))
        compared = sum(output is not None for _, output in found)
        print(f"{page.name}: {len(found)} programs, {compared} outputs")
        if not found or len(page.blocks) != len(found) + compared:
            print(f"{page.name}: no program, or a block that is neither program nor output")
            wrong = True
        for source, expected in found:
            with tempfile.TemporaryDirectory() as folder:
                result = run(options, Path(folder), source)
            if result.returncode != 0 or expected not in (None, result.stdout):
                print(f"{page.name}: status {result.returncode}, standard output:\n{result.stdout}"
                      f"instead of:\n{expected}by:\n{source}{result.stderr}")
                wrong = True
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
