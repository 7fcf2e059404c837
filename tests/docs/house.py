"""Reads docs/architecture.md: which units make a family, which tests hold them, and which unit uses which."""

import collections
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = ROOT / "docs" / "architecture.md"
FOLDERS = re.findall(r"^(\w+):", (ROOT / "scripts" / "layers.txt").read_text(encoding="utf-8"), re.M)
EVERY_UNIT = "every unit"

# `header` without its backquotes; `tests` and `longer_tests` map programs to suites, in the order
# of the table.
Row = collections.namedtuple("Row", "header units tests longer_tests")


def rows():
    """The rows of the table from header to tests."""
    table = re.search(r"^\| header \|.*\n\|.*\n((?:\|.*\n)+)", PAGE.read_text(encoding="utf-8"), re.M)[1]
    cells = ([cell.strip() for cell in line.strip("|").split("|")] for line in table.splitlines())
    return [Row(header.strip("`"), units_in(units), programs_in(tests), programs_in(longer))
            for header, units, tests, longer in cells]


def units_in(cell):
    return [EVERY_UNIT] if cell == EVERY_UNIT else re.findall(r"`(.+?)`", cell)


def programs_in(cell):
    parts = (part.partition(":") for part in cell.split(";") if part)
    return {program.strip(" `"): suites.replace(",", " ").split() for program, _, suites in parts}


def tests_of(file):
    """The test programs that hold a file of the library, the likeliest to notice a change first."""
    own = [row for row in rows() if file in row.units]
    if not own:
        raise SystemExit(f"docs/architecture.md: no row of the table has the unit {file}")
    common = [row for row in rows() if row.units == [EVERY_UNIT]]
    return list(dict.fromkeys(program for row in own + common for program in row.tests))


def arrows():
    """Pairs of units: those where one includes the other's header, and those where it calls it by name."""
    block = re.search(r"^```arrows\n(.*?)^```", PAGE.read_text(encoding="utf-8"), re.M | re.S)[1]
    found = {"->": set(), "=>": set()}
    for line in block.splitlines():
        unit, *words = line.split()
        kind = None
        for word in words:
            if word in found:
                kind = word
            else:
                found[kind].add((unit, word))
    return found["->"], found["=>"]
