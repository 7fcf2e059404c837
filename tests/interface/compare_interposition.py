#!/usr/bin/env python3
"""Checks that two lists are equal: the library's own functions that orla(3) says are called
through their exported names, and those that the dynamic linker looks up for the shipped
library."""

import argparse
import re
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "man"))
from page import Page  # noqa: E402

TITLE = ".Ss Interposition"


def read(readelf, *options):
    return subprocess.run([readelf, "-W", *options], check=True, text=True, capture_output=True).stdout


def listed(page):
    lines = page.section("DESCRIPTION")
    lines = lines[lines.index(TITLE):]
    return [line.split()[2] for line in lines if line.startswith(".It Fn ")]


def own_functions(readelf, library):
    """Functions that the library exports: value, size, type, binding, visibility, section, name."""
    rows = (line.split() for line in read(readelf, "--dyn-syms", library).splitlines())
    return {row[7].partition("@")[0] for row in rows
            if len(row) >= 8 and row[3] == "FUNC" and row[6] != "UND"}


def looked_up(readelf, library):
    kinds = r"R_(?:386|X86_64)_(?:JUMP_SLOT|GLOB_DAT|32|64)\S*\s+\S+\s+(\w+)"
    return set(re.findall(kinds, read(readelf, "--relocs", library)))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--readelf", required=True)
    parser.add_argument("--page", required=True)
    parser.add_argument("library")
    options = parser.parse_args()
    manual = listed(Page(options.page))
    library = own_functions(options.readelf, options.library) & looked_up(options.readelf, options.library)
    wrong = [f"listed in orla(3), bound inside the library: {name}" for name in sorted(set(manual) - library)]
    wrong += [f"looked up by name, not listed in orla(3): {name}" for name in sorted(library - set(manual))]
    wrong += [f"listed twice: {name}" for name in sorted({name for name in manual if manual.count(name) > 1})]
    print("\n".join(wrong) or f"{len(library)} of the library's own functions are reached by name")
    return 1 if wrong or not library else 0


if __name__ == "__main__":
    sys.exit(main())
