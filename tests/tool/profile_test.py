#!/usr/bin/env python3
"""orla profile: values, entries written, the path in force, and what lint has to say."""

import json
import os
import tempfile

import tool

DEFAULT = "/opt/tav/ls/conf/k7ls.ini"
MAIN = "[Main]\nPortNumber=77\nPort=5\nName= a b \nEmpty=\nSpaces=  \nText\nBig=123456\n\nLost=1\n"


class ProfileCase(tool.Tool):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def path(self, name):
        return os.path.join(self.folder.name, name)

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
        self.expect_failure("does not open: No such file", "get", self.path("none"), "Main", "Port")
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
        self.expect_failure("does not open", "get", "--default-path", "Main", "Port",
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

    def test_shows_what_is_read_where_that_differs(self):
        file = self.write("")
        self.expect_json({"file": file, "entry": "K=a=b", "answer": "b"}, "set", file, "M", "K", "a=b")

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

    def test_takes_what_looks_like_an_option_behind_two_dashes(self):
        file = self.path("f.ini")
        self.assertEqual(self.run_tool("set", "--", file, "M", "K", "--json").status, 0)
        self.assertEqual(self.read(), "[M]\nK=--json\n")

    def test_failure_says_what_to_look_at(self):
        self.expect_failure("check that it and /tmp", "set", self.path("none/f.ini"), "M", "K", "v")


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
    def expect_findings(self, content, expected, *arguments):
        result = self.run_tool("lint", self.write(content), "--json", *arguments)
        found = [(finding["line"], finding["kind"]) for finding in result.json["findings"]]
        self.assertEqual(found, expected, content)
        self.assertEqual(result.status, 1 if expected else 0)

    def test_clean_files(self):
        for content in ("", "\n", "[A]\r\nK=1\r\n\r\n[B]\r\nK=1\r\n", "[A]\n\n; K=1\n# K=1\ntext\n\n[B]\n"):
            self.expect_findings(content, [])
        self.expect(f"{self.write('')}: nothing to trip over\n", "lint", self.path("f.ini"))

    def test_a_line_without_a_value_hides_a_key_too(self):
        self.expect_findings("[M]\nPORTNUMBER\nPort=5\n", [(3, "hidden_key")])

    def test_a_name_that_is_not_utf8_is_reported_all_the_same(self):
        self.expect_findings("[M\xe4]\nK=1\n\nL=1\n", [(3, "section_cut")])

    def test_says_it_in_words_with_file_and_line(self):
        result = self.run_tool("lint", self.write("[A]\nK=1"))
        self.assertEqual(result.out, self.path("f.ini") + ":2: the last line has no line feed: "
                         "no reader sees it, and a rewrite drops it\n")

    def test_last_line_without_line_feed(self):
        self.expect_findings("x", [(1, "no_line_feed")])

    def test_byte_255_ends_the_file(self):
        self.expect_findings("[A]\nK=\xff\n [B]\nK", [(2, "byte_255")])

    def test_empty_line_before_later_keys_is_told_once(self):
        self.expect_findings("[A]\nK=1\n\n\nL=1\nM=1\n[B]\n\nK=1\n", [(3, "section_cut"), (8, "section_cut")])

    def test_key_hidden_by_an_earlier_line(self):
        self.expect_findings("[A]\nPortNumber=1\nPort=2\n", [(3, "hidden_key")])
        self.expect_findings("[A]\nport=1\nPort=2\n", [(3, "hidden_key")])
        self.expect_findings("[A]\nPort=1\nPortNumber=2\n[B]\nPort=1\n", [])

    def test_header_with_white_space_around_it(self):
        self.expect_findings(" [A]\n\n[B]\t\n[C]\n[ D ]\n", [(1, "spaced_header"), (3, "spaced_header")])

    def test_long_values_only_where_integers_are_expected(self):
        content = "[A]\nPort=123456\nHost=123456\nMany=12345\n"
        self.expect_findings(content, [])
        self.expect_findings(content, [(2, "long_integer")], "--int", "port", "--int", "Many")

    def test_long_lines(self):
        self.expect_findings("x" * 511 + "\r\n" + "x" * 512 + "\n", [(2, "long_line")])

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
        os.symlink(self.folder.name, self.path("sub/round"))
        for name in ("b.ini", "sub/C.INI", "a.ini", "none.txt", "ini"):
            self.write("x", name)
        result = self.run_tool("lint", "--json", self.folder.name)
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
        result = self.orla_under(limited, "profile", "lint", "--json", self.folder.name)
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


if __name__ == "__main__":
    tool.main()
