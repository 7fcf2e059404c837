#!/usr/bin/env python3
"""Completion: what the tool proposes, and that bash, zsh and fish complete with it."""

import os
import re
import shutil
import subprocess
import sys
import unittest

import tool

SCRIPTS = sys.argv.pop(2)
PROFILE = "[Main]\nPort=5\nHost name=h\n\n[Two words]\nK=1\n[Inner]\nL=2\n"
# What a shell would run, or take for the end of its quotes. The last cannot be typed at all.
STRANGE = ["A$(touch ran)", "B`touch ran`", "C\"; touch ran; \"", "D'; touch ran; '", "E; touch ran", "F!!",
           "G\\$(touch ran)", "H$HOME"]
STRANGE_PROFILE = "".join(f"[{name}]\nK=1\n\n" for name in [*STRANGE, "I\x1b$(touch ran)"])

BASH = r"""
source /usr/share/bash-completion/bash_completion
source "$1"
shift
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
COMP_LINE="$*"
COMP_POINT=${#COMP_LINE}
COMP_TYPE=9
COMP_KEY=9
compopt() { :; }
_orla "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
[ "${#COMPREPLY[@]}" -eq 0 ] || printf '%s\n' "${COMPREPLY[@]}"
"""

# The two functions of zsh's completion system that the script ends in print what they are given.
ZSH = r"""
_files() { print :files }
_describe() { print -rl -- "${(@P)2}" }
script=$1
shift
words=("$@")
CURRENT=$#
source "$script"
"""


class CompletionCase(tool.Tool):
    def setUp(self):
        self.folder = self.new_folder()
        self.profile = os.path.join(self.folder, "app.ini")
        with open(self.profile, "w", encoding="ascii") as file:
            file.write(PROFILE)

    def proposed(self, *words, environment=None):
        result = self.orla("--complete", *words, environment=environment)
        self.assertEqual((result.status, result.err), (0, ""))
        return [line.split("\t")[0] for line in result.out.splitlines()]


class Proposals(CompletionCase):
    def commands(self, *path):
        """The path of every subcommand, the program's own, (), among them."""
        yield path
        for name in self.proposed(*path, ""):
            if name != ":files" and "help" not in path:
                yield from self.commands(*path, name)

    def test_are_the_subcommands_and_options_of_every_help(self):
        commands = list(self.commands())
        self.assertGreater(len(commands), 20)
        for path in commands:
            text = self.orla(*path, "--help").out
            sections = dict(re.findall(r"(?m)^(\w+):\n((?:  .*\n)+)", text))
            options = re.findall(r"(?m)^  (-\S+)", sections["Options"])
            wanted = {name for option in options for name in option.split(",")}
            self.assertEqual(set(self.proposed(*path, "-")), wanted, path)
            subcommands = re.findall(r"(?m)^  (\w+)", sections.get("Subcommands", ""))
            proposed = [word for word in self.proposed(*path, "") if word != ":files"]
            if path == ("help",):  # it takes the names of all others
                subcommands = self.proposed("")
            self.assertEqual(proposed, subcommands, path)

    def test_come_with_descriptions(self):
        self.assertIn("show\tSay what is in UUIDs\n", self.orla("--complete", "uuid", "").out)

    def test_are_files_where_a_file_is_asked_for(self):
        for words in (["profile", "get"], ["profile", "lint"], ["profile", "lint", "a", "b"],
                      ["profile", "lint", "--int", "K"], ["load"], ["profile", "set", "--json"],
                      ["profile", "list"], ["profile", "unset"], ["profile", "diff"],
                      ["profile", "diff", "a"]):
            self.assertEqual(self.proposed(*words, ""), [":files"], words)
        for words in (["uuid", "show"], ["load", "x.so"], ["profile", "lint", "--int"], ["host"],
                      ["profile", "diff", "a", "b"], ["--field"],
                      ["help", "--field"]):
            self.assertEqual(self.proposed(*words, ""), [], words)

    def test_are_the_sections_and_keys_of_the_file(self):
        for verb in ("get", "set", "unset"):
            words = ["profile", verb, "--json", self.profile]
            self.assertEqual(self.proposed(*words, ""), ["Main", "Two words", "Inner"])
            self.assertEqual(self.proposed(*words, "Main", ""), ["Port", "Host name"])
            self.assertEqual(self.proposed(*words, "two WORDS", ""), ["K", "L"])
            self.assertEqual(self.proposed(*words, "None", ""), [])
        self.assertEqual(self.proposed("profile", "get", self.folder + "/none", ""), [])

    def test_with_the_default_path_come_from_the_file_in_force(self):
        environment = {"ORLA_CONFIG": self.profile}
        words = ["profile", "get", "--default-path"]
        self.assertEqual(self.proposed(*words, "", environment=environment),
                         ["Main", "Two words", "Inner"])
        self.assertEqual(self.proposed(*words, "Main", "", environment=environment),
                         ["Port", "Host name"])

    def test_are_the_words_that_an_option_takes(self):
        self.assertEqual(self.proposed("uuid", "--color", ""), ["auto", "always", "never"])
        self.assertEqual(self.proposed("uuid", "compare", "--field", ""), ["input", "order", "equal"])
        self.assertIn("remark", self.proposed("profile", "lint", "--ignore", ""))

    def test_are_the_subcommands_whose_help_can_be_had(self):
        self.assertIn("date", self.proposed("help", ""))
        self.assertEqual(self.proposed("help", "date", "parse", ""), [])
        self.assertIn("parse", self.proposed("help", "date", ""))
        self.assertEqual(self.proposed("help", "nonsense", ""), [])

    def test_are_no_words_that_nobody_can_type(self):
        with open(self.profile, "w", encoding="utf-8") as file:
            file.write(STRANGE_PROFILE)
        self.assertEqual(self.proposed("profile", "get", self.profile, ""), STRANGE)

    def test_are_the_sections_to_list(self):
        self.assertEqual(self.proposed("profile", "list", self.profile, ""), ["Main", "Two words", "Inner"])

    def test_are_no_options_after_two_dashes(self):
        self.assertEqual(self.proposed("tokens", "--", "-"), [])

    def test_without_a_word_there_are_none(self):
        self.assertEqual(self.proposed(), [])


