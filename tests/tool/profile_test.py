#!/usr/bin/env python3
"""orla profile: values, entries written and taken out, lists, differences, path, lint."""

import fcntl
import json
import os
import pty
import random
import re
import resource
import signal
import subprocess
import sys

import tool

QUIRKS = sys.argv.pop(2)
SIGNALLED_COPY = os.path.join(sys.argv.pop(2), "liborla-test-signalled_copy.so")

DEFAULT = "/opt/tav/ls/conf/k7ls.ini"
MAIN = "[Main]\nPortNumber=77\nPort=5\nName= a b \nEmpty=\nSpaces=  \nText\nBig=123456\n\nLost=1\n"


class ProfileCase(tool.Tool):
    def setUp(self):
        self.folder = self.new_folder()

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, content, name="f.ini"):
        with open(self.path(name), "wb") as file:
            file.write(content.encode("latin-1"))
        return self.path(name)

    def read(self, name="f.ini"):
        with open(self.path(name), "rb") as file:
            return file.read().decode("latin-1")

    def run_tool(self, *arguments, config=None, **options):
        environment = {} if config is None else {"ORLA_CONFIG": config}
        return self.orla("profile", *arguments, environment=environment, **options)

    def expect(self, output, *arguments, config=None):
        result = self.run_tool(*arguments, config=config)
        self.assertEqual((result.status, result.out, result.err), (0, output, ""))

    def expect_json(self, value, *arguments, status=0, config=None):
        result = self.run_tool(*arguments, "--json", config=config)
        self.assertEqual((result.status, result.err), (status, ""))
        self.assertEqual(result.json, value)

    def expect_failure(self, reason, *arguments, status=1, config=None):
        result = self.run_tool(*arguments, config=config)
        self.assertEqual((result.status, result.out), (status, ""))
        self.assertIn(reason, result.err)


class Get(ProfileCase):
    def test_prints_the_value_alone(self):
        file = self.write(MAIN)
        self.expect("77\n", "get", file, "Main", "Port")
        self.expect(" a b \n", "get", file, "main", "NAME")

    def test_an_empty_value_is_found(self):
        file = self.write(MAIN)
        self.expect("\n", "get", file, "Main", "Empty")
        self.expect("  \n", "get", file, "Main", "Spaces")

    def test_json_tells_a_default_from_a_value(self):
        file = self.write(MAIN)
        for key, found in (("Port", True), ("Empty", False), ("Spaces", False), ("None", False)):
            result = self.run_tool("get", file, "Main", key, "--default", "d", "--json")
            self.assertEqual(result.json["found"], found, key)

    def test_a_value_of_any_length_is_whole(self):
        for length in (511, 4095, 4096, 100000):
            value = "v" * length
            self.expect(value + "\n", "get", self.write(f"[Main]\nK={value}\n"), "Main", "K")

    def test_default_is_printed_for_what_is_missing_or_blank(self):
        file = self.write(MAIN)
        for key in ("None", "Empty", "Spaces", "Text", "Lost"):
            self.expect("d\n", "get", file, "Main", key, "--default", "d")
        self.expect("\n", "get", file, "Main", "None", "--default", "")

    def test_says_why_there_is_no_value(self):
        file = self.write(MAIN)
        self.expect_failure("cannot be read: No such file", "get", self.path("none"), "Main", "Port")
        self.expect_failure("has no section [None]", "get", file, "None", "Port")
        self.expect_failure("has no key \"Lost\" before the empty line 9", "get", file, "Main", "Lost")
        self.expect_failure("up to the end of the file", "get", self.write("[M]\n"), "M", "K")

    def test_says_that_a_line_has_no_equals_sign(self):
        self.expect_failure("line 7: no \"=\"", "get", self.write(MAIN), "Main", "Text")

    def test_int_answers_as_the_integer_reader(self):
        file = self.write(MAIN)
        self.expect("77\n", "get", file, "Main", "Port", "--int")
        self.expect("0\n", "get", file, "Main", "Name", "--int")
        self.expect("-3\n", "get", file, "Main", "Big", "--int", "--default", "-3")
        self.expect_failure("line 8: no number of 1 to 5", "get", file, "Main", "Big", "--int")
        self.expect_failure("has no section [Mai]", "get", file, "Mai", "Port", "--int")
        self.expect_failure("whole number", "get", file, "Main", "Port", "--int", "--default", "x",
                            status=2)

    def test_json_tells_a_value_from_the_default(self):
        file = self.write(MAIN)
        common = {"file": file, "section": "Main"}
        self.expect_json({**common, "key": "Port", "value": "77", "found": True},
                         "get", file, "Main", "Port")
        self.expect_json({**common, "key": "Port", "value": 77, "found": True},
                         "get", file, "Main", "Port", "--int")
        self.expect_json({**common, "key": "None", "value": "d", "found": False},
                         "get", file, "Main", "None", "--default", "d")

    def test_default_path_is_the_file_that_the_environment_names(self):
        file = self.write(MAIN)
        self.expect("77\n", "get", "--default-path", "Main", "Port", config=file)
        self.expect_failure("cannot be read", "get", "--default-path", "Main", "Port",
                            config=self.path("none"))

    def test_standard_input_is_a_file_too(self):
        for arguments, value in ((["-", "Main", "Name"], " a b \n"), (["--int", "-", "Main", "Port"], "77\n")):
            result = self.run_tool("get", *arguments, input=MAIN)
            self.assertEqual((result.status, result.out), (0, value), result.err)
        result = self.run_tool("get", "-", "Main", "Port", "--json", input=MAIN)
        self.assertEqual(result.json["file"], "standard input")
        result = self.run_tool("get", "-", "Main", "None", input=MAIN)
        self.assertEqual(result.err, 'orla: section [Main] of standard input, line 1, has no key "None" '
                         "before the empty line 9\n")

    def test_the_default_path_in_words_is_the_file_that_the_environment_names(self):
        file = self.write(MAIN)
        result = self.run_tool("get", DEFAULT, "Main", "Port", "--json", config=file)
        self.assertEqual((result.json["file"], result.json["value"]), (file, "77"))
        result = self.run_tool("get", DEFAULT, "None", "Port", config=file)
        self.assertIn(f"{file} has no section [None]", result.err)

    def test_wrong_use(self):
        file = self.write(MAIN)
        for arguments in ([file, "Main"], [file, "Main", "Port", "x"],
                          ["--default-path", "Main"], ["--default-path", file, "Main", "Port"]):
            self.assertEqual(self.run_tool("get", *arguments).status, 2, arguments)


