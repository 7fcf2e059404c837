#!/usr/bin/env python3
"""Holds the JSON of every command against docs/json.md: every key it prints stands there with
its type, and every key documented is printed by one of the calls below."""

import json
import os
import re
import sys

import tool

DOCUMENT = sys.argv.pop(2)
MODULES = sys.argv.pop(2)
UUID = "d0f7b2fc0064.82.0a.00.02.03.00.00.00"
UUIDS = [UUID, UUID.replace(".82.", ".02."), UUID.replace(".82.", ".87."), "ce6c4fa8f07a" + UUID[12:]]
GOOD_MODULE = os.path.join(MODULES, "liborla-test-good.so")
TYPES = {"integer": int, "string": str, "boolean": bool, "null": type(None)}

# Arrays of objects that are always there, and so are in the document themselves.
OBJECT_LISTS = ("findings", "sections", "entries", "differences")

# Command to the arguments of its calls.
CALLS = {
    "host": [[]],
    "now": [[]],
    "date parse": [["12/31/2007"], ["1/1/1990", "2/2/1990"]],
    "date show": [["7673"], ["0", "1"]],
    "date fields": [["2007", "12", "31"]],
    "date lengths": [["2100"], ["2100", "2"]],
    "date stamp": [["0"], ["-1", "1"]],
    "uuid new": [[], ["-n", "3"], ["-n", "3", "--no-wait"]],
    "uuid reserved": [["300"]],
    "uuid show": [[text] for text in UUIDS] + [UUIDS],
    "uuid compare": [[UUID, UUID]],
    "uuid hash": [[UUID, "101"]],
    "names": [[]],
    "tokens": [["'a'"], ['"a"', '"b" ""']],
    "load": [["nowhere.so"], [GOOD_MODULE], [GOOD_MODULE, "orla_module_answer", "nope", "nope_missing"]],
    "trace": [["a message"], ["one", "two"]],
    "profile get": [["FILE", "M", "K"], ["FILE", "M", "K", "--int"], ["FILE", "M", "N", "--default", "d"]],
    "profile set": [["FILE", "M", "K", "7"], ["FILE", "M", "K", "a=b"]],
    "profile unset": [["FILE", "M", "K"]],
    "profile list": [["FILE"], ["FILE", "M"]],
    "profile diff": [["FILE", "EMPTY"], ["EMPTY", "FILE"]],
    "profile path": [[]],
    "profile lint": [["FILE"], ["FILE", "FILE"]],
}


def is_of_type(value, names):
    for name in names.split(" or "):
        if name == "array of strings":
            if isinstance(value, list) and all(isinstance(each, str) for each in value):
                return True
        elif name == "array of integers":
            if isinstance(value, list) and all(type(each) is int for each in value):
                return True
        elif name == "array of objects":
            if isinstance(value, list) and all(isinstance(each, dict) for each in value):
                return True
        elif type(value) is TYPES[name]:  # True is no integer here
            return True
    return False


def pairs(value, path=""):
    """The keys of an object, those of objects in it after a dot, and their values."""
    for key, each in value.items():
        if isinstance(each, dict):
            yield from pairs(each, f"{path}{key}.")
            continue
        inner = isinstance(each, list) and each and isinstance(each[0], dict)
        if not inner or key in OBJECT_LISTS:
            yield path + key, each
        for element in each if inner else ():
            yield from pairs(element, f"{path}{key}[].")


def documented():
    """Command to its keys, each with its type and whether it is optional."""
    with open(DOCUMENT, encoding="utf-8") as file:
        text = file.read()
    commands = {}
    for name, body in re.findall(r"(?m)^## orla (.+)\n\n((?:.+\n)+)", text):
        rows = re.findall(r"(?m)^\| `(.+?)` \| (.+?)(, optional)? \| .+ \|$", body)
        commands[name] = {key: (types, bool(optional)) for key, types, optional in rows}
    return commands


