#!/usr/bin/env python3
"""Compares docs/architecture.md with the tree: headers, units, test programs, suites, and who uses whom.

    check_architecture.py NM OBJECT...     the objects of which the library is linked
"""

import pathlib
import re
import subprocess
import sys
import unittest

import house

# Which the page leaves out of the arrows: most units include it.
KEPT_ERRNO = "base/kept_errno"
# They hold no function, and tests/interface compiles them.
WITHOUT_UNITS = {"base.h", "orla.h"}
NM, OBJECTS = None, None


def text_of(path):
    return (house.ROOT / path).read_text(encoding="utf-8")


def files_of_the_library():
    paths = (path for folder in house.FOLDERS for path in (house.ROOT / folder).iterdir())
    return sorted(path.relative_to(house.ROOT).as_posix() for path in paths if path.suffix in (".cpp", ".h"))


def stem(file):
    return file.rpartition(".")[0]


def suites_in(program):
    return set(re.findall(r"^TEST(?:_[FP])?\((\w+),", text_of(f"tests/{program}.cpp"), re.M))


class Table(unittest.TestCase):
    rows = house.rows()

    def programs(self):
        """Every program of the table, with the suites that its rows name."""
        found = {}
        for row in self.rows:
            for tests in (row.tests, row.longer_tests):
                for program, suites in tests.items():
                    found.setdefault(program, set()).update(suites)
        return found

    def test_has_every_file_of_the_library_once(self):
        named = [unit for row in self.rows for unit in row.units if unit != house.EVERY_UNIT]
        self.assertEqual(sorted(named), files_of_the_library())

    def test_has_every_unit_that_is_built(self):
        built = re.findall(r"\b(?:%s)/\w+\.cpp" % "|".join(house.FOLDERS), text_of("CMakeLists.txt"))
        self.assertLessEqual(set(built), {unit for row in self.rows for unit in row.units})

    def test_has_every_header(self):
        headers = {path.name for path in (house.ROOT / "include" / "orla").iterdir()}
        named = {row.header for row in self.rows} - {"every header", "none"}
        self.assertEqual(named, headers - WITHOUT_UNITS)

    def test_gives_each_header_the_units_that_include_it(self):
        for header in {row.header for row in self.rows} - {"every header", "none", "orla.hpp"}:
            units = [unit for row in self.rows if row.header == header for unit in row.units]
            self.assertTrue(any(f"#include <orla/{header}>" in text_of(unit) for unit in units), header)

    def test_has_every_test_program(self):
        made = re.findall(r"^orla_test\((\w+)", text_of("tests/CMakeLists.txt"), re.M)
        self.assertEqual(sorted(self.programs()), sorted(made))

    def test_has_every_suite_of_each_program(self):
        for program, named in self.programs().items():
            with self.subTest(program=program):
                self.assertEqual(named, suites_in(program))

    def test_names_suites_in_every_place(self):
        for row in self.rows:
            for program, suites in [*row.tests.items(), *row.longer_tests.items()]:
                self.assertTrue(suites, f"{row.header}: {program}")

    def test_gives_every_unit_its_tests(self):
        for row in self.rows:
            self.assertTrue(row.tests, row)


class Arrows(unittest.TestCase):
    included, called = house.arrows()

    def test_are_the_includes(self):
        found = set()
        for file in files_of_the_library():
            for target in re.findall(r'^ *# *include "(.+)\.h"', text_of(file), re.M):
                if target not in (stem(file), KEPT_ERRNO):
                    found.add((stem(file), target))
        self.assertEqual(self.included, found)

    def test_are_the_calls_by_name(self):
        exported = set(re.findall(r"^    (\w+);", text_of("liborla.map"), re.M))
        home, used = {}, {}
        for path in OBJECTS:
            unit = stem(re.search(r"(?:%s)/\w+\.cpp" % "|".join(house.FOLDERS), path)[0])
            listed = subprocess.run([NM, path], check=True, stdout=subprocess.PIPE, text=True).stdout
            for kind, name in re.findall(r" ([TU]) (\w+)$", listed, re.M):
                if name in exported and kind == "T":
                    home[name] = unit
                elif name in exported:
                    used.setdefault(unit, set()).add(name)
        found = {(unit, home[name]) for unit, names in used.items() for name in names if name in home}
        self.assertTrue(home)
        self.assertEqual(self.called, {(unit, target) for unit, target in found if unit != target})


if __name__ == "__main__":
    NM, *OBJECTS = sys.argv[1:]
    unittest.main(argv=sys.argv[:1])