class Set(ProfileCase):
    def test_creates_a_file_and_shows_the_entry(self):
        file = self.path("f.ini")
        self.expect_json({"file": file, "entry": "Port=7"}, "set", file, "Main", "Port", "7")
        self.assertEqual(self.read(), "[Main]\nPort=7\n")

    def test_shows_the_line_that_it_replaces(self):
        file = self.write("[Main]\nPortNumber=77\n")
        self.expect_json({"file": file, "entry": "Port=7", "replaced": "PortNumber=77"},
                         "set", file, "Main", "Port", "7")

    def test_fails_where_a_reader_does_not_find_what_was_written(self):
        file = self.write("")
        result = self.run_tool("set", file, "M", "K", "a=b", "--json")
        self.assertEqual(result.json, {"file": file, "entry": "K=a=b", "answer": "b"})
        self.assertEqual((result.status, result.err),
                         (1, f"orla: a reader of {file} does not find what was written: the value is read as "
                          '"b": only what follows its last "=" counts\n'))
        for content, reason in (
                ("[Mai]\n\n[Main]\nK=1\n", 'section [Main] of FILE, line 1, has no key "K" before the empty line 2'),
                ("[Mai]\nKey=1\n\n[Main]\nK=1\n", "an earlier header begins like [Main], and line 2 is found")):
            file = self.write(content)
            result = self.run_tool("set", file, "Main", "K", "7")
            self.assertEqual(result.status, 1, content)
            self.assertIn(reason.replace("FILE", file), result.err)
            self.assertIn("\nK=7\n", self.read())

    def test_refuses_what_is_no_file(self):
        os.mkfifo(self.path("f.ini"))
        for path, reason in (("/dev/null", "it is a device, not a file"),
                             (self.path("f.ini"), "it is a pipe, not a file"),
                             (self.folder, "Is a directory"),
                             (self.path("none/f.ini"), "No such file or directory")):
            for verb in (["set", path, "M", "K", "v"], ["unset", path, "M", "K"]):
                self.expect_failure(f"orla: {path} was not rewritten: {reason}\n", *verb)

    def test_failure_carries_the_text_of_the_system(self):
        file = self.write("[M]\nL=1\n")
        limited = ["setpriv", "--bounding-set=-dac_override"] if os.geteuid() == 0 else []
        for content, mode, reason in (("[M]\n", 0o444, "Permission denied"), ("[M]\n", 0, "Permission denied")):
            self.write(content)
            os.chmod(file, mode)
            result = self.orla_under(limited, "profile", "set", file, "M", "K", "v")
            os.chmod(file, 0o600)
            self.assertEqual((result.status, result.err), (1, f"orla: {file} was not rewritten: {reason}\n"))
            self.assertEqual(self.read(), content)
        os.mkdir(self.path("closed"))
        os.chmod(self.path("closed"), 0o500)
        result = self.orla_under(limited, "profile", "set", self.path("closed/f.ini"), "M", "K", "v")
        self.assertIn("was not rewritten: Permission denied\n", result.err)

    def test_a_limit_of_the_file_size_is_a_failure_and_leaves_the_file_as_it_was(self):
        content = "[M]\n" + "L=1\n" * 20
        file = self.write(content)
        result = self.run_tool("set", file, "M", "K", "v", preexec_fn=lambda: resource.setrlimit(
            resource.RLIMIT_FSIZE, (8, 8)))
        self.assertEqual((result.status, result.err), (1, f"orla: {file} was not rewritten: File too large\n"))
        self.assertEqual(self.read(), content)

    def test_takes_negative_numbers_and_empty_values(self):
        file = self.path("f.ini")
        self.assertEqual(self.run_tool("set", file, "Main", "Port", "-5").status, 0)
        self.assertEqual(self.run_tool("set", file, "Main", "Host", "").status, 0)
        self.assertEqual(self.read(), "[Main]\nPort=-5\nHost=\n")

    def test_rejects_what_would_damage_the_file(self):
        file = self.write("[Main]\n")
        for words in (["a\nb", "K", "v"], ["M", "a\nb", "v"], ["M", "K", "a\nb"], ["M", "a=b", "v"],
                      ["M", "K", "a\rb"], ["M", "K", os.fsdecode(b"\xff")], ["M", "", "v"]):
            self.assertEqual(self.run_tool("set", file, *words).status, 2, words)
        self.assertEqual(self.read(), "[Main]\n")

    def test_default_path_is_the_file_that_the_environment_names(self):
        file = self.path("f.ini")
        self.assertEqual(
            self.run_tool("set", "--default-path", "Main", "Port", "7", config=file).status, 0)
        self.assertEqual(self.read(), "[Main]\nPort=7\n")

    def test_standard_input_cannot_be_rewritten(self):
        self.expect_failure("standard input cannot be rewritten", "set", "-", "M", "K", "v", status=2)

    def test_takes_what_looks_like_an_option_after_two_dashes(self):
        file = self.path("f.ini")
        self.assertEqual(self.run_tool("set", "--", file, "M", "K", "--json").status, 0)
        self.assertEqual(self.read(), "[M]\nK=--json\n")


