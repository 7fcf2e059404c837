#!/usr/bin/env python3
"""What the tool does for people: help with examples, colour and progress on a terminal; and what it
does where its output goes nowhere."""

import os
import pty
import re
import resource
import signal
import subprocess
import sys
import tempfile
import termios

import tool

FAST_CLOCK = os.path.join(sys.argv.pop(2), "liborla-test-fast_clock.so")
ESCAPE = "\x1b"


class OnATerminal(tool.Tool):
    """Runs the tool with a terminal for the descriptors named, and a file for the others."""

    def run_on_terminal(self, descriptors, *arguments, environment=None,
                        given=subprocess.DEVNULL, columns=0):
        """Returns what the terminal shows, and what goes into the file."""
        leader, follower = pty.openpty()
        termios.tcsetwinsize(follower, (24, columns))
        variables = self.environment({"TERM": "xterm", **(environment or {})})
        with tempfile.TemporaryFile() as file:
            streams = {name: follower if name in descriptors else file
                       for name in ("stdout", "stderr")}
            with subprocess.Popen([tool.PATH, *arguments], env=variables, stdin=given,
                                  **streams):
                os.close(follower)
                shown = self.read_terminal(leader)
            os.close(leader)
            file.seek(0)
            return shown.decode().replace("\r\n", "\n"), file.read().decode()

    @staticmethod
    def read_terminal(leader):
        shown = b""
        while True:
            try:
                part = os.read(leader, 65536)
            except OSError:  # that is how a terminal ends
                return shown
            if not part:
                return shown
            shown += part


class Colour(OnATerminal):
    def test_is_on_a_terminal_alone(self):
        shown, _ = self.run_on_terminal(["stdout"], "host")
        self.assertIn("\x1b[1mProcessors\x1b[m\n", shown)
        shown, _ = self.run_on_terminal(["stderr"], "date", "parse", "x")
        self.assertIn("\x1b[1;31morla:\x1b[m ", shown)
        for arguments in (["host"], ["date", "parse", "x"], ["profile", "lint", "/"]):
            result = self.orla(*arguments)
            self.assertNotIn(ESCAPE, result.out + result.err)

    def test_is_never_there_with_no_color_or_on_a_dumb_terminal(self):
        for environment in ({"NO_COLOR": "1"}, {"TERM": "dumb"}):
            for arguments in (["host"], ["date", "parse", "x"]):
                shown, _ = self.run_on_terminal(["stdout", "stderr"], *arguments,
                                                environment=environment)
                self.assertNotIn(ESCAPE, shown)
        shown, _ = self.run_on_terminal(["stdout"], "host", environment={"NO_COLOR": ""})
        self.assertIn(ESCAPE, shown)

    def test_is_as_it_is_asked_for(self):
        self.assertIn(ESCAPE, self.orla("host", "--color=always").out)
        self.assertIn(ESCAPE, self.orla("--color", "always", "date", "parse", "x").err)
        shown, _ = self.run_on_terminal(["stdout", "stderr"], "host", "--color", "never")
        self.assertNotIn(ESCAPE, shown)
        self.assert_wrong_use("host", "--color", "red", naming='"red" is not auto, always or never')

    def test_marks_where_lint_finds_something(self):
        with tempfile.NamedTemporaryFile("w", suffix=".ini") as file:
            file.write("x")
            file.flush()
            result = self.orla("profile", "lint", "--color=always", file.name)
        self.assertTrue(result.out.startswith(f"\x1b[1m{file.name}:1:\x1b[m the last line"), result.out)


