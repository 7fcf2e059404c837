#!/usr/bin/env python3
"""Many texts in one call, and the lines of standard input."""

import json
import os
import subprocess
import sys
import tempfile

import tool

MODULES = sys.argv.pop(2)
FAST_CLOCK = os.path.join(MODULES, "liborla-test-fast_clock.so")
UUID = "d0f7b2fc0064.82.0a.00.02.03.00.00.00"
NIL = "000000000000.00.00.00.00.00.00.00.00"


class ManyInputs(tool.Tool):
    def expect(self, output, *arguments, given="", status=0, error=""):
        result = self.orla(*arguments, input=given)
        self.assertEqual((result.status, result.out, result.err), (status, output, error))

    def test_each_gets_a_line(self):
        for command, texts, lines in (
                (["date", "parse"], ["12/31/2007", "1/1/1970"],
                 ["12/31/2007  7673  1199059200", "1/1/1970  59331  0"]),
                (["date", "parse", "--old"], ["2007/12/31"], ["2007/12/31  7673  1199059200"]),
                (["date", "show"], ["7673", "0"], ["7673  12/31/2007", "0  12/28/1986"]),
                (["date", "stamp"], ["0", "-1"],
                 ["0  1970-01-01 00:00:00", "-1  2106-02-06 06:28:15"]),
                (["tokens"], ['"a" "b\'" c', "none"], ['2  ["a","b\'"]', "0  []"]),
                (["uuid", "show"], [UUID.upper()],
                 [UUID + "  10.0.2.3         2009-02-13 23:31:30.000400, 2044-10-19 00:43:37.000400, "
                  "2073-11-13 03:35:31.786832"])):
            output = "".join(line + "\n" for line in lines)
            given = "".join(text + "\n" for text in texts)
            self.expect(output, *command, "-", given=given)
            if len(texts) > 1:
                self.expect(output, *command, *texts)
                self.expect(output, *command, texts[0], "-", given=texts[1])

    def test_a_uuids_host_and_moments_in_one_line(self):
        lines = self.orla("uuid", "show", UUID.replace(".82.", ".87."), NIL,
                          "ce6c4fa8f07a" + UUID[12:], "ce6c4fa8f07a.99.6f.72.6c.61.00.2c.01").out
        hosts = [line[38:54] for line in lines.splitlines()]
        self.assertEqual(hosts, ["class 7         ", "-               ", "10.0.2.3        ",
                                 "reserved 300    "])
        self.assertTrue(lines.endswith(".2c.01  reserved 300     -\n"))

    def test_one_uuid_against_many(self):
        self.expect(f"{NIL}  -1\n{UUID}  0\n", "uuid", "compare", "-", UUID, given=f"{NIL}\n{UUID}\n")
        self.expect(f"{UUID}  3\n{NIL}  0\n", "uuid", "hash", "-", "101", given=f"{UUID}\n{NIL}\n")

    def test_json_is_one_object_a_line(self):
        result = self.orla("date", "show", "--json", "-", input="0\n1\n")
        self.assertEqual([json.loads(line) for line in result.out.splitlines()],
                         [{"input": "0", "number": 0, "date": "12/28/1986", "iso": "1986-12-28"},
                          {"input": "1", "number": 1, "date": "12/29/1986", "iso": "1986-12-29"}])

    def test_a_field_of_each_gets_a_line(self):
        self.expect("0\n1\n", "date", "parse", "--field", "number", "-", given="12/28/1986\n12/29/1986\n")
        self.expect("", "uuid", "show", "--field", "address", "-", given=NIL + "\n", status=1,
                    error='orla: standard input, line 1: the report has no field "address"; it has input, text, '
                    "time_high, time_low, reserved, family, host, class_code, instants\n")
        result = self.orla("uuid", "show", "--field", "address", NIL, UUID)
        self.assertEqual((result.status, result.out), (1, "10.0.2.3\n"))
        self.assertIn(f'orla: "{NIL}": the report has no field', result.err)

    def test_iso_dates(self):
        self.expect("7673  2007-12-31\n0  1986-12-28\n", "date", "show", "--iso", "-", given="7673\n0\n")

    def test_a_bad_line_is_told_by_its_number_and_the_others_go_on(self):
        self.expect("0  12/28/1986\n1  12/29/1986\n", "date", "show", "-", given="0\nx\n1\n", status=1,
                    error='orla: standard input, line 2: "x" is not a whole number from 0 to 65535\n')
        for command, bad in ((["uuid", "show"], "x"), (["uuid", "show", "--json"], "x"),
                             (["date", "parse"], "13/1/2000"), (["date", "parse"], "2/30/2000"),
                             (["date", "stamp"], "4294967296"), (["date", "show"], ""),
                             (["tokens"], "a\0b")):
            result = self.orla(*command, "-", input=bad + "\n")
            self.assertEqual((result.status, result.out), (1, ""), command)
            self.assertIn("orla: standard input, line 1: ", result.err)

    def test_a_bad_argument_is_told_and_the_others_go_on(self):
        result = self.orla("uuid", "hash", "-", "101", input="x\n" + UUID)
        self.assertEqual((result.status, result.out), (1, UUID + "  3\n"))
        result = self.orla("date", "parse", "1/1/1970", "x")
        self.assertEqual((result.status, result.out), (1, "1/1/1970  59331  0\n"))
        self.assertIn('orla: "x" is not a date', result.err)

    def test_lines_may_end_as_they_do_elsewhere(self):
        self.expect("0  12/28/1986\n1  12/29/1986\n", "date", "show", "-", given="0\r\n1")
        self.expect("", "date", "show", "-", given="")

    def test_a_line_may_have_any_length(self):
        for length in (65534, 65535, 65536, 300000):
            text = "x" * length
            self.expect(f'1  ["{text}"]\n0  []\n', "tokens", "-", given=f'"{text}"\nend\n')

    def test_texts_are_taken_as_they_stand(self):
        self.expect('2  ["a","b"]\n0  []\n', "tokens", '["a","b"]', "{}")
        self.expect('1  ["-"]\n1  ["--"]\n', "tokens", "--", '-"-"', '"--"')

    def test_what_cannot_be_read_is_a_failure(self):
        folder = os.open("/", os.O_RDONLY)
        self.addCleanup(os.close, folder)
        result = self.orla("tokens", "-", stdin=folder)
        self.assertEqual((result.status, result.out), (1, ""))
        self.assertEqual(result.err, "orla: standard input cannot be read: Is a directory\n")

    def test_an_answer_comes_before_the_next_line_is_given(self):
        with subprocess.Popen([tool.PATH, "date", "show", "-"], stdin=subprocess.PIPE, text=True,
                              stdout=subprocess.PIPE, env=self.environment()) as process:
            for number, date in (("0", "12/28/1986"), ("1", "12/29/1986")):
                process.stdin.write(number + "\n")
                process.stdin.flush()
                self.assertEqual(process.stdout.readline(), f"{number}  {date}\n")
            process.stdin.close()
        self.assertEqual(process.returncode, 0)

    def test_a_hundred_thousand_come_back_in_their_order(self):
        texts = [f"{number:012x}{UUID[12:]}" for number in range(100000)]
        lines = self.orla("uuid", "show", "-", input="\n".join(texts)).out.splitlines()
        self.assertEqual([line[:36] for line in lines], texts)

    def test_trace_writes_each_line(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "trace")
            result = self.orla("trace", "-", input="one\ntwo\n",
                               environment={"K7LIB_VERB": "y", "K7LOG_PATH": path})
            self.assertEqual((result.status, result.out), (0, f"{path}\n{path}\n"))
            with open(path, encoding="ascii") as file:
                self.assertEqual([line.split()[-1] for line in file], ["one", "two"])
        result = self.orla("trace", "one", "--", "-two", environment={"K7LIB_VERB": "y"})
        self.assertEqual((result.status, result.out), (0, "one\n\n-two\n\n"))


class NewUuids(tool.Tool):
    # With 4 microseconds from call to call, the last 53,392 ticks of a second and the first of the
    # next have the same time_low in the same order, and some of them the same time_high.
    COUNT = 120000

    def made(self, *arguments):
        result = self.orla("uuid", "new", "-n", str(self.COUNT), *arguments,
                           environment=self.preloaded(FAST_CLOCK))
        self.assertEqual((result.status, result.err), (0, ""))
        return result

    def test_are_distinct_across_the_turn_of_a_second(self):
        self.assertEqual(len(set(self.made().out.splitlines())), self.COUNT)

    def test_are_as_they_come_without_waiting(self):
        made = self.made("--no-wait").out.splitlines()
        self.assertEqual(len(made), self.COUNT)
        self.assertLess(len(set(made)), self.COUNT)

    def test_are_the_same_in_json(self):
        self.assertEqual(self.made("--json").json, {"uuids": self.made().out.splitlines()})


if __name__ == "__main__":
    tool.main()