class Together(ProfileCase):
    """Several processes on one file."""

    COUNT = 20

    def run_together(self, *commands):
        processes = [subprocess.Popen([tool.PATH, "profile", *command], env=self.environment(),
                                      stdout=subprocess.DEVNULL) for command in commands]
        for process in processes:
            self.assertEqual(process.wait(), 0)

    def set_all(self, file):
        self.run_together(*(["set", file, "Main", f"K{number:02}", f"v{number}"]
                            for number in range(self.COUNT)))

    def expect_all(self, file, others=()):
        found = self.run_tool("list", file, "--json").json["sections"]
        self.assertEqual([section["name"] for section in found], ["Main"])
        self.assertEqual({entry["key"]: entry["value"] for entry in found[0]["entries"]},
                         {**{f"K{number:02}": f"v{number}" for number in range(self.COUNT)},
                          **dict(others)})

    def test_lose_no_key_of_a_file(self):
        for _ in range(3):
            file = self.write("[Main]\nOld=1\n")
            self.set_all(file)
            self.expect_all(file, {"Old": "1"})

    def test_lose_no_key_of_a_file_that_they_create(self):
        for _ in range(3):
            file = self.path("new.ini")
            self.set_all(file)
            self.expect_all(file)
            os.remove(file)
        self.assertEqual(os.listdir(self.folder), [])

    def test_take_out_a_key_each(self):
        file = self.write("[Main]\nOld=1\n" + "".join(f"K{n:02}=1\n" for n in range(self.COUNT)))
        self.run_together(*(["unset", file, "Main", f"K{n:02}"] for n in range(self.COUNT)))
        self.assertEqual(self.read(), "[Main]\nOld=1\n")

    def start_and_see_it_wait(self, *arguments):
        leader, follower = pty.openpty()
        self.addCleanup(os.close, leader)
        process = subprocess.Popen([tool.PATH, "profile", *arguments], env=self.environment(),
                                   stdout=subprocess.DEVNULL, stderr=follower)
        os.close(follower)
        shown = b""
        while b"which another process has locked" not in shown:
            shown += os.read(leader, 1024)
        return process

    def test_wait_for_each_other_and_can_be_interrupted_then(self):
        file = self.write("[Main]\nOld=1\n")
        with open(file, "rb") as held:
            fcntl.flock(held, fcntl.LOCK_EX)
            with self.start_and_see_it_wait("set", file, "Main", "K", "v") as process:
                process.send_signal(signal.SIGINT)
                self.assertEqual(process.wait(), -signal.SIGINT)
        self.assertEqual(self.read(), "[Main]\nOld=1\n")

    def test_change_the_file_that_took_the_place_of_the_locked_one(self):
        file = self.write("[Main]\nOld=1\n")
        with open(file, "rb") as held:
            fcntl.flock(held, fcntl.LOCK_EX)
            process = self.start_and_see_it_wait("set", file, "Main", "K", "v")
            os.remove(file)
            self.write("[Main]\nNew=1\n")
        self.assertEqual(process.wait(), 0)
        self.assertEqual(self.read(), "[Main]\nNew=1\nK=v\n")


class Signals(ProfileCase):
    def test_wait_until_the_file_is_whole(self):
        file = self.write("[Main]\nOld=1\nKey=1\n")
        environment = self.preloaded(SIGNALLED_COPY)
        for arguments, content in ((["set", file, "Main", "Key", "2"], "[Main]\nOld=1\nKey=2\n"),
                                   (["unset", file, "Main", "Key"], "[Main]\nOld=1\n")):
            result = self.orla("profile", *arguments, environment=environment)
            self.assertEqual(result.status, -signal.SIGINT)
            self.assertEqual(self.read(), content)


class Unset(ProfileCase):
    def expect_removed(self, before, after, removed, *arguments):
        file = self.write(before)
        self.expect_json({"file": file, "removed": removed}, "unset", file, *arguments)
        self.assertEqual(self.read(), after)

    def test_takes_out_the_lines_of_the_key_alone(self):
        self.expect_removed("[Main]\nHost=h\nPort=5\nport = 6\n", "[Main]\nHost=h\n",
                            ["Port=5", "port = 6"], "main", "PORT")
        self.expect_removed("[Main]\nPort\n", "[Main]\n", ["Port"], "Main", "Port")

    def test_leaves_all_other_bytes_as_they_are(self):
        self.expect_removed("\r[Main]\r\n; x\r\nPort=5\r\n\r\n[Other]\nPort=6\nlast",
                            "\r[Main]\r\n; x\r\n\r\n[Other]\nPort=6\nlast", ["Port=5"], "Main", "Port")
        self.expect_removed("[Main]\nPort=5\nA\0b\n\xff\nPort=6\n", "[Main]\nA\0b\n\xff\nPort=6\n",
                            ["Port=5"], "Main", "Port")

    def test_keeps_the_file_and_its_mode(self):
        file = self.write("[Main]\nPort=5\n")
        os.chmod(file, 0o640)
        before = os.stat(file)
        self.run_tool("unset", file, "Main", "Port")
        after = os.stat(file)
        self.assertEqual((after.st_ino, after.st_mode), (before.st_ino, before.st_mode))

    def test_fails_where_there_is_nothing_to_take_out(self):
        for content, reason in (
                ("[Main]\nHost=h\n", 'has no key "Port" up to the end of the file'),
                ("[Main]\n\nPort=5\n", 'has no key "Port" before the empty line 2'),
                ("[Other]\nPort=5\n", "has no section [Main]"),
                ("[Main]\nPortNumber=77\n", 'line 2, "PortNumber=77", is what readers find'),
                ("[Main]\n[Other]\nPort=5\n", 'line 3, "Port=5", is what readers find')):
            self.expect_failure(reason, "unset", self.write(content), "Main", "Port")
            self.assertEqual(self.read(), content)
        self.expect_failure("No such file", "unset", self.path("none"), "Main", "Port")
        self.assertFalse(os.path.exists(self.path("none")))

    def test_says_what_readers_find_instead(self):
        file = self.write("[Main]\nPort=5\nPortNumber=77\n")
        result = self.run_tool("unset", file, "Main", "Port")
        self.assertEqual(result.status, 1)
        self.assertEqual(result.err, f'orla: {file}: line 2, "PortNumber=77", is what readers find for this key\n')
        self.assertEqual(self.read(), "[Main]\nPortNumber=77\n")

    def test_default_path_is_the_file_that_the_environment_names(self):
        file = self.write("[Main]\nPort=5\n")
        self.assertEqual(self.run_tool("unset", "--default-path", "Main", "Port", config=file).status, 0)
        self.assertEqual(self.read(), "[Main]\n")

    def test_wrong_use(self):
        file = self.write("[Main]\nPort=5\n")
        for arguments in ([file, "Main", ""], ["-", "Main", "Port"], [file, "Main"],
                          [file, "Main", "Port", "x"]):
            self.assertEqual(self.run_tool("unset", *arguments).status, 2, arguments)


