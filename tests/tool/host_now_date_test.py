#!/usr/bin/env python3
"""The subcommands host, now and date, and what every subcommand shares."""

import json
import os
import re
import shutil
import tempfile
import time

import tool


class Program(tool.Tool):
    def test_help_lists_the_subcommands_and_exit_statuses(self):
        result = self.orla("--help")
        self.assertEqual(result.status, 0)
        for name in ("host", "now", "date", "Exit status"):
            self.assertIn(name, result.out)

    def test_version(self):
        self.assertRegex(self.orla("--version").out, r"^orla \d+\.\d+\.\d+\n$")

    def test_help_comes_in_every_form(self):
        text = self.orla("--help").out
        self.assertEqual(self.orla("help").out, text)
        for path in (["date"], ["date", "parse"], ["profile", "get"], ["help"]):
            text = self.orla(*path, "--help").out
            self.assertIn("Usage: orla " + " ".join(path), text)
            for form in (["help", *path], [*path, "-h"]):
                result = self.orla(*form)
                self.assertEqual((result.status, result.out, result.err), (0, text, ""), form)
        self.assert_wrong_use("help", "dat", naming='there is no subcommand "dat"; did you mean "date"?\n'
                              'Try "orla --help".\n')
        self.assert_wrong_use("help", "date", "pars", naming='did you mean "parse"?\nTry "orla date --help".\n')

    def test_usage_shows_what_is_required(self):
        for path, usage in ((["profile", "get"], "{FILE | --default-path} SECTION KEY"),
                            (["profile", "set"], "{FILE | --default-path} SECTION KEY VALUE"),
                            (["profile", "list"], "{FILE | --default-path} [SECTION]"),
                            (["profile", "lint"], "{FILE... | --default-path}"),
                            (["profile", "diff"], "OLD NEW"), (["date", "lengths"], "YEAR [MONTH]"),
                            (["date", "parse"], "TEXT..."), (["date"], "SUBCOMMAND"),
                            (["help"], "[SUBCOMMAND...]")):
            self.assertIn(f"\nUsage: orla {' '.join(path)} [OPTIONS] {usage}\n",
                          self.orla(*path, "--help").out)

    def test_help_marks_what_is_required(self):
        for command, required in (("get", ["SECTION", "KEY"]), ("set", ["SECTION", "KEY", "VALUE"]),
                                  ("unset", ["SECTION", "KEY"]), ("diff", ["OLD", "NEW"]), ("list", [])):
            text = self.orla("profile", command, "--help").out
            self.assertEqual(re.findall(r"(?m)^  ([A-Z]+) REQUIRED  ", text), required)

    def test_options_may_stand_before_the_subcommand(self):
        for arguments in (["--json", "date", "show", "0"], ["date", "--json", "show", "0"],
                          ["date", "show", "0", "--json"]):
            self.assertEqual(self.orla(*arguments).json["date"], "12/28/1986")
        self.assertEqual(self.orla("--field", "date", "date", "show", "0").out, "12/28/1986\n")

    def test_numbers_are_decimal(self):
        for arguments, output in ((["date", "fields", "2007", "08", "09"], "08/09/2007"),
                                  (["date", "fields", "2007", "010", "010"], "10/10/2007"),
                                  (["date", "show", "010"], "01/07/1987"),
                                  (["date", "stamp", "010"], "1970-01-01 00:00:10"),
                                  (["date", "lengths", "2007", "08"], "month 8"),
                                  (["uuid", "reserved", "010"], ".0a.00\n"),
                                  (["uuid", "hash", "000000000000.00.00.00.00.00.00.00.00", "010"], "of 0 to 9"),
                                  (["uuid", "new", "-n", "01", "--field", "uuids"], ".")):
            result = self.orla(*arguments)
            self.assertEqual((result.status, result.err), (0, ""), arguments)
            self.assertIn(output, result.out)
        nil = "000000000000.00.00.00.00.00.00.00.00"
        for arguments in (["date", "fields", "0x7d7", "1", "1"], ["date", "fields", "2007", "0x1", "1"],
                          ["date", "show", "0x1"], ["date", "stamp", "0x1"], ["date", "lengths", "2007", "0x2"],
                          ["uuid", "reserved", "0x10"], ["uuid", "hash", nil, "0x10"],
                          ["uuid", "new", "-n", "0x1"]):
            self.assert_wrong_use(*arguments, naming="is not a whole number from ")

    def test_wrong_use(self):
        self.assert_wrong_use(naming="subcommand is required")
        self.assert_wrong_use("nonsense")
        self.assert_wrong_use("host", "nonsense")
        self.assert_wrong_use("date")


