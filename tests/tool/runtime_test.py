#!/usr/bin/env python3
"""Runs the tool's commands for names, tokens, loading and tracing, as people and as programs do."""

import os
import pathlib
import re
import resource
import shutil
import sys
import unittest

import tool

MODULES = sys.argv.pop(2)
GOOD_MODULE = os.path.join(MODULES, "liborla-test-good.so")
UNRESOLVED_MODULE = os.path.join(MODULES, "liborla-test-unresolved.so")
FALLBACK_FOLDER = os.path.join(MODULES, "liborla-test-fallback_folder.so")
TRACE_HEADER = pathlib.Path(__file__).parents[2] / "include" / "orla" / "trace.h"
ROTATION_SIZE = int(re.search(r"define ORLA_TRACE_ROTATION_SIZE (\d+)", TRACE_HEADER.read_text())[1])
PROVIDER_MODULE = os.path.join(MODULES, "liborla-test-provider.so")


class ToolTest(tool.Tool):
    def run_tool(self, *arguments, status=0, **variables):
        result = self.orla(*arguments, environment=variables)
        self.assertEqual(result.status, status, result.out + result.err)
        return result

    def json_of(self, *arguments, status=0, **variables):
        return self.run_tool(*arguments, "--json", status=status, **variables).json


class Names(ToolTest):
    def with_companion(self, module):
        folder = self.new_folder(prefix="orla-test-")
        os.symlink(module, os.path.join(folder, "liborlanode.so"))
        return {"LD_LIBRARY_PATH": folder}

    def test_shows_the_three_names(self):
        names = self.json_of("names", **self.with_companion(PROVIDER_MODULE))
        self.assertEqual(names["node"], "node-of-a-module")
        self.assertTrue(names["user"])
        self.assertTrue(names["group"])

    def test_shows_rows_for_people(self):
        text = self.run_tool("names", **self.with_companion(PROVIDER_MODULE)).out
        self.assertRegex(text, r"(?m)^user +\S+ +real user id \d+$")
        self.assertRegex(text, r"(?m)^group +\S+ +real group id \d+$")
        self.assertRegex(text, r"(?m)^node +node-of-a-module ")

    def test_keeps_json_clean_of_what_the_loader_prints(self):
        run = self.run_tool("names", "--json", status=1, **self.with_companion(GOOD_MODULE))
        names = run.json
        self.assertIsNone(names["node"])
        self.assertIn("liborlanode.so", names["node_missing"])
        self.assertIn("Error looking up procedure orla_node_name\n,", run.err)


class Tokens(ToolTest):
    def test_lists_all_tokens(self):
        found = self.json_of("tokens", '"alpha" , "" and "two words" "open')
        self.assertEqual(found, {"count": 3, "tokens": ["alpha", "", "two words"]})

    def test_takes_another_delimiter(self):
        found = self.json_of("tokens", "--delimiter", "|", 'a|"b"|c')
        self.assertEqual(found, {"count": 1, "tokens": ['"b"']})

    def test_finds_none(self):
        self.assertEqual(self.json_of("tokens", "plain"), {"count": 0, "tokens": []})
        self.assertEqual(self.json_of("tokens", ""), {"count": 0, "tokens": []})

    def test_shows_rows_for_people(self):
        text = self.run_tool("tokens", '"a" ""').out
        self.assertEqual(text, 'count    2  pairs of the delimiter\ntoken 0  "a"\ntoken 1  ""\n')

    def test_tells_that_the_count_left_its_16_bits(self):
        text = self.run_tool("tokens", "|" * 70000, "--delimiter", "|").out
        self.assertIn("count        2232  wrong: counted in 16 bits, and the text has more delimiters\n", text)
        self.assertIn("\ntoken 34999  ", text)

    def test_refuses_a_delimiter_that_is_not_one_byte(self):
        for delimiter in ("", "ab", "é"):
            run = self.run_tool("tokens", "text", "--delimiter", delimiter, status=2)
            self.assertIn("the delimiter is one byte", run.err)
            self.assertEqual(run.out, "")