class List(ProfileCase):
    CONTENT = ("lost=1\n[Main]\r\nPortNumber=77\r\nPort=5\r\n; x=1\r\nText\r\nURL=a=b\r\nName = n \r\n\r\n"
               "Lost=1\n[Two words]\nK=\n[main]\nLost=2\n[Maintenance]\nK=3\n\n[Mains]\nK=4")

    def test_shows_what_a_reader_finds_as_a_profile_of_its_own(self):
        file = self.write(self.CONTENT)
        main = "PortNumber=77\n; x=1\nURL=b\nName = n \n\n"
        listed = f"[Main]\n{main}[Two words]\nK=\nLost=2\n\n[Maintenance]\nK=3\n\n[Mains]\n{main}"
        self.expect(listed, "list", file)
        self.expect(listed, "list", self.write(listed, "listed.ini"))

    def test_every_listed_entry_is_what_get_prints(self):
        file = self.write(self.CONTENT)
        sections = self.run_tool("list", file, "--json").json["sections"]
        count = 0
        for section in sections:
            for entry in section["entries"]:
                self.expect(entry["value"] + "\n", "get", file, section["name"], entry["key"])
                count += 1
        self.assertEqual(count, 11)

    def test_json_says_in_which_line_each_stands(self):
        file = self.write("[Main]\nPort=5\n\n[Empty]\n")
        self.expect_json({"file": file, "sections": [
            {"name": "Main", "line": 1, "entries": [{"key": "Port", "value": "5", "line": 2}]},
            {"name": "Empty", "line": 4, "entries": []}]}, "list", file)

    def test_a_section_holds_what_is_found_when_it_is_asked_for(self):
        # Node2 is looked for by "[Node", Main and Two by lines that are not all header.
        for content, listed in (
                ("[Node1]\nK=1\n\n[Node2]\nK=2\n", "[Node1]\nK=1\n\n[Node2]\nK=1\n\n"),
                ("[Main] \nK=1\n\n", "[Main]\nK=1\n\n"),
                ("[Main] ; [x\nK=1\n\n[Two\nK=2\n", "[Main]\nK=1\n\n[Two]\nK=2\n\n"),
                ("K=1\n[]\nK=2\n", "[]\nK=2\n\n"),
                ("[A]\n=1\n =2\n", "[A]\n=1\n =2\n\n"),
                ("[Aa]\nx=1\n[Bb]\ny=2\n\n", "[Aa]\nx=1\ny=2\n\n[Bb]\ny=2\n\n")):
            self.expect(listed, "list", self.write(content))

    def test_a_section_is_found_by_any_name_that_the_reader_takes(self):
        file = self.write("[Node1]\nK=1\n\n")
        self.expect_json({"file": file, "sections": [
            {"name": "Node7", "line": 1, "entries": [{"key": "K", "value": "1", "line": 2}]}]},
                         "list", file, "Node7")
        self.expect("[]\nK=1\n\n", "list", file, "")

    def test_one_section(self):
        file = self.write(self.CONTENT)
        self.expect("[TWO words]\nK=\nLost=2\n\n", "list", file, "TWO words")
        self.expect_failure("has no section [None]", "list", file, "None")
        self.expect("[Two words]\nK=\nLost=2\n\n", "list", "--default-path", "Two words", config=file)

    def test_fields(self):
        file = self.write("[Main]\nPort=5\nHost=h\n")
        self.expect("Main\n", "list", file, "--field", "sections.name")
        self.expect("5\nh\n", "list", file, "--field", "sections[].entries[].value")

    def test_standard_input_and_open_pipes_are_files_too(self):
        self.assertEqual(self.run_tool("list", "-", input="[M]\nK=1\n").out, "[M]\nK=1\n\n")
        for words in (["list"], ["lint"], ["get", "M", "K"]):
            words.insert(1, "<(printf '[M]\\nK=1\\n')")
            result = subprocess.run(["bash", "-c", f"'{tool.PATH}' profile {' '.join(words)}"], text=True,
                                    capture_output=True, env=self.environment(), check=False)
            self.assertEqual((result.returncode, result.stderr), (0, ""), words)

    def test_wrong_use_and_failures(self):
        self.expect_failure("FILE is required", "list", status=2)
        self.expect_failure("cannot be read: No such file", "list", self.path("none"))
        self.assertEqual(self.run_tool("list", "a", "b", "c").status, 2)
        self.assertEqual(self.run_tool("list", "--default-path", "b", "c").status, 2)