class ProgressLine(OnATerminal):
    """By a clock that goes 10 milliseconds on from one input to the next."""

    ERASE = "\r\x1b[K"

    def run_on_terminal(self, descriptors, *arguments, environment=None, **options):
        environment = {**self.preloaded(FAST_CLOCK), **(environment or {})}
        return super().run_on_terminal(descriptors, *arguments, environment=environment, **options)

    def test_is_shown_on_standard_error_and_erased(self):
        shown, piped = self.run_on_terminal(["stderr"], "uuid", "new", "-n", "1100")
        lines = shown.split(self.ERASE)
        self.assertEqual(lines[:3], ["", "30 of 1,100 UUIDs, 2 %, 11 s left",
                                     "40 of 1,100 UUIDs, 3 %, 11 s left"])
        self.assertEqual(lines[-2:], ["1,100 of 1,100 UUIDs, 100 %, 0 s left", ""])
        self.assertEqual(piped.count("\n"), 1100)

    def test_counts_lines_of_standard_input(self):
        with tempfile.TemporaryFile() as lines:
            lines.write(b"0\n" * 31)
            lines.seek(0)
            shown, _ = self.run_on_terminal(["stderr"], "date", "show", "-", given=lines)
        self.assertEqual(shown, f"{self.ERASE}30 inputs{self.ERASE}")

    def test_fits_the_width_of_the_terminal(self):
        for columns, line in ((20, "30 of 1,100 UUIDs, "), (1, ""), (0, "30 of 1,100 UUIDs, 2 %, 11 s left")):
            shown, _ = self.run_on_terminal(["stderr"], "uuid", "new", "-n", "1100", columns=columns)
            self.assertEqual(shown.split(self.ERASE)[1], line)

    def test_is_erased_when_a_signal_ends_the_work(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT):
            leader, follower = pty.openpty()
            variables = self.environment({"TERM": "xterm", **self.preloaded(FAST_CLOCK)})
            with subprocess.Popen([tool.PATH, "uuid", "new", "-n", "4294967295"], env=variables,
                                  stdout=subprocess.DEVNULL, stderr=follower) as process:
                os.close(follower)
                shown = os.read(leader, 65536)
                process.send_signal(number)
                shown += self.read_terminal(leader)
            os.close(leader)
            self.assertEqual(process.returncode, -number)
            self.assertTrue(shown.endswith(self.ERASE.encode()), shown[-100:])

    def test_is_not_shown_for_short_work(self):
        shown, _ = self.run_on_terminal(["stderr"], "uuid", "new", "-n", "29")
        self.assertEqual(shown, "")

    def test_is_not_shown_between_lines_of_output_in_a_pipe_or_on_a_dumb_terminal(self):
        shown, _ = self.run_on_terminal(["stdout", "stderr"], "uuid", "new", "-n", "50")
        self.assertNotIn(ESCAPE, shown)
        _, piped = self.run_on_terminal(["stdout"], "uuid", "new", "-n", "50")
        self.assertEqual(piped, "")
        shown, _ = self.run_on_terminal(["stderr"], "uuid", "new", "-n", "50",
                                        environment={"TERM": "dumb"})
        self.assertEqual(shown, "")

    def test_of_lint_makes_way_for_what_it_finds(self):
        with tempfile.TemporaryDirectory() as folder:
            for number in range(41):
                with open(f"{folder}/{number:02}.ini", "w", encoding="ascii") as file:
                    file.write("x" if number in (0, 30) else "")
            shown, _ = self.run_on_terminal(["stdout", "stderr"], "profile", "lint", "--color=never",
                                            folder)
        text = "the last line has no line feed: no reader sees it, and a rewrite drops it\n"
        self.assertEqual(shown, f"{folder}/00.ini:1: {text}"
                         f"{self.ERASE}30 of 41 files, 73 %, 0 s left{self.ERASE}"
                         f"{folder}/30.ini:1: {text}"
                         f"{self.ERASE}40 of 41 files, 97 %, 0 s left{self.ERASE}"
                         "41 files checked, 2 findings in 2 files\n")


class OutputThatGoesNowhere(tool.Tool):
    def test_a_full_disk_is_a_failure_that_ends_the_work(self):
        for arguments in (["now"], ["now", "--json"], ["uuid", "new", "-n", "4294967295"], ["--help"],
                          ["--version"], ["date", "show", "1", "2"], ["--complete", ""]):
            with open("/dev/full", "wb") as full:
                result = subprocess.run([tool.PATH, *arguments], stdout=full, stderr=subprocess.PIPE,
                                        env=self.environment(), text=True, check=False)
            self.assertEqual(result.returncode, 1, arguments)
            self.assertEqual(result.stderr, "orla: the result could not be written to standard output: "
                             "No space left on device\n")

    def test_a_limit_of_the_file_size_is_a_failure_too(self):
        with tempfile.TemporaryFile() as file:
            result = subprocess.run([tool.PATH, "now"], stdout=file, stderr=subprocess.PIPE, text=True,
                                    env=self.environment(), check=False,
                                    preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (0, 0)))
        self.assertEqual((result.returncode, result.stderr),
                         (1, "orla: the result could not be written to standard output: File too large\n"))

    def run_into_closed_pipe(self, disposition):
        reading, writing = os.pipe()
        os.close(reading)
        try:
            return subprocess.run([tool.PATH, "uuid", "new", "-n", "4294967295"], stdout=writing,
                                  stderr=subprocess.PIPE, text=True, check=False,
                                  restore_signals=False, env=self.environment(),
                                  preexec_fn=lambda: signal.signal(signal.SIGPIPE, disposition))
        finally:
            os.close(writing)

    def test_a_closed_pipe_ends_it_in_silence(self):
        result = self.run_into_closed_pipe(signal.SIG_DFL)
        self.assertEqual((result.returncode, result.stderr), (-signal.SIGPIPE, ""))
        result = self.run_into_closed_pipe(signal.SIG_IGN)
        self.assertEqual((result.returncode, result.stderr), (1, ""))

    def test_a_closed_standard_output_is_a_failure_and_no_file_takes_its_place(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "trace")
            variables = self.environment({"K7LIB_VERB": "y", "K7LOG_PATH": path})
            result = subprocess.run(["sh", "-c", '"$0" trace message >&-', tool.PATH], env=variables,
                                    stderr=subprocess.PIPE, text=True, check=False)
            self.assertEqual(result.returncode, 1)
            self.assertIn("Bad file descriptor", result.stderr)
            with open(path, encoding="ascii") as file:
                self.assertEqual(len(file.readlines()), 1)

    def test_a_closed_standard_input_is_a_failure(self):
        result = subprocess.run(["sh", "-c", '"$0" date parse - <&-', tool.PATH], text=True,
                                env=self.environment(), capture_output=True, check=False)
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertIn("standard input cannot be read: Bad file descriptor", result.stderr)