class Load(ToolTest):
    def test_tells_that_a_library_opens_by_name(self):
        found = self.json_of("load", GOOD_MODULE, "orla_module_answer")
        self.assertEqual(found, {"library": GOOD_MODULE, "opened": "by name", "file": GOOD_MODULE,
                                 "symbols": [{"name": "orla_module_answer", "found": True}]})

    def test_tells_that_a_library_opens_in_the_fallback_directory(self):
        environment = {**self.preloaded(FALLBACK_FOLDER), "ORLA_TEST_FALLBACK": MODULES}
        found = self.json_of("load", "liborla-test-good.so", "orla_module_answer", **environment)
        self.assertEqual(found, {"library": "liborla-test-good.so", "opened": "in the fallback directory",
                                 "file": "/opt/tav/ls/dll/liborla-test-good.so",
                                 "symbols": [{"name": "orla_module_answer", "found": True}]})
        found = self.json_of("load", "liborla-test-unresolved.so", status=1, **environment)
        self.assertIn("cannot open shared object file", found["by_name_missing"])
        self.assertIn("orla_module_defined_nowhere", found["in_fallback_directory_missing"])

    def test_gives_the_linkers_text_for_a_missing_symbol(self):
        found = self.json_of("load", GOOD_MODULE, "orla_module_answer", "missing", status=1)
        answer, missing = found["symbols"]
        self.assertEqual(answer, {"name": "orla_module_answer", "found": True})
        self.assertEqual((missing["name"], missing["found"]), ("missing", False))
        self.assertIn("undefined symbol: missing", missing["reason"])

    def test_tells_of_a_symbol_whose_value_is_null(self):
        found = self.json_of("load", GOOD_MODULE, "orla_module_null", status=1)
        self.assertIn("null", found["symbols"][0]["reason"])

    def test_gives_the_linkers_texts_for_a_library_that_does_not_open(self):
        found = self.json_of("load", "liborla-test-nowhere.so", status=1)
        self.assertIsNone(found["opened"])
        self.assertIn("liborla-test-nowhere.so: cannot open", found["by_name_missing"])
        self.assertIn("/opt/tav/ls/dll/liborla-test-nowhere.so: cannot open",
                      found["in_fallback_directory_missing"])

    def test_names_the_symbol_that_a_library_lacks(self):
        found = self.json_of("load", UNRESOLVED_MODULE, status=1)
        self.assertIn("orla_module_defined_nowhere", found["by_name_missing"])

    def test_tells_that_a_long_name_is_not_tried_in_the_fallback_directory(self):
        found = self.json_of("load", "n" * 240, status=1)
        self.assertIn("not tried", found["in_fallback_directory_missing"])
        found = self.json_of("load", "n" * 239, status=1)
        self.assertNotIn("not tried", found["in_fallback_directory_missing"])

    def test_keeps_json_clean_of_trace_lines(self):
        run = self.run_tool("load", "liborla-test-nowhere.so", "--json", status=1, K7LIB_VERB="y")
        self.assertIsNone(run.json["opened"])
        self.assertIn("KVRAC0005E orla_slnk_load_library(): ", run.err)

    def test_shows_rows_for_people(self):
        text = self.run_tool("load", GOOD_MODULE, "orla_module_answer").out
        self.assertRegex(text, r"(?m)^ *opened +by name$")
        self.assertRegex(text, r"(?m)^ *orla_module_answer +found$")

    def test_needs_a_library(self):
        self.run_tool("load", "", status=2)
        self.run_tool("load", status=2)


