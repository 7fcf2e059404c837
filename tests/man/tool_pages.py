#!/usr/bin/env python3
"""Compares the pages of section 1 with the tool: every subcommand has its page, which has exactly its
options and every name in its JSON, and the sessions in EXAMPLES print what the pages say.

    tool_pages.py TOOL MAN_FOLDER JSON_DOCUMENT
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
JSON_DOCUMENT = None


def run(command, cwd=None):
    variables = {"PATH": f"{TOOL.parent}:{os.environ['PATH']}", "TZ": "UTC0", "LC_ALL": "C"}
    return subprocess.run(command, env=variables, cwd=cwd, text=True, capture_output=True, check=False)


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


def names_in_json():
    """All names by page, from the document, which tool.json holds against what the tool prints."""
    found = {}
    document = JSON_DOCUMENT.read_text(encoding="utf-8")
    for command, rows in re.findall(r"(?m)^## orla (\w+).*\n\n((?:\|.+\n)+)", document):
        keys = re.findall(r"(?m)^\| `(.+?)` ", rows)
        found.setdefault(f"orla-{command}", set()).update(re.findall(r"\w+", " ".join(keys)))
    return found


def names_in_page(page):
    """Words set as literals, without the commas, which are words of their own in mdoc."""
    found = set()
    for line in page.lines:
        literal = re.match(r"(?:\.It )?\.?Li (.*)", line)
        if literal:
            found |= set(literal.group(1).split()) - {",", ":", ";", ")"}
    return found


def sessions(page):
    """Commands after "$ " in the examples, each with what it prints."""
    for block in page.blocks:
        parts = re.split(r"^\$ (.*)\n", block, flags=re.MULTILINE)
        yield [] if parts[0] else list(zip(parts[1::2], parts[2::2]))


class ToolPages(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.pages = {page.name: page for page in pages(MAN_FOLDER, 1)}

    def test_every_subcommand_has_its_page(self):
        named = {name for name in subcommands_of() if name != "help"}  # which is in the overview
        self.assertEqual({"orla"} | {f"orla-{name}" for name in named}, set(self.pages))

    def test_pages_have_the_options_of_the_tool(self):
        for name, page in self.pages.items():
            if name == "orla":
                continue
            with self.subTest(page=name):
                self.assertEqual(options_in_page(page), options_in_help(name.removeprefix("orla-")))

    def test_the_page_of_profiles_has_every_kind_of_finding(self):
        listed = run([TOOL, "--complete", "profile", "lint", "--ignore", ""]).stdout.split()
        findings = self.pages["orla-profile"].lines
        begin = findings.index(".Ss Findings")
        end = findings.index(".Ss Names in JSON")
        items = [line.removeprefix(".It Li ") for line in findings[begin:end] if line.startswith(".It Li ")]
        self.assertEqual(items, listed)

    def test_the_overview_has_the_options_of_the_program(self):
        listed = re.findall(r"^  (-.*?)  ", help_of(), re.MULTILINE)
        self.assertEqual(options_in_page(self.pages["orla"]),
                         set(re.findall(r"(?<![\w-])--?[a-z]+", ",".join(listed))))

    def test_pages_give_the_names_in_json(self):
        documented = names_in_json()
        self.assertEqual({"orla", *documented}, set(self.pages))
        for name, names in documented.items():
            with self.subTest(page=name):
                self.assertEqual(names - names_in_page(self.pages[name]), set())

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
    JSON_DOCUMENT = Path(sys.argv.pop(1))
    unittest.main()