class Help(tool.Tool):
    def commands(self, *path):
        yield path
        for line in self.orla("--complete", *path, "").out.splitlines():
            if not line.startswith(":") and "help" not in path:
                yield from self.commands(*path, line.split("\t")[0])

    def test_ends_with_examples_and_exit_statuses(self):
        for path in self.commands():
            text = self.orla(*path, "--help").out
            self.assertRegex(text, r"\nExamples:\n(  .+\n)+\nExit status: 0 done, 1 ", path)

    def test_shows_examples_that_are_right(self):
        bin_folder = os.path.dirname(tool.PATH)
        variables = self.environment({"PATH": bin_folder + ":" + os.environ["PATH"]})
        for path in self.commands():
            examples = re.search(r"(?s)Examples:\n(.+?)\n\n", self.orla(*path, "--help").out)[1]
            for example in examples.splitlines():
                with tempfile.TemporaryDirectory() as folder:
                    with open(folder + "/app.ini", "w", encoding="ascii") as file:
                        file.write("[Main]\nPort=5\n")
                    result = subprocess.run(["sh", "-c", example], env=variables, cwd=folder, text=True,
                                            capture_output=True, check=False)
                with self.subTest(example=example):
                    self.assertIn("orla " + " ".join(path), example)
                    self.assertIn(result.returncode, (0, 1), result.stderr)

    def test_wrong_use_names_the_help_to_read(self):
        self.assert_wrong_use("profile", "get", "x", naming='Try "orla profile get --help".')
        self.assert_wrong_use("uuid", naming='orla: A subcommand is required\nTry "orla uuid --help".')
        self.assert_wrong_use("profile", "get", naming="orla: FILE is required\n")
        self.assert_wrong_use("profile", "get", "x", naming="orla: SECTION is required\n")

    def test_wrong_use_names_what_was_misspelt_rather_than_what_is_missing_for_it(self):
        for arguments, message in (
                (["dat"], 'there is no subcommand "dat"; did you mean "date"?'),
                (["hsot"], 'there is no subcommand "hsot"; did you mean "host"?'),
                (["prof"], 'there is no subcommand "prof"; did you mean "profile"?'),
                (["frobnicate"], 'there is no subcommand "frobnicate"'),
                (["x" * 1000], 'there is no subcommand "' + "x" * 100 + '..." (1000 bytes)'),
                (["date", "pars", "12/31/2007"], 'there is no subcommand "pars"; did you mean "parse"?'),
                (["--jsn"], 'there is no option "--jsn"; did you mean "--json"?'),
                (["date", "parse", "--odl"], 'there is no option "--odl"; did you mean "--old"?'),
                (["uuid", "new", "--coun", "2"], 'there is no option "--coun"; did you mean "--count"?'),
                (["now", "-x"], 'there is no option "-x"'),
                (["names", "x"], '"x" was not expected'),
                (["uuid", "new", "-n"], "--count needs a value"),
                (["--", "host"], "A subcommand is required"),
                (["names", "x", "--typo"], '"x" was not expected'),
                (["names", "--typo", "x"], 'there is no option "--typo"')):
            with self.subTest(arguments=arguments):
                self.assert_wrong_use(*arguments, naming=f"orla: {message}\nTry ")

    def test_wrong_use_names_the_right_place_for_a_word(self):
        for arguments, message in (
                (["date", "--iso", "show", "7673"], 'write --iso after "show"'),
                (["--iso", "date", "show", "7673"], 'write --iso after "show"'),
                (["profile", "--int", "get", "f", "s", "k"], 'write --int after "get"'),
                (["profile", "--default=7", "get", "f", "s", "k"], 'write --default after "get"'),
                (["uuid", "-n", "3", "new"], 'write -n after "new"'),
                (["parse", "2007-12-31"], 'there is no subcommand "parse"; did you mean "orla date parse"?'),
                (["lint", "f", "--int", "K"], 'there is no subcommand "lint"; did you mean "orla profile lint"?'),
                (["uuid", "host"], 'there is no subcommand "host"; did you mean "orla host"?'),
                (["show", "1"], 'there is no subcommand "show"; did you mean "orla date show" or '
                 '"orla uuid show"?'),
                (["help", "get"], 'there is no subcommand "get"; did you mean "orla profile get"?'),
                (["HOST"], 'there is no subcommand "HOST"; did you mean "orla host"?'),
                (["HSOT"], 'there is no subcommand "HSOT"; did you mean "host"?'),
                (["--JSON"], 'there is no option "--JSON"; did you mean "--json"?'),
                (["version"], 'there is no subcommand "version"; did you mean "orla --version"?'),
                (["date", "help"], '"help" was not expected; did you mean "orla help date"?'),
                (["date", "help", "parse"], '"help" was not expected; did you mean "orla help date parse"?'),
                (["host", "help"], '"help" was not expected; did you mean "orla help host"?'),
                (["HELP"], 'there is no subcommand "HELP"; did you mean "orla help"?')):
            with self.subTest(arguments=arguments):
                self.assert_wrong_use(*arguments, naming=f"orla: {message}\nTry ")

    def test_a_message_shows_a_strange_input_without_obeying_it(self):
        strange = self.orla("uuid", "show", "\x1b[2Jx\x7f\x01")
        self.assertIn('"\\x1b[2Jx\\x7f\\x01" is not a UUID', strange.err)
        self.assertNotIn(ESCAPE, strange.err)
        with tempfile.NamedTemporaryFile("w", suffix=".ini") as file:
            file.write("[Main]\nP\x1b=1\nP\x1b=2\n\n")
            file.flush()
            self.assertIn("P\\x1b", self.orla("profile", "lint", file.name).out)

    # What control characters are in UTF-8 and as single bytes, and what is none.
    STRANGE = (("\x1b[2J", "\\x1b[2J"), ("\x7f", "\\x7f"), ("a\tb\nc\rd", "a\\x09b\\x0ac\\x0dd"),
               ("\u0080\u009b2J\u009f", "\\xc2\\x80\\xc2\\x9b2J\\xc2\\x9f"), ("\u00a0\u20ac\U0001f600", None),
               (b"\x9b2J", "\\x9b2J"), (b"\xe4", None), (b"\xe0\x82\x9b", "\ufffd\\x82\\x9b"),
               (b"\xc2", None), (b"\xf4\x8f\xbf\xbf", None))

    def test_a_report_shows_strange_text_without_obeying_it(self):
        for text, shown in self.STRANGE:
            text = text if isinstance(text, bytes) else text.encode()
            shown = os.fsdecode(text) if shown is None else shown
            for arguments in (["tokens", b'"' + text + b'"'], ["date", "parse", text], ["load", text],
                              ["tokens", b'"' + text + b'"', "--field", "tokens"]):
                result = subprocess.run([tool.PATH, *arguments], env=self.environment(), check=False,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
                out = result.stdout.decode(errors="surrogateescape").replace("\udce0", "\ufffd")
                self.assertIn(shown, out, arguments)
        with tempfile.TemporaryDirectory() as folder:
            path = folder + "/f.ini"
            with open(path, "wb") as file:
                file.write(b"[Ma\x1bin]\nK\x9b=\x1b[2J\n\n")
            for command in (["list", path], ["diff", path, "/dev/stdin"], ["set", path, "Ma\x1bin", "L", "\x1b"],
                            ["unset", path, "Ma\x1bin", "L"]):
                result = self.orla("profile", *command, input="", errors="surrogateescape")
                self.assertIn("\\x1b", result.out, command)
                self.assertNotIn(ESCAPE, result.out + result.err)
            result = subprocess.run([tool.PATH, "profile", "get", path, b"Ma\x1bin", b"K\x9b"],
                                    env=self.environment(), capture_output=True, check=True)
            self.assertEqual(result.stdout, b"\x1b[2J\n")  # alone and as it is, for a script
        traced = self.orla("trace", "a\x1b[2J", environment={"K7LIB_VERB": "y"})
        self.assertEqual(traced.out.splitlines()[0], "a\\x1b[2J")

    def test_a_message_shows_the_beginning_of_a_long_input(self):
        for length, shown in ((100, '"' + "a" * 100 + '" is'),
                              (101, '"' + "a" * 100 + '..." (101 bytes) is')):
            self.assert_fails("date", "parse", "a" * length, naming=shown)
        # Not a piece of a character.
        self.assert_fails("date", "parse", "a" * 99 + "\u20ac",
                          naming='"' + "a" * 99 + '..." (102 bytes)')


if __name__ == "__main__":
    tool.main()
