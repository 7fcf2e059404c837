#!/usr/bin/env python3
"""Runs `orla uuid ...` and holds what it prints, and its exit status, against what is expected."""

import datetime
import re

import tool

EXAMPLE = "d0f7b2fc0064.82.0a.00.02.03.00.00.00"
NIL = "000000000000.00.00.00.00.00.00.00.00"
SHAPE = re.compile(r"[0-9a-f]{12}(\.[0-9a-f]{2}){8}")


class UuidCommand(tool.Tool):
    def lines(self, *arguments):
        result = self.orla("uuid", *arguments)
        self.assertEqual((result.status, result.err), (0, ""))
        return result.out.splitlines()

    def found(self, *arguments):
        return self.orla("uuid", *arguments, "--json").json

    def refused(self, status, *arguments):
        result = self.orla("uuid", *arguments)
        self.assertEqual((result.status, result.out), (status, ""))
        return result.err

    def test_new_prints_bare_uuids_that_all_differ(self):
        for count, arguments in ((1, ()), (1, ("-n", "1")), (500, ("-n", "500"))):
            lines = self.lines("new", *arguments)
            self.assertEqual(len(set(lines)), count)
            for line in lines:
                self.assertRegex(line, SHAPE)
        self.assertEqual(len(self.found("new", "-n", "2")["uuids"]), 2)
        self.refused(2, "new", "-n", "0")

    def test_reserved_carries_the_number_low_byte_first(self):
        line, = self.lines("reserved", "300")
        self.assertTrue(line.endswith(".99.6f.72.6c.61.00.2c.01"), line)
        self.refused(2, "reserved", "65536")
        self.refused(2, "reserved")

    def test_show_tells_the_fields(self):
        found = self.found("show", EXAMPLE.upper())
        self.assertEqual(found["text"], EXAMPLE)
        self.assertEqual(found["time_high"], "0xd0f7b2fc")
        self.assertEqual(found["time_low"], "0x0064")
        self.assertEqual(found["reserved"], 0)
        self.assertEqual(found["family"], "0x82")
        self.assertEqual(found["class_code"], 2)
        self.assertEqual(found["address"], "10.0.2.3")
        self.assertIn("  10.0.2.3  ", "\n".join(self.lines("show", EXAMPLE)))

    def test_show_lists_every_moment_that_the_wrapped_count_can_stand_for(self):
        self.assertEqual(self.found("show", EXAMPLE)["instants"],
                         ["2009-02-13 23:31:30.000400", "2044-10-19 00:43:37.000400",
                          "2073-11-13 03:35:31.786832"])

    def test_show_dates_moments_past_2100_by_the_gregorian_calendar(self):
        # 2100-03-05 12:00:00 UTC is 4107931200 seconds since 1970, 3792398400 since 1980: as a
        # signed number of 32 bits -502568896, and times 250000 over 65535, truncated, -1917175.
        high = (-(502568896 * 250000 // 65535)) % 2**32
        text = f"{high:08x}0000" + EXAMPLE[12:]
        self.assertIn("2100-03-05 12:00:00.000000", self.found("show", text)["instants"])

    def test_show_says_when_no_moment_fits(self):
        # In each round this time_high spans the turn of a second, away from this time_low.
        text = "ce6c4fa8f07a" + EXAMPLE[12:]
        found = self.found("show", text)
        self.assertIsNone(found["instants"])
        self.assertIn("no clock from 1980 to 2106", "\n".join(self.lines("show", text)))

    def test_show_counts_the_present_among_the_moments_of_a_new_uuid(self):
        before = datetime.datetime.now(datetime.timezone.utc)
        uuid, = self.lines("new")
        after = datetime.datetime.now(datetime.timezone.utc)
        moments = [datetime.datetime.fromisoformat(text + "+00:00")
                   for text in self.found("show", uuid)["instants"]]
        tick = datetime.timedelta(microseconds=4)
        self.assertTrue(any(before - tick < moment <= after for moment in moments), moments)

    def test_show_knows_the_reserved_space_and_other_classes(self):
        found = self.found("show", *self.lines("reserved", "300"))
        self.assertEqual((found["reserved"], found["class_code"]), (300, None))
        found = self.found("show", EXAMPLE.replace(".82.", ".87."))
        self.assertEqual(found["class_code"], 7)
        self.assertNotIn("address", found)
        found = self.found("show", EXAMPLE.replace(".82.", ".02."))
        self.assertIsNone(found["class_code"])
        self.assertIn("the nil UUID", "\n".join(self.lines("show", NIL)))

    def test_compare_tells_order_and_equality(self):
        self.assertEqual(self.found("compare", NIL, EXAMPLE), {"order": -1, "equal": False})
        self.assertEqual(self.found("compare", EXAMPLE, NIL), {"order": 1, "equal": False})
        self.assertEqual(self.found("compare", EXAMPLE, EXAMPLE.upper()), {"order": 0, "equal": True})

    def test_hash_names_the_bucket(self):
        self.assertEqual(self.found("hash", EXAMPLE, "101"), {"hash": 3})
        self.assertEqual(self.found("hash", EXAMPLE, "4294967295"), {"hash": 0x6AEE})

    def test_modulus_zero_is_wrong_use(self):
        self.assertIn("MODULUS", self.refused(2, "hash", EXAMPLE, "0"))

    def test_a_text_that_is_no_uuid_is_named_with_what_to_write(self):
        for arguments in (("show", "x"), ("compare", EXAMPLE, "x"), ("compare", "x", EXAMPLE),
                          ("hash", "x", "3")):
            message = self.refused(1, *arguments)
            self.assertIn('"x" is not a UUID', message)
            self.assertIn("write 12 hexadecimal digits", message)


if __name__ == "__main__":
    tool.main()
