"""Runs the command-line tool for the tests of its subcommands.

A test script holds unittest cases over Tool and ends with tool.main(); ctest gives it the tool's path as
its first argument.
"""

import json
import os
import subprocess
import sys
import tempfile
import unittest

PATH = None
SKIPPED = 77


class Result:
    def __init__(self, completed):
        self.status = completed.returncode
        self.out = completed.stdout
        self.err = completed.stderr

    @property
    def json(self):
        return json.loads(self.out)

    @property
    def rows(self):
        """The rows of a report: label to the rest of the line."""
        pairs = (line.strip().split("  ", 1) for line in self.out.splitlines())
        return {pair[0]: " ".join(pair[1].split()) for pair in pairs if len(pair) == 2}


class Tool(unittest.TestCase):
    maxDiff = None

    @staticmethod
    def environment(added=None):
        """UTC and the C locale, without the variables that affect the library."""
        variables = {"PATH": os.environ["PATH"], "TZ": "UTC0", "LC_ALL": "C"}
        # A sanitizer's settings, and where its runtime and the library's companions are found.
        for name in ("ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS", "LD_LIBRARY_PATH"):
            if name in os.environ:
                variables[name] = os.environ[name]
        variables.update(added or {})
        return variables

    def new_folder(self, **options):
        """The path of a folder that goes with the test."""
        folder = tempfile.TemporaryDirectory(**options)
        self.addCleanup(folder.cleanup)
        return folder.name

    def preloaded(self, module):
        """Variables that make functions of this module replace the C library's."""
        # They take no path with a blank, so the module is named by a link.
        link = os.path.join(self.new_folder(dir="/tmp"), os.path.basename(module))
        os.symlink(module, link)
        settings = os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"
        return {"LD_PRELOAD": link, "ASAN_OPTIONS": settings}

    def orla(self, *arguments, **options):
        return self.orla_under([], *arguments, **options)

    def orla_under(self, runner, *arguments, environment=None, path=None, **options):
        """The tool as a command that `runner` starts."""
        return Result(subprocess.run([*runner, path or PATH, *arguments], text=True, capture_output=True,
                                     env=self.environment(environment), check=False, **options))

    def assert_wrong_use(self, *arguments, naming=""):
        result = self.orla(*arguments)
        self.assertEqual(result.status, 2, result.out)
        self.assertEqual(result.out, "")
        self.assertIn(naming, result.err)

    def assert_fails(self, *arguments, naming, environment=None):
        result = self.orla(*arguments, environment=environment)
        self.assertEqual(result.status, 1, result.out)
        self.assertIn(naming, result.err)


def main():
    global PATH
    PATH = sys.argv.pop(1)
    result = unittest.main(module="__main__", exit=False).result
    if result.skipped and result.wasSuccessful():
        sys.exit(SKIPPED)  # what was run passed; the reasons are printed above
    sys.exit(not result.wasSuccessful())
