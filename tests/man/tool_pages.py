#!/usr/bin/env python3
"""Holds the pages of section 1 to the tool: every subcommand has its page, every option of it stands
there and no other, and the sessions in EXAMPLES print what the pages say.

    tool_pages.py TOOL MAN_FOLDER
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from page import pages

TOOL = None
MAN_FOLDER = None


def run(command, **options):
    variables = {"PATH": f"{TOOL.parent}:{os.environ['PATH']}", "TZ": "UTC0", "LC_ALL": "C"}
    return subprocess.run(command, env=variables, text=True, capture_output=True, check=False,
                          **options)


def help_of(*subcommands):
    return run([TOOL, *subcommands, "--help"]).stdout


def subcommands_of(*subcommands):
    listed = help_of(*subcommands).partition("Subcommands:\n")[2].partition("\n\n")[0]
    return re.findall(r"^  (\w+)", listed, re.MULTILINE)


def options_in_help(*subcommands):
    """The options of a subcommand and of those below it."""
    found = set()
    for line in help_of(*subcommands).splitlines():
        if line.startswith("  -"):
            found |= set(re.findall(r"(?<![\w-])--?[a-z][a-z-]*", line.split("  ")[1]))
    for each in subcommands_of(*subcommands):
        found |= options_in_help(*subcommands, each)
    return found


def options_in_page(page):
    found = set()
    for line in page.lines:
        listed = re.match(r"\.It Fl ((?:\S+)(?: , \S+)*)", line)
        if listed:
            found |= {"-" + name.replace("\\", "") for name in listed.group(1).split(" , ")}
    return found


def sessions(page):
    """Commands behind "$ " in the examples, each with what it prints."""
    for block in page.blocks:
        parts = re.split(r"^\$ (.*)\n", block, flags=re.MULTILINE)
        yield [] if parts[0] else list(zip(parts[1::2], parts[2::2]))


class ToolPages(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.pages = {page.name: page for page in pages(MAN_FOLDER, 1)}

    def test_every_subcommand_has_its_page(self):
        self.assertEqual({"orla"} | {f"orla-{name}" for name in subcommands_of()}, set(self.pages))

    def test_pages_have_the_options_of_the_tool(self):
        for name, page in self.pages.items():
            if name == "orla":
                continue
            with self.subTest(page=name):
                self.assertEqual(options_in_page(page), options_in_help(name.removeprefix("orla-")))

    def test_the_overview_has_the_options_of_the_program(self):
        listed = re.findall(r"^  (-.*?)  ", help_of(), re.MULTILINE)
        self.assertEqual(options_in_page(self.pages["orla"]), set(",".join(listed).split(",")))

    def test_sessions_print_what_the_pages_say(self):
        count = 0
        for name, page in self.pages.items():
            for session in sessions(page):
                with tempfile.TemporaryDirectory() as folder:
                    for command, expected in session:
                        count += 1
                        with self.subTest(page=name, command=command):
                            result = run(["bash", "-c", command], cwd=folder)
                            self.assertEqual(result.stdout, expected, result.stderr)
        self.assertGreaterEqual(count, 10)


if __name__ == "__main__":
    TOOL = Path(sys.argv.pop(1)).absolute()
    MAN_FOLDER = sys.argv.pop(1)
    unittest.main()
