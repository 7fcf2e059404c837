#!/usr/bin/env python3
"""Tests the Python package as a package: its version, that pip builds and installs it with nothing
but Python, and what it says where the library is not found.

package_test.py --version VERSION --source FOLDER --bits 32|64

ORLA_LIBRARY names the library, whose word size --bits is.
"""

import argparse
import importlib.util
import os
import re
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

OPTIONS = None
IMPORT = "import orla; print(orla.__version__, orla.__file__)"
# Nothing listens there: every use of the network fails at once.
NO_NETWORK = {"PIP_INDEX_URL": "http://127.0.0.1:9/", "PIP_RETRIES": "0", "PIP_NO_INPUT": "1",
              "PIP_CONFIG_FILE": os.devnull, "PIP_DISABLE_PIP_VERSION_CHECK": "1", "PIP_NO_CACHE_DIR": "1"}


def python_loads_the_library():
    return 8 * struct.calcsize("P") == OPTIONS.bits


@unittest.skipUnless(importlib.util.find_spec("ensurepip"), "python3-venv is not installed")
class Installed(unittest.TestCase):
    """The package in a virtual environment, in which no other program is found. It is the same for
    every library; its import needs one that this Python loads."""

    @classmethod
    def setUpClass(cls):
        cls.folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="orla-test-")))
        cls.programs = cls.folder / "venv/bin"
        cls.run_program(sys.executable, "-m", "venv", cls.folder / "venv")
        cls.addClassCleanup(cls.run_program, cls.programs / "pip", "uninstall", "--yes", "orla")

    @classmethod
    def run_program(cls, *command):
        environment = {"PATH": str(cls.programs), "ORLA_LIBRARY": os.environ["ORLA_LIBRARY"],
                       "PYTHONDONTWRITEBYTECODE": "1", **NO_NETWORK}
        done = subprocess.run(command, cwd=cls.folder, env=environment, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, check=False)
        if done.returncode != 0:
            raise AssertionError(f"{command}\n{done.stdout}")
        return done.stdout

    def pip(self, *arguments):
        return self.run_program(self.programs / "pip", *arguments)

    def install(self, *arguments):
        self.pip("install", "--no-compile", "--force-reinstall", *arguments)

    def backend(self, call):
        """What a function of the build backend gives, which writes into the test's folder."""
        return self.run_program(
            self.programs / "python", "-c", f"import sys; sys.path.insert(0, {str(OPTIONS.source)!r}); "
            f"import build_backend; print(build_backend.{call})").strip()

    def assert_imported_from(self, folder):
        version, path = self.run_program(self.programs / "python", "-c", IMPORT).split()
        self.assertEqual(version, OPTIONS.version)
        self.assertEqual(Path(path), folder / "orla/__init__.py")

    def site_packages(self):
        return next(self.folder.glob("venv/lib/python3*/site-packages"))

    def test_from_the_sources(self):
        self.install(OPTIONS.source)
        self.assert_imported_from(self.site_packages())
        here = {path.name for path in (OPTIONS.source / "orla").iterdir()} - {"__pycache__"}
        there = {path.name for path in (self.site_packages() / "orla").iterdir()}
        self.assertEqual(there, here)
        self.assertIn("py.typed", there)
        about = self.site_packages() / f"orla-{OPTIONS.version}.dist-info"
        self.assertIn(f"\nVersion: {OPTIONS.version}\n", (about / "METADATA").read_text())
        self.assertEqual((about / "LICENSE").read_bytes(), (OPTIONS.source / "LICENSE").read_bytes())

    def test_in_place(self):
        self.install("--editable", OPTIONS.source)
        self.assert_imported_from(OPTIONS.source)

    def test_from_a_source_archive(self):
        archive = self.backend("build_sdist('.')")
        self.assertEqual(archive, f"orla-{OPTIONS.version}.tar.gz")
        self.install(self.folder / archive)
        self.assert_imported_from(self.site_packages())

    def test_the_same_sources_make_the_same_bytes(self):
        for build in ("build_wheel", "build_sdist"):
            name = self.backend(f"{build}('.')")
            first = (self.folder / name).read_bytes()
            self.assertEqual(self.backend(f"{build}('.')"), name)
            self.assertEqual((self.folder / name).read_bytes(), first)


class Library(unittest.TestCase):
    """What is said where the library cannot be loaded."""

    def said(self, library):
        environment = {**os.environ, "PYTHONPATH": str(OPTIONS.source)}
        environment.pop("ORLA_LIBRARY", None)
        if library is not None:
            environment["ORLA_LIBRARY"] = str(library)
        code = "try:\n  import orla\nexcept ImportError as error:\n  print(type(error).__name__, error)"
        return subprocess.run([sys.executable, "-B", "-c", code], env=environment, check=True,
                              capture_output=True, text=True).stdout

    def assert_says_what_to_do(self, said, library):
        self.assertRegex(said, rf"^LibraryNotFound .*{re.escape(library)}.*: install the package liborla1 "
                         r".*, or set ORLA_LIBRARY .*\n$")
        self.assertEqual(said.count("\n"), 1)

    def test_a_missing_file(self):
        self.assert_says_what_to_do(self.said("/nonexistent/liborla.so.1"), "/nonexistent/liborla.so.1")

    def test_no_library(self):
        for library in (None, ""):
            said = self.said(library)
            if said:  # none is installed on this system
                self.assert_says_what_to_do(said, "liborla.so.1")

    def test_another_library(self):
        self.assert_says_what_to_do(self.said("libc.so.6"), "libc.so.6")

    def test_the_library_of_this_build(self):
        said = self.said(os.environ["ORLA_LIBRARY"])
        if python_loads_the_library():
            self.assertEqual(said, "")
        else:
            self.assert_says_what_to_do(said, os.environ["ORLA_LIBRARY"])


def main():
    global OPTIONS
    parser = argparse.ArgumentParser()
    parser.add_argument("--version", required=True)
    parser.add_argument("--source", required=True, type=Path)
    parser.add_argument("--bits", required=True, type=int)
    OPTIONS = parser.parse_args()
    cases = [Installed, Library] if python_loads_the_library() else [Library]
    unittest.main(argv=sys.argv[:1] + [case.__name__ for case in cases])


if __name__ == "__main__":
    main()