class Trace(ToolTest):
    def setUp(self):
        self.path = pathlib.Path(self.new_folder(prefix="orla-test-"), "trace")

    def test_writes_a_line_into_the_file(self):
        said = self.json_of("trace", "100%% done", K7LIB_VERB="y", K7LOG_PATH=str(self.path))
        self.assertEqual(said, {"written": True, "to": str(self.path)})
        self.assertRegex(self.path.read_text(),
                         r"\A\d\d/\d\d/\d{4} [ \d]\d:\d\d:\d\d \d+ 100% done\n\Z")

    def test_cuts_what_the_message_buffer_does_not_hold(self):
        said = self.run_tool("trace", "m" * 2000, K7LIB_VERB="y", K7LOG_PATH=str(self.path)).out
        self.assertIn("cut at 1022 characters", said)
        self.assertTrue(self.path.read_text().endswith(" " + "m" * 1022 + "\n"))

    def test_tells_that_the_file_was_moved(self):
        self.path.write_bytes(b"." * ROTATION_SIZE)
        said = self.json_of("trace", "the last one", K7LIB_VERB="y", K7LOG_PATH=str(self.path))
        self.assertEqual(said["to"], str(self.path) + ".1")
        self.assertFalse(self.path.exists())

    # In a mount namespace of its own: a file system of two pages, of which the trace file has the
    # bytes given and another file the rest. What the file then holds follows what the tool prints.
    FULL_DISK = """
        mount -t tmpfs -o size=8k none "$1" || exit 125
        [ "$2" -eq 0 ] || head -c "$2" /dev/zero > "$1/trace"
        head -c 8192 /dev/zero > "$1/filler" 2> /dev/null
        K7LIB_VERB=y K7LOG_PATH=$1/trace "$3" trace lost also
        status=$?
        tail -c +"$(($2 + 1))" "$1/trace"
        exit "$status"
    """

    def trace_to_a_full_disk(self, size):
        """Two messages, with so many bytes in the trace file."""
        folder = self.path.with_name("disk")
        folder.mkdir()
        user = [] if os.geteuid() == 0 else ["--map-root-user"]
        result = self.orla_under(["unshare", "--mount", *user, "sh", "-c", self.FULL_DISK, "sh",
                                  str(folder), str(size)])
        if result.status == 125 or result.err.startswith("unshare:"):
            self.skipTest("no mounts of its own for this process: " + result.err)
        self.assertEqual(result.status, 1)
        return result.out, result.err.replace(str(folder), "disk")

    @unittest.skipUnless(shutil.which("unshare"), "unshare is not installed")
    def test_tells_that_the_disk_is_full(self):
        nothing = 'orla: nothing was written to the trace file "disk/trace": No space left on device\n'
        self.assertEqual(self.trace_to_a_full_disk(0), ("", nothing * 2))

    @unittest.skipUnless(shutil.which("unshare"), "unshare is not installed")
    def test_tells_that_a_full_disk_cut_the_line(self):
        out, err = self.trace_to_a_full_disk(4090)
        self.assertRegex(out, r"\A\d\d/\d\d/\Z")
        cut, nothing = err.splitlines()
        self.assertEqual(cut, 'orla: the line was cut after 6 bytes in the trace file "disk/trace": '
                         "No space left on device")
        self.assertIn("nothing was written", nothing)

    def trace_within(self, limit):
        """A run in which no file may have more bytes than that."""
        return self.orla("trace", "lost", environment={"K7LIB_VERB": "y", "K7LOG_PATH": str(self.path)},
                         preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))

    def test_tells_that_a_limit_kept_the_file_from_growing(self):
        self.path.write_text("x")
        for limit in (0, 1):
            result = self.trace_within(limit)
            self.assertEqual((result.status, result.out, result.err),
                             (1, "", f'orla: nothing was written to the trace file "{self.path}": '
                              "File too large\n"))

    def test_tells_that_the_line_was_cut_that_moved_the_file(self):
        self.path.write_bytes(b"." * ROTATION_SIZE)
        result = self.trace_within(ROTATION_SIZE + 6)
        self.assertEqual((result.status, result.out, result.err),
                         (1, "", f'orla: the line was cut after 6 bytes in the trace file "{self.path}.1": '
                          "File too large\n"))

    def test_tells_that_a_file_does_not_open_where_a_limit_silences_the_library(self):
        self.path = self.path / "below"
        self.assertIn("cannot be opened (No such file or directory)", self.trace_within(0).err)

    def test_tells_that_a_device_is_full(self):
        run = self.run_tool("trace", "lost", status=1, K7LIB_VERB="y", K7LOG_PATH="/dev/full")
        self.assertEqual((run.out, run.err), ("", 'orla: nothing was written to the trace file "/dev/full": '
                                              "No space left on device\n"))
        self.run_tool("trace", "nowhere", K7LIB_VERB="y", K7LOG_PATH="/dev/null")

    def test_goes_to_standard_output_without_a_path(self):
        text = self.run_tool("trace", "100%% done", K7LIB_VERB="y").out
        self.assertTrue(text.startswith("100%% done\n\n"))
        self.assertRegex(text, r"(?m)^to +standard output +K7LOG_PATH is not set$")

    def test_keeps_json_clean_of_the_line(self):
        said = self.json_of("trace", "a line", K7LIB_VERB="y")
        self.assertEqual(said, {"written": True, "to": "standard output", "line": "a line"})

    def test_tells_that_the_switch_is_off(self):
        run = self.run_tool("trace", "a line", status=1, K7LOG_PATH=str(self.path))
        self.assertIn("set K7LIB_VERB=y", run.err)
        self.assertFalse(self.path.exists())

    def test_tells_that_the_thread_switch_alone_does_not_do(self):
        run = self.run_tool("trace", "a line", status=1, K7THR_VERB="y", K7LOG_PATH=str(self.path))
        self.assertIn("K7THR_VERB alone", run.err)
        self.assertFalse(self.path.exists())

    def test_tells_that_the_file_cannot_be_opened(self):
        run = self.run_tool("trace", "a line", status=1, K7LIB_VERB="y",
                            K7LOG_PATH=str(self.path / "below"))
        self.assertIn("cannot be opened (No such file or directory)", run.err)
        self.assertEqual(run.out, "")


if __name__ == "__main__":
    tool.main()