class Diff(ProfileCase):
    def expect_differences(self, old, new, text, differences):
        old, new = self.write(old, "old.ini"), self.write(new, "new.ini")
        result = self.run_tool("diff", old, new)
        self.assertEqual((result.status, result.out, result.err), (1 if text else 0, text, ""))
        self.expect_json({"old": old, "new": new, "differences": differences}, "diff", old, new,
                         status=1 if text else 0)

    def test_the_order_of_sections_and_keys_makes_no_difference(self):
        self.expect_differences("[A]\nK=1\nL=2\n", "[a]\r\nl=2\r\nk=1\r\n", "", [])
        self.expect_differences("[Xa]\nK=1\n\n[Yb]\nL=2\n", "[Yb]\nL=2\n\n[Xa]\nK=1\n", "", [])

    def test_shows_what_changed_by_section_and_key(self):
        self.expect_differences(
            "[Main]\nPort=5\nHost=h\n\n[Gone]\nK=1\n", "[Main]\nPort=7\nUser=u\n\n[Fresh]\nK=1\n",
            "[Main]\n-Port=5\n+Port=7\n-Host=h\n+User=u\n[Gone]\n-K=1\n[Fresh]\n+K=1\n",
            [{"section": "Main", "key": "Port", "old": "5", "new": "7"},
             {"section": "Main", "key": "Host", "old": "h"},
             {"section": "Main", "key": "User", "new": "u"},
             {"section": "Gone", "key": "K", "old": "1"},
             {"section": "Fresh", "key": "K", "new": "1"}])

    def test_shows_all_that_is_read_differently(self):
        for old, new, text in (
                ("[Bb] \nz=1\n\n", "", "[Bb]\n-z=1\n"),
                ("", "[Two\nz=1\n\n", "[Two]\n+z=1\n"),
                # Without the empty line a search runs on.
                ("[Aa]\nx=1\n[Bb]\ny=2\n\n", "[Aa]\nx=1\n\n[Bb]\ny=2\n\n", "[Aa]\n-y=2\n"),
                ("[A]\n;c=1\n\n", "[A]\n;c=2\n\n", "[A]\n-;c=1\n+;c=2\n"),
                # A key that is found in the line of a longer one.
                ("[A]\nPa=1\nPb=2\nP=3\n", "[A]\nPb=2\nPa=1\nP=3\n", "[A]\n-P=1\n+P=2\n"),
                ("[A]\nPort=7\n", "[A]\nPort\nPort=7\n", "[A]\n-Port=7\n"),
                ("[A]\nPortNumber=7\n", "[A]\nPortNumber=7\nPort=8\n", "")):
            self.expect_differences(old, new, text, self.differences_in(text))

    def test_asks_for_no_key_that_stands_above_a_section(self):
        old, new = "[Aa]\nP=1\n[Bb]\nPa=2\n", "[Aa]\nP=1\n[Bb]\nPa=3\n"
        changed = {"key": "Pa", "old": "2", "new": "3"}
        self.expect_differences(old, new, "[Aa]\n-Pa=2\n+Pa=3\n[Bb]\n-Pa=2\n+Pa=3\n",
                                [{"section": "Aa", **changed}, {"section": "Bb", **changed}])

    @staticmethod
    def differences_in(text):
        """What the lines of a text with one section say, as JSON does."""
        found = {}
        for line in text.splitlines()[1:]:
            key, value = line[1:].split("=")
            difference = found.setdefault(key, {"section": text[1:text.index("]")], "key": key})
            difference["old" if line[0] == "-" else "new"] = value
        return list(found.values())

    def test_one_of_the_two_may_be_standard_input(self):
        file = self.write("[A]\nK=1\n")
        self.assertEqual(self.run_tool("diff", "-", file, input="[A]\nK=2\n").out, "[A]\n-K=2\n+K=1\n")
        self.assertEqual(self.run_tool("diff", "-", "-", input="").status, 2)

    def test_a_file_that_cannot_be_read_is_a_failure(self):
        file = self.write("")
        self.expect_failure("cannot be read: No such file", "diff", file, self.path("none"))
        self.expect_failure("NEW is required", "diff", file, status=2)

    def test_ten_thousand_keys_take_no_time(self):
        content = "[Main]\n" + "".join(f"Key{number:05}=1\n" for number in range(10000))
        self.expect_differences(content, content + "More=1\n", "[Main]\n+More=1\n",
                                [{"section": "Main", "key": "More", "new": "1"}])


class Answers(ProfileCase):
    """Random profiles: what list and diff show is what the string reader answers."""

    FILES = 50
    # More of what makes lines with a key.
    ALPHABET = list("[]Aax=; \r\n") + ["\n\n", "\n[", "\n[A]\n", "\na=x", "\nA=", "\nAx=a", "\n;=", "x\n="]

    def random_content(self, random):
        return "[" + "".join(random.choice(self.ALPHABET) for _ in range(random.randrange(5, 25))) + "\n"

    @staticmethod
    def lines(content):
        return [line.replace("\r", "") for line in content.split("\n")[:-1]]

    def questions(self, content):
        """Two names of sections and two keys of the file, as they stand in it."""
        lines = self.lines(content)
        headers = [line[1:] for line in lines if line.startswith("[")]
        names = [line[:-1] if line.endswith("]") else line.partition("]")[0] for line in headers]
        keys = [line.partition("=")[0] for line in lines if "=" in line]
        return [(name, key) for name in names[-2:] for key in keys[-2:]]

    def answer(self, file, section, key):
        """The value that the reader gives; None without one."""
        result = self.run_tool("get", "--", file, section, key)
        return result.out[:-1] if result.status == 0 else None

    @staticmethod
    def found_in(entries, key):
        """The value in the first of the listed lines that begins with the key."""
        alike = [entry for entry in entries if entry["key"].lower().startswith(key.lower())]
        return alike[0]["value"] if alike else None

    def check_list(self, file, content):
        sections = self.run_tool("list", "--json", file).json["sections"]
        listed = {section["name"].lower(): section["entries"] for section in sections}
        for section in sections[:2]:
            for entry in section["entries"][-2:]:
                self.assertEqual(self.answer(file, section["name"], entry["key"]), entry["value"], content)
        for section, key in self.questions(content):
            value = self.answer(file, section, key)
            if value is not None:
                self.assertEqual(self.found_in(listed[section.lower()], key), value, content)

    def stands_below(self, content, section, key):
        """Whether a line below the section's header, as the string reader finds it, has the key."""
        lines = [line.lower() for line in self.lines(content)]
        header = ("[" + section.lower())[:len(section)]
        begin = next(at for at, line in enumerate(lines) if line.startswith(header)) + 1
        end = lines.index("", begin) if "" in lines[begin:] else len(lines)
        return any("=" in line and line.partition("=")[0] == key.lower() for line in lines[begin:end])

    def test_list_shows_each_entry_that_is_found_and_no_other(self):
        numbers = random.Random(7)
        for _ in range(self.FILES):
            content = self.random_content(numbers)
            self.check_list(self.write(content), content)

    def test_diff_shows_each_difference_and_no_other(self):
        numbers = random.Random(8)
        for _ in range(self.FILES):
            content = self.random_content(numbers)
            at = numbers.randrange(1, len(content))
            old = self.write(content, "old.ini")
            new = self.write(content[:at] + numbers.choice(self.ALPHABET) + content[at:], "new.ini")
            differences = self.run_tool("diff", "--json", old, new).json["differences"]
            shown = {(each["section"].lower(), each["key"].lower()): (each.get("old"), each.get("new"))
                     for each in differences}
            for each in differences[:1]:
                asked = (each["section"], each["key"])
                self.assertEqual((self.answer(old, *asked), self.answer(new, *asked)),
                                 (each.get("old"), each.get("new")), (content, at))
            for section, key in self.questions(content):
                before, after = (self.answer(file, section, key) for file in (old, new))
                expected = None if before == after else (before, after)
                if self.stands_below(content, section, key):
                    self.assertEqual(shown.get((section.lower(), key.lower())), expected, (content, at))