@unittest.skipUnless(os.path.exists("/usr/share/bash-completion/bash_completion"),
                     "bash-completion is not installed")
class Bash(CompletionCase):
    def completed(self, *words):
        result = subprocess.run(
            ["bash", "--norc", "-c", BASH, "bash", os.path.join(SCRIPTS, "orla.bash"), tool.PATH, *words],
            cwd=self.folder, text=True, capture_output=True, check=False)
        self.assertEqual(result.stderr, "")
        return result.stdout.splitlines()

    def test_completes_subcommands_and_options(self):
        self.assertEqual(self.completed("uuid", "sh"), ["show"])
        self.assertEqual(sorted(self.completed("uuid", "new", "--co")), ["--color", "--count"])
        self.assertEqual(self.completed("host", "--color=a"), ["auto", "always"])

    def test_completes_files_sections_and_keys(self):
        self.assertEqual(self.completed("profile", "lint", "ap"), ["app.ini"])
        self.assertEqual(self.completed("profile", "get", "app.ini", "M"), ["Main"])
        self.assertEqual(self.completed("profile", "get", "app.ini", "T"), ["Two\\ words"])
        self.assertEqual(self.completed("profile", "get", "app.ini", '"Two'), ["Two words"])
        self.assertEqual(self.completed("profile", "get", "'app.ini'", "Two\\ words", ""), ["K", "L"])

    def test_offers_no_word_that_the_shell_would_run(self):
        with open(self.profile, "w", encoding="utf-8") as file:
            file.write(STRANGE_PROFILE)
        offered = 0
        for typed, begin, end in (("", "", ""), ('"', '"', '"'), ("'", "'", "'")):
            for letter in "ABCDEFGHI":
                for word in self.completed("profile", "get", "app.ini", typed + letter):
                    # As readline puts it into the line.
                    echoed = subprocess.run(["bash", "-c", f"printf %s {begin}{word}{end}"], text=True,
                                            cwd=self.folder, capture_output=True, check=False)
                    self.assertIn(echoed.stdout, STRANGE, word)
                    offered += 1
        self.assertEqual(offered, len(STRANGE) + 2 + len(STRANGE) - 1)
        self.assertEqual(os.listdir(self.folder), ["app.ini"])


@unittest.skipUnless(shutil.which("zsh"), "zsh is not installed")
class Zsh(CompletionCase):
    def completed(self, *words):
        result = subprocess.run(
            ["zsh", "-f", "-c", ZSH, "zsh", os.path.join(SCRIPTS, "_orla"), tool.PATH, *words],
            cwd=self.folder, text=True, capture_output=True, check=False)
        self.assertEqual(result.stderr, "")
        return result.stdout.splitlines()

    def test_completes_subcommands_options_files_sections_and_keys(self):
        self.assertIn("show:Say what is in UUIDs", self.completed("uuid", "s"))
        self.assertIn("--json:Print JSON, for programs", self.completed("uuid", "new", "-"))
        self.assertEqual(self.completed("profile", "get", "a"), [":files"])
        self.assertEqual(self.completed("profile", "get", "app.ini", ""),
                         ["Main", "Two words", "Inner"])
        self.assertEqual(self.completed("profile", "get", "app.ini", "'Two words'", ""), ["K", "L"])
        self.assertEqual(self.completed("host", ""), [])


@unittest.skipUnless(shutil.which("fish"), "fish is not installed")
class Fish(CompletionCase):
    def completed(self, line):
        environment = {**os.environ, "HOME": self.folder, "XDG_CONFIG_HOME": self.folder,
                       "PATH": os.path.dirname(tool.PATH) + ":" + os.environ["PATH"]}
        command = f"source '{SCRIPTS}/orla.fish'; complete -C '{line}'"
        result = subprocess.run(["fish", "--no-config", "-c", command], env=environment,
                                cwd=self.folder, text=True, capture_output=True, check=True)
        return [candidate.split("\t")[0] for candidate in result.stdout.splitlines()]

    def test_completes_subcommands_options_files_sections_and_keys(self):
        self.assertEqual(self.completed("orla uuid sh"), ["show"])
        self.assertEqual(sorted(self.completed("orla uuid new --co")), ["--color", "--count"])
        self.assertEqual(self.completed("orla profile lint ap"), ["app.ini"])
        self.assertEqual(self.completed("orla profile get app.ini T"), ["Two words"])
        self.assertEqual(self.completed("orla profile get app.ini Main P"), ["Port"])


if __name__ == "__main__":
    tool.main()