class Host(tool.Tool):
    def test_json_holds_every_figure(self):
        result = self.orla("host", "--json")
        host = result.json
        self.assertEqual(list(host), ["processors", "memory", "disks"])
        processors = host["processors"]
        self.assertEqual(processors["configured"], os.sysconf("SC_NPROCESSORS_CONF"))
        self.assertIn(processors["method"], (0, 1, 2, 3))
        self.assertGreaterEqual(processors["count"], 1)
        self.assertEqual(processors["kernel_release"], os.uname().release)
        memory = host["memory"]
        self.assertEqual(memory["total"] // memory["unit"], memory["size"])
        total = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") >> 20
        self.assertAlmostEqual(memory["total"], total, delta=1)

    def test_text_shows_the_same_with_words(self):
        result = self.orla("host")
        for text in ("Processors\n", "Memory\n", "Disks\n", "processor says", "kernel says"):
            self.assertIn(text, result.out)

    def test_trace_lines_do_not_stand_between_the_figures(self):
        result = self.orla("host", "--json", environment={"K7LIB_VERB": "y"})
        self.assertIn("memory", result.json)
        self.assertIn("KVRCA0001I tavGetMemorySize(): entering.", result.err)

    def test_disks_need_root(self):
        if os.geteuid() != 0:
            self.check_disks_need_root({})
            return
        # Another user may not be able to reach the build folder, but can reach a copy.
        with tempfile.TemporaryDirectory() as folder:
            os.chmod(folder, 0o755)
            build = os.path.dirname(tool.PATH)
            for name in (os.path.basename(tool.PATH), "liborla.so.1"):
                shutil.copy(os.path.join(build, name), folder)
            self.check_disks_need_root({"user": 65534, "cwd": "/",
                                        "path": os.path.join(folder, "orla")})

    def check_disks_need_root(self, options):
        result = self.orla("host", "--json", **options)
        self.assertEqual(result.status, 0)
        self.assertEqual(result.json["disks"], {"count": None, "count_missing": "needs root"})
        self.assertGreaterEqual(result.json["processors"]["count"], 1)
        result = self.orla("host", "--field", "disks.count", **options)
        self.assertEqual((result.status, result.out, result.err), (1, "", "orla: disks.count: needs root\n"))


class Now(tool.Tool):
    def test_agrees_with_the_clock(self):
        before = int(time.time())
        now = self.orla("now", "--json", environment={"TZ": "AAA-2"}).json
        after = int(time.time())
        self.assertLessEqual((now["stamp"] - before) % 2**32, after - before)  # also after 2038
        self.assertEqual(now["offset"], -7200)
        self.assertEqual((now["local_stamp"] - now["stamp"]) % 2**32, 7200)
        local = time.gmtime(now["local_stamp"] % 2**32)
        self.assertEqual(now["date"], time.strftime("%m/%d/%Y", local))
        self.assertEqual(now["date_number"], (now["local_stamp"] % 2**32 // 86400 - 6205) % 65536)
        self.assertEqual(now["time"], time.asctime(time.gmtime(now["stamp"])))

    def test_text_is_aligned(self):
        lines = self.orla("now").out.splitlines()
        self.assertEqual(len(lines), 6)
        self.assertEqual({len(line) - len(line[13:].lstrip()) for line in lines}, {13})


class Date(tool.Tool):
    def test_dates_of_every_mode(self):
        for mode in ("--standard", "--old"):
            self.assertEqual(self.orla("date", "parse", mode, "2007-12-31", "--json").json,
                             {"mode": mode[2:], "year": 2007, "month": 12, "day": 31,
                              "number": 7673, "stamp": 1199059200})
            for text in ("2007-02-29", "2007-13-01", "2007-00-10"):
                self.assert_fails("date", "parse", mode, text, naming=f'orla: "{text}": month ')
        self.assert_fails("date", "parse", "--old", "1900-01-01", naming="the library reads this year as 3800")
        for text in ("2007-1-31", "2007-12-3x", "02007-12-31"):
            self.assert_fails("date", "parse", text, naming=f'"{text}" is not a date in the standard')

    def test_today_and_now(self):
        # Far from UTC, so that a confusion of the two shows at least half of the day.
        for zone in ("AAA-14", "AAA12"):
            environment = {"TZ": zone}
            before = self.orla("now", "--json", environment=environment).json
            today, now = (json.loads(line) for line in self.orla(
                "date", "parse", "today", "now", "--json", environment=environment).out.splitlines())
            after = self.orla("now", "--json", environment=environment).json
            self.assertIn(today["number"], (before["date_number"], after["date_number"]))
            self.assertIn(now["number"], (before["date_number"], after["date_number"]))
            self.assertEqual(today["stamp"], self.orla(
                "date", "parse", f"{today['year']:04}-{today['month']:02}-{today['day']:02}", "--json").json["stamp"])
            self.assertLessEqual((now["stamp"] - before["stamp"]) % 2**32, after["stamp"] - before["stamp"])

    def test_iso_prints_the_date_alone(self):
        self.assertEqual(self.orla("date", "show", "--iso", "7673").out, "2007-12-31\n")
        self.assertEqual(self.orla("date", "show", "--iso", "--json", "7673").json,
                         {"number": 7673, "date": "12/31/2007", "iso": "2007-12-31"})
        # The library's calendar, in which 2100 is a leap year.
        self.assertEqual(self.orla("date", "show", "--iso", "41337").out, "2100-03-01\n")
        self.assertEqual(self.orla("date", "show", "--iso", "41336").out, "2100-02-29\n")

    def test_text_to_number_in_the_standard_mode(self):
        parsed = self.orla("date", "parse", "12/31/2007", "--json").json
        self.assertEqual(parsed, {"mode": "standard", "year": 2007, "month": 12, "day": 31,
                                  "number": 7673, "stamp": 1199059200})

    def test_text_to_number_in_the_old_mode(self):
        old = {"ORLALS_DATE_FORMAT_OLD": ""}
        for arguments, environment in ((["--old"], None), ([], old)):
            result = self.orla("date", "parse", "2007 12 31", "--json", *arguments,
                               environment=environment)
            self.assertEqual(result.json["number"], 7673)
            self.assertEqual(result.json["mode"], "old")
        result = self.orla("date", "parse", "--standard", "12/31/2007", "--json", environment=old)
        self.assertEqual(result.json["mode"], "standard")

    def test_a_rejected_text_says_what_to_write(self):
        self.assert_fails("date", "parse", "12/31/07",
                          naming=": write MM/DD/YYYY, YYYY-MM-DD, today or now, or try --old\n")
        self.assert_fails("date", "parse", "--old", "12/31/2007",
                          naming=": write YYYY/MM/DD, YYYY-MM-DD, today or now, or try --standard\n")
        self.assert_fails("date", "parse", "02/29/2007", naming="has no day 29")

    def test_both_modes_at_once_are_wrong_use(self):
        self.assert_wrong_use("date", "parse", "--old", "--standard", "1/1/2000")

    def test_a_date_past_2038_has_its_unsigned_stamp(self):
        self.assertEqual(self.orla("date", "parse", "07/03/2040", "--json").json["stamp"],
                         2224886400)

    def test_stamps_that_stand_for_more_than_one_thing_are_explained(self):
        self.assertIn("by design", self.orla("date", "parse", "12/28/1986").rows["stamp"])
        self.assertIn("wrapped", self.orla("date", "parse", "02/07/2106").rows["stamp"])
        self.assertNotIn("wrapped", self.orla("date", "parse", "02/06/2106").rows["stamp"])

    def test_number_to_text(self):
        self.assertEqual(self.orla("date", "show", "59331", "--json").json["date"], "01/01/1970")
        self.assert_wrong_use("date", "show", "65536", naming="65535")
        self.assert_wrong_use("date", "show", "-1")
        self.assert_wrong_use("date", "show", "x")

    def test_fields_to_number(self):
        self.assertEqual(self.orla("date", "fields", "1986", "12", "28", "--json").json["number"], 0)
        self.assert_fails("date", "fields", "2007", "2", "29", naming="month 2 of 2007 has no day 29")
        self.assert_fails("date", "fields", "2026", "13", "1", naming="months are 1 to 12")
        for month in ("0x8", "8.", "2147483648"):
            self.assert_wrong_use("date", "fields", "2026", month, "9",
                                  naming=f'"{month}" is not a whole number from 1 to 12\n')
        self.assert_wrong_use("date", "fields", "2026", "8", "x", naming='"x" is not a whole number from 1 to 31\n')
        self.assertIn("do not convert back to themselves", self.orla("date", "fields", "1960", "1", "1").out)

    def test_lengths(self):
        lengths = self.orla("date", "lengths", "2100", "--json").json
        self.assertEqual(lengths, {"year": 366,
                                   "months": [31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31]})
        self.assertEqual(self.orla("date", "lengths", "2007", "2", "--json").json,
                         {"year": 365, "months": [28]})
        self.assertEqual(self.orla("date", "lengths", "2007", "02").rows,
                         {"year": "365 days; every fourth year has 366", "month 2": "28 days"})
        self.assert_wrong_use("date", "lengths", "2007", "13")

    def test_a_stamp_beyond_2038_both_ways(self):
        stamp = self.orla("date", "stamp", "4294967295", "--json").json
        self.assertEqual(stamp["utc"], "2106-02-06 06:28:15")
        self.assertEqual(stamp["time"], "Wed Dec 31 23:59:59 1969")
        self.assertEqual(stamp["signed"], -1)
        self.assertEqual(self.orla("date", "stamp", "--json", "-1").json, stamp)
        self.assert_wrong_use("date", "stamp", "4294967296")


if __name__ == "__main__":
    tool.main()