class Large(ProfileCase):
    """Lines cost no room of their own, however many there are."""

    SIZE = 10000000  # bytes; the file itself may have six times as many
    ROOM = 200 << 20

    def take_little_room(self):
        if "LSAN_OPTIONS" not in os.environ:  # a sanitizer itself needs more
            resource.setrlimit(resource.RLIMIT_AS, (self.ROOM, self.ROOM))

    def expect_status(self, status, *arguments):
        result = self.run_tool(*arguments, preexec_fn=self.take_little_room)
        self.assertEqual((result.status, result.err.count("memory")), (status, 0), arguments)
        return result

    def test_a_file_of_line_feeds(self):
        file = self.write("\n" * self.SIZE)
        self.expect_status(0, "lint", file)
        self.expect_status(1, "get", file, "M", "P")
        self.expect_status(0, "list", file)

    def test_a_file_of_one_finding_in_each_line(self):
        file = self.write("[A]\n" + "K= 1\n" * (self.SIZE // 5))
        result = self.expect_status(1, "lint", "--ignore", "hidden_key", "--json", file)
        findings = result.json["findings"]
        self.assertEqual((len(findings), findings[-1]["kind"], findings[-1]["line"]), (100001, "too_many", 100001))
        self.assertEqual(self.expect_status(0, "list", file).out, "[A]\nK= 1\n\n")


class Refused(ProfileCase):
    """What is no file is not read: that might never end."""

    COMMANDS = (["get", "FILE", "M", "K"], ["get", "--int", "FILE", "M", "K"], ["list", "FILE"],
                ["lint", "FILE"], ["diff", "FILE", "/dev/null"])

    def test_devices_and_named_pipes(self):
        os.mkfifo(self.path("f.ini"))
        for path, reason in (("/dev/zero", "it is a device, not a file"),
                             (self.path("f.ini"), "it is a pipe, not a file")):
            for command in self.COMMANDS:
                arguments = [path if word == "FILE" else word for word in command]
                self.expect_failure(f'orla: {path} cannot be read: {reason}; standard input is given as "-"\n',
                                    *arguments)

    def test_named_pipes_in_folders_do_not_keep_the_others_from_it(self):
        os.mkfifo(self.path("a.ini"))
        self.write("", "b.ini")
        result = self.run_tool("lint", self.folder)
        self.assertEqual((result.status, result.out), (1, "1 file checked, 0 findings\n"))
        self.assertIn("a.ini cannot be read: it is a pipe", result.err)

    def test_input_without_an_end(self):
        for command in (["get", "-", "M", "K"], ["list", "-"], ["lint", "-"]):
            with open("/dev/zero", "rb") as zero:
                result = self.run_tool(*command, stdin=zero)
            self.assertEqual((result.status, result.err),
                             (1, "orla: standard input cannot be read: it has more than 64 MiB\n"))


class Path(ProfileCase):
    def test_is_the_file_that_the_environment_names_if_it_opens(self):
        file = self.write("")
        self.expect_json({"path": file, "from_environment": True}, "path", config=file)

    def test_is_the_default_otherwise(self):
        default = "/opt/tav/ls/conf/k7ls.ini"
        none = self.path("none")
        self.expect_json({"path": default, "from_environment": False}, "path")
        self.expect_json({"path": default, "from_environment": False, "variable": none}, "path",
                         config=none)


class Lint(ProfileCase):
    # A file, the line and kind of each finding in it, and options.
    ROWS = (
        ("", []),
        ("\n", []),
        ("[Xa]\nK=1\n\n[Yb]\nK=1\n", []),
        # Lines without "=" in no section are told once.
        ("[Xa]\n\ntext\n\n[Yb]\n", [(3, "passed_over")]),
        ("text\n[Xa]\n\nmore\n", [(1, "passed_over")]),
        # A line without a value hides a key too.
        ("[M]\nPORTNUMBER\nPort=5\n", [(2, "no_equals"), (3, "hidden_key")]),
        ("[A]\nPortNumber=1\nPort=2\n", [(3, "hidden_key")]),
        ("[A]\nport=1\nPort=2\n", [(3, "hidden_key")]),
        ("[Xa]\nPort=1\nPortNumber=2\n\n[Yb]\nPort=1\n", []),
        ("x", [(1, "no_line_feed")]),
        ("[A]\nK=\xff\n [B]\nK", [(2, "byte_255")]),
        # An empty line before later keys is told once, and below a name that is not UTF-8 too.
        ("[Xa]\nK=1\n\n\nL=1\nM=1\n[Yb]\n\nK=1\n", [(3, "section_cut"), (8, "section_cut")]),
        ("[M\xe4]\nK=1\n\nL=1\n", [(3, "section_cut")]),
        ("[Xa]\nK=1\n[Yb]\nL=1\n", [(3, "runs_on")]),
        (" [Xa]\n\n[Yb]\t\n\n[Zc]\n\n[ D ]\n", [(1, "spaced_header"), (3, "spaced_header")]),
        # Sections that an earlier header hides.
        ("[Main]\n\n[main]\n", [(3, "section_twice")]),
        ("[Node1]\n\n[Node2]\n", [(3, "hidden_section")]),
        ("[Maintenance]\n\n[Main]\n", [(3, "hidden_section")]),
        ("[Main]\n\n[Maintenance]\n", []),
        ("[Mai\n\n[Main]\n", [(1, "loose_header"), (3, "hidden_section")]),
        ("[Main] ; main\nPort=1\n\n[Two\nK=1\n", [(1, "loose_header"), (4, "loose_header")]),
        ("[Main] \n\n[Main]\n", [(1, "spaced_header"), (3, "hidden_section")]),
        ("[]\nK=1\n\n[]\n", [(4, "hidden_section")]),
        # No reader takes it for a header.
        (" [Xa]\nK=1\n", [(1, "spaced_header"), (2, "no_section")]),
        # Integers, only where they are expected.
        ("[A]\nPort=123456\nHost=123456\nMany=12345\n", []),
        ("[A]\nPort=123456\nHost=123456\nMany=12345\n", [(2, "long_integer")], "--int", "port", "--int", "Many"),
        ("[A]\nPort=x\nHost=\nMany=1x\n", [(2, "no_integer"), (3, "no_integer")],
         "--int", "Port", "--int", "Host", "--int", "Many"),
        ("[A]\n\n" + "x" * 511 + "\n" + "x" * 512 + "\n", [(3, "passed_over"), (4, "long_line")]),
        # Bytes that do not show.
        ("\xef\xbb\xbf[A]\nK=1\n", [(1, "byte_order_mark")]),
        ("[A]\r\nK=1\r\n\r\n", [(1, "carriage_return")]),
        ("[A]\nK=1\0x\n", [(2, "zero_byte")]),
        ("[A]\n \t\nK=1\n", [(2, "blank_line")]),
        ("[A]\n K=1\nL =1\nM= 1\nN=1 \n", [(2, "blanks"), (3, "blanks"), (4, "blanks"), (5, "blanks")]),
        ("[A]\n=5\n", [(2, "no_key")]),
        ("[A]\nURL=a=b\n", [(2, "second_equals")]),
        ("K=1\n[A]\nL=1\n", [(1, "no_section")]),
        ("; x\n[A]\r\nURL=a=b\n", [(3, "second_equals")], "--ignore", "remark", "--ignore", "carriage_return"),
    )

    def test_finds_what_readers_do_not_see(self):
        for content, expected, *options in self.ROWS:
            with self.subTest(content=content, options=options):
                result = self.run_tool("lint", self.write(content), "--json", *options)
                found = [(finding["line"], finding["kind"]) for finding in result.json["findings"]]
                self.assertEqual(found, expected)
                self.assertEqual(result.status, 1 if expected else 0)

    def test_says_it_in_words_with_file_and_line(self):
        self.expect(f"{self.write('')}: nothing found\n", "lint", self.path("f.ini"))
        result = self.run_tool("lint", self.write("[A]\nK=1"))
        self.assertEqual(result.out, self.path("f.ini") + ":2: the last line has no line feed: "
                         "no reader sees it, and a rewrite drops it\n")

    def test_a_header_that_only_the_string_reader_takes(self):
        reason = "the integer reader and the writer do not take it for a header"
        file = self.write("[Main] ; main\nPort=1\n\n[Main ; again\n")
        self.assertEqual(self.run_tool("lint", file).out.splitlines(), [
            f"{file}:1: not just [Main]: {reason}, but the string reader does",
            f"{file}:4: not just [Main ; again]: {reason}, but the string reader does"])
        file = self.write("[Main] ; main\n\n[Mai\n\n[Main ; again\n\n[Main ;; again]\n")
        self.assertIn(f"{file}:3: not just [Mai]: {reason}\n", self.run_tool("lint", file).out)
        for key, command in (("0", ["--default", "0", "--int"]), ("1", [])):
            self.expect(key + "\n", "get", *command, self.write("[Main] ; main\nPort=1\n\n"), "Main", "Port")

    def test_a_section_that_is_there_twice_is_found_by_no_reader(self):
        file = self.write("[Mai]\n\n[Main]\n\n[main]\n")
        self.assertIn(":5: section [main] is already in line 3: no reader finds it here\n",
                      self.run_tool("lint", file).out)

    def test_lines_that_look_like_remarks_are_told_once(self):
        file = self.write("; a\n[A]\n# K=1\n;K=2\n")
        self.assertEqual(self.run_tool("lint", file).out, f"{file}:1: looks like a comment, as in 2 more lines below: "
                         "profiles have none, and readers take it as any other line\n")

    def test_of_several_lines_that_hide_a_key_the_first_is_named(self):
        file = self.write("[A]\nPortZ=1\nPortA=2\nPort=3\n")
        self.assertIn(":4: key \"Port\" is hidden by line 2", self.run_tool("lint", file).out)

    def test_a_word_that_is_no_kind_cannot_be_ignored(self):
        self.expect_failure('"x" is not a kind of finding', "lint", "--ignore", "x", "f", status=2)

    def test_several_files_end_in_totals(self):
        clean, broken = self.write("", "a.ini"), self.write("x", "b.ini")
        result = self.run_tool("lint", clean, broken, self.path("none"))
        self.assertEqual(result.status, 1)
        self.assertEqual(result.out, f"{broken}:1: the last line has no line feed: no reader sees it, and a "
                         "rewrite drops it\n2 files checked, 1 finding in 1 file\n")
        self.assertEqual(result.err, f"orla: {self.path('none')} cannot be read: No such file or directory; "
                         "check its name and rights\n")
        result = self.run_tool("lint", clean, clean)
        self.assertEqual((result.status, result.out), (0, "2 files checked, 0 findings\n"))

    def test_several_files_in_json_are_an_object_a_line(self):
        clean, broken = self.write("", "a.ini"), self.write("x", "b.ini")
        result = self.run_tool("lint", "--json", clean, broken)
        objects = [json.loads(line) for line in result.out.splitlines()]
        self.assertEqual([each["file"] for each in objects], [clean, broken])
        self.assertEqual([len(each["findings"]) for each in objects], [0, 1])

    def test_a_folder_stands_for_the_profiles_in_it(self):
        os.makedirs(self.path("sub/empty.ini"))
        os.symlink(self.folder, self.path("sub/round"))
        for name in ("b.ini", "sub/C.INI", "a.ini", "none.txt", "ini"):
            self.write("x", name)
        result = self.run_tool("lint", "--json", self.folder)
        self.assertEqual([json.loads(line)["file"] for line in result.out.splitlines()],
                         [self.path(name) for name in ("a.ini", "b.ini", "sub/C.INI")])
        self.expect_failure("holds no file named *.ini", "lint", self.path("sub/empty.ini"))

    def test_a_folder_that_cannot_be_searched_is_named_and_the_others_are_searched(self):
        for name in ("a", "closed", "z"):
            os.mkdir(self.path(name))
            self.write("", f"{name}/f.ini")
        os.chmod(self.path("closed"), 0)
        self.addCleanup(os.chmod, self.path("closed"), 0o700)
        # Not even root may search it without these.
        limited = ["setpriv", "--bounding-set=-dac_override,-dac_read_search"] if os.geteuid() == 0 else []
        result = self.orla_under(limited, "profile", "lint", "--json", self.folder)
        self.assertEqual([json.loads(line)["file"] for line in result.out.splitlines()],
                         [self.path("a/f.ini"), self.path("z/f.ini")])
        self.assertEqual(result.status, 1)
        self.assertEqual(result.err, f"orla: {self.path('closed')} cannot be searched: Permission denied\n")

    def test_standard_input(self):
        result = self.run_tool("lint", "-", input="[A]\nK=1")
        self.assertTrue(result.out.startswith("standard input:2: the last line"), result.out)

    def test_the_default_path_in_words_is_the_file_that_the_environment_names(self):
        file = self.write("x")
        self.assertTrue(self.run_tool("lint", DEFAULT, config=file).out.startswith(file + ":1: "))

    def test_default_path_and_unreadable_files(self):
        result = self.run_tool("lint", "--default-path", config=self.write("x"))
        self.assertEqual((result.status, result.err), (1, ""))
        self.expect_failure("cannot be read", "lint", self.path("none"))
        self.expect_failure("FILE", "lint", "--default-path", "x", status=2)
        self.expect_failure("FILE is required", "lint", status=2)

    def test_get_says_that_a_folder_is_no_file(self):
        self.expect_failure("/tmp cannot be read: Is a directory", "get", "/tmp", "Main", "Port")


class LintAndQuirks(ProfileCase):
    """Every quirk of profile files is one that lint knows, or one that no file shows."""

    # Words of the row, a file that shows it, and the kind of finding; None: it is not in a file.
    ROWS = (
        ("first empty line", "[M]\nK=1\n\nL=1\n", "section_cut"),
        ("runs on into the next section", "[Xa]\nK=1\n[Yb]\nL=1\n", "runs_on"),
        ('first line that *begins* with the key', "[M]\nPortNumber=77\nPort=5\n", "hidden_key"),
        ("Nothing is trimmed", "[M]\nPort = 5\n", "blanks"),
        ('*last* "="', "[M]\nURL=a=b\n", "second_equals"),
        ("no comments", "[M]\n;Port=5\n", "remark"),
        ("last line without a line feed", "[M]\nK=1", "no_line_feed"),
        ("byte 0xFF", "[M]\nK=\xff\n", "byte_255"),
        ('string reader takes "[Maintenance]"', "[Maintenance]\n\n[Main]\n", "hidden_section"),
        ("integer reader gives 0", "[M]\nInt=x\n", "no_integer"),
        ("integer reader never looks at `ORLA_CONFIG`", None, None),
        ("`orla_cfg_file` settles once", None, None),
        ("default as long as the buffer", None, None),
        ("writer returns 1", None, None),
        ("leaves one descriptor", None, None),
        ("Carriage returns vanish", "[M]\r\nK=1\n", "carriage_return"),
        ("replaced by one with a single key", None, None),
        ("cannot write is not noticed", None, None),
        ("Two writers at once", None, None),
        ("left mixed by a kill", None, None),
        ("same time as a writer can find such a mixture", None, None),
        ("FIFO as a profile", None, None),
        ("copied onto itself", None, None),
    )

    def rows(self):
        with open(QUIRKS, encoding="utf-8") as file:
            section = re.search(r"(?ms)^## Profile files\n(.+?)(?=^## |\Z)", file.read())[1]
        return re.findall(r"(?m)^\| (?!What happens|---)(.+?) \|", section)

    def test_every_row_has_its_finding(self):
        for row in self.rows():
            found = [words for words, _, _ in self.ROWS if words.lower() in row.lower()]
            self.assertEqual(len(found), 1, row)

    def test_every_finding_has_its_row(self):
        rows = self.rows()
        for words, content, kind in self.ROWS:
            with self.subTest(row=words):
                self.assertTrue(any(words.lower() in row.lower() for row in rows))
                if content is None:
                    continue
                result = self.run_tool("lint", self.write(content), "--json", "--int", "Int")
                self.assertEqual([finding["kind"] for finding in result.json["findings"]], [kind])


if __name__ == "__main__":
    tool.main()