class Json(tool.Tool):
    def setUp(self):
        self.folder = self.new_folder()
        self.profile = os.path.join(self.folder, "app.ini")

    def run_command(self, command, arguments, *options):
        names = {"FILE": self.profile, "EMPTY": os.path.join(self.folder, "empty.ini")}
        arguments = [names.get(word, word) for word in arguments]
        environment = {"ORLA_CONFIG": os.path.join(self.folder, "none")}
        if command == "trace":
            environment["K7LIB_VERB"] = "y"
        with open(self.profile, "w", encoding="ascii") as file:
            file.write("[M]\nK=5\nlast")
        with open(names["EMPTY"], "w", encoding="ascii"):
            pass
        result = self.orla(*command.split(), "--json", *options, *arguments, environment=environment)
        self.assertNotEqual(result.status, 2, result.err)
        return result

    def objects(self, command, arguments):
        result = self.run_command(command, arguments)
        try:
            return [json.loads(result.out)]
        except json.JSONDecodeError:  # several: one a line
            return [json.loads(line) for line in result.out.splitlines()]

    def check(self, value, keys):
        """Returns the keys that were there."""
        seen = set()
        for key, each in pairs(value):
            if key.endswith("_missing") and key not in keys:
                key = key.removesuffix("_missing")
                self.assertIn("null", keys[key][0])
                self.assertIsInstance(each, str)
                continue
            self.assertIn(key, keys)
            self.assertTrue(is_of_type(each, keys[key][0]), (key, each))
            seen.add(key)
        for key, (_, optional) in keys.items():
            self.assertTrue(optional or key in seen or "[]" in key, f"{key} lacks")
        return seen

    def test_every_command_is_documented(self):
        self.assertEqual(list(documented()), list(CALLS))

    def test_every_key_is_documented_with_its_type_and_every_documented_key_is_there(self):
        for command, keys in documented().items():
            seen = set()
            for arguments in CALLS[command]:
                for value in self.objects(command, arguments):
                    several = value.pop("input", None)
                    self.assertEqual(several is not None, len(arguments) > 1 and several in arguments)
                    with self.subTest(command=command, arguments=arguments):
                        seen |= self.check(value, keys)
            with self.subTest(command=command):
                self.assertEqual(seen, set(keys))

    def test_every_name_is_a_field_of_the_report(self):
        changing = ("now", "uuid new", "uuid reserved")
        for command, calls in CALLS.items():
            value, = self.objects(command, calls[0])
            for name, expected in pairs(value):
                if name.endswith("_missing") or expected is None:
                    continue
                printed = self.run_command(command, calls[0], "--field", name).out
                found = [json.loads(line) for line in printed.splitlines()]
                with self.subTest(command=command, name=name):
                    if command in changing:
                        self.assertEqual(len(found), 1)
                    elif "[]" not in name:
                        self.assertEqual(found, [expected])
                    else:
                        self.assertIn(expected, found)

    def test_the_tool_knows_every_documented_name(self):
        for command, keys in documented().items():
            proposed = self.orla("--complete", *command.split(), "--field", "").out.split()
            several = "- for the lines of standard input" in self.orla(*command.split(), "--help").out
            wanted = ["input"] * several + [key.replace("[]", "") for key in keys]
            self.assertEqual(proposed, wanted, command)

    def test_a_field_is_bare_text(self):
        self.assertEqual(self.orla("date", "show", "0", "--field", "date").out, "12/28/1986\n")
        self.assertEqual(self.orla("date", "lengths", "2007", "--field", "months").out.split()[1], "28")
        self.assertEqual(self.orla("tokens", '"a" "b c"', "--field", "tokens").out, "a\nb c\n")
        self.assertEqual(self.orla("uuid", "compare", UUID, UUID, "--field", "equal").out, "true\n")
        count = self.orla("host", "--field", "processors.count").out
        self.assertGreaterEqual(int(count), 1)
        self.assertEqual(self.orla("load", GOOD_MODULE, "orla_module_answer", "no", "--field",
                                   "symbols.found").out, "true\nfalse\n")

    def test_a_field_is_a_line_of_json_where_that_is_wanted(self):
        for arguments, output in ((["date", "lengths", "2007", "2", "--field", "months"], "[28]\n"),
                                  (["tokens", '"a" "b c"', "--field", "tokens"], '["a","b c"]\n'),
                                  (["tokens", '"a"', "", "--field", "tokens"], '["a"]\n[]\n'),
                                  (["tokens", "", "--field", "tokens[]"], "[]\n"),
                                  (["uuid", "reserved", "1", "--field", "uuids"], '["'),
                                  (["load", GOOD_MODULE, "no", "--field", "symbols[].found"], "false\n"),
                                  (["load", GOOD_MODULE, "no", "--field", "symbols"], '[{"name":"no",')):
            self.assertTrue(self.orla(*arguments, "--json").out.startswith(output), arguments)
        for count in (1, 3):
            line, = self.orla("uuid", "new", "-n", str(count), "--field", "uuids", "--json").out.splitlines()
            self.assertEqual(len(json.loads(line)), count)

    def test_an_element_without_the_name_has_an_empty_line(self):
        symbols = ["orla_module_answer", "nope", "orla_module_answer"]
        for name in ("symbols[].reason", "symbols.reason"):
            result = self.orla("load", GOOD_MODULE, *symbols, "--field", name)
            self.assertEqual((result.status, result.err), (1, ""))
            self.assertRegex(result.out, r"\A\n.*undefined symbol: nope\n\n\Z")
        result = self.orla("load", GOOD_MODULE, symbols[0], "--field", "symbols.reason")
        self.assertEqual((result.status, result.out, result.err), (0, "\n", ""))
        result = self.orla("load", GOOD_MODULE, symbols[0], "--field", "symbols.reason", "--json")
        self.assertEqual((result.status, result.out), (0, "null\n"))
        changed = self.run_command("profile diff", ["FILE", "EMPTY"], "--field", "differences.new")
        self.assertEqual((changed.status, changed.out, changed.err), (1, "null\n", ""))

    def test_a_misspelt_field_is_refused_before_anything_is_done(self):
        for command, calls in CALLS.items():
            for name in ("typo", "input.typo", ".", "processors.", "symbols[].typo", "[]"):
                result = self.run_command(command, calls[0], "--field", name)
                self.assertEqual((result.status, result.out), (1, ""), (command, name))
                self.assertIn(f'the report has no field "{name}"', result.err)
                with open(self.profile, encoding="ascii") as file:
                    self.assertEqual(file.read(), "[M]\nK=5\nlast", command)
        # Where the array is empty.
        result = self.run_command("profile diff", ["FILE", "FILE"], "--field", "differences.typo")
        self.assertEqual((result.status, result.err.partition("; ")[2]), (1, "it has section, key, old, new\n"))
        result = self.run_command("profile diff", ["FILE", "FILE"], "--field", "differences.new")
        self.assertEqual((result.status, result.out, result.err), (0, "", ""))

    def test_a_reason_is_a_field_too(self):
        self.assertIn("cannot open", self.orla("load", "nowhere.so", "--field", "by_name_missing").out)
        self.assert_fails("load", GOOD_MODULE, "--field", "by_name_missing", naming="it has library, opened, file\n")

    def test_a_field_that_is_not_there_is_a_failure(self):
        self.assert_fails("host", "--field", "nope",
                          naming='the report has no field "nope"; it has processors, memory, disks\n')
        self.assert_fails("host", "--field", "memory.nope", naming="it has size, unit, total\n")
        self.assert_fails("host", "--field", "memory.size.x", naming='has no field "memory.size.x"\n')
        self.assert_fails("uuid", "new", "--field", "x", naming="it has uuids\n")
        self.assert_wrong_use("host", "--field", "", naming="name a value")

    def test_a_symbol_may_be_called_like_any_key(self):
        result = self.orla("load", "--json", GOOD_MODULE, "orla_module_answer", "name", "name_missing")
        found = [(symbol["name"], symbol["found"]) for symbol in result.json["symbols"]]
        self.assertEqual(found, [("orla_module_answer", True), ("name", False),
                                 ("name_missing", False)])


if __name__ == "__main__":
    tool.main()
