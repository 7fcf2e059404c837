#!/usr/bin/env python3
"""Tests the Python package's values: Uuid and Date.

PYTHONPATH holds the package, ORLA_LIBRARY names the library.
"""

import copy
import dataclasses
import datetime
import itertools
import pickle
import random
import unittest

import orla

TEXT = "d0f7b2fc0064.82.0a.00.02.03.00.00.00"


def uuids():
    """Some whose fields differ in one place only, the extremes of each place among them, and
    random ones."""
    near = []
    for place in range(16):
        for byte in (0, 1, 0x7F, 0x80, 0xFF):
            data = bytearray(b"\x55" * 16)
            data[place] = byte
            near.append(orla.Uuid.from_bytes(bytes(data)))
    numbers = random.Random(1)
    return near + [orla.Uuid.from_bytes(numbers.randbytes(16)) for _ in range(120)]


class Uuids(unittest.TestCase):
    def test_text(self):
        uuid = orla.Uuid(TEXT)
        self.assertEqual(str(uuid), TEXT)
        self.assertEqual(repr(uuid), f"Uuid('{TEXT}')")
        self.assertEqual((uuid.time_high, uuid.time_low, uuid.reserved, uuid.family),
                         (0xD0F7B2FC, 0x64, 0, 0x82))
        self.assertEqual(uuid.host, bytes((10, 0, 2, 3, 0, 0, 0)))
        self.assertEqual(orla.Uuid(TEXT.upper().encode()), uuid)
        self.assertEqual(orla.Uuid(TEXT[:-5] + "34.12").reserved, 0x1234)

    def test_what_is_no_uuid_is_refused(self):
        for text in ("", "no UUID", TEXT[:-3], TEXT.replace(".", ","), TEXT + "\0", "\ud800"):
            with self.subTest(text=text), self.assertRaises(orla.InvalidValue):
                orla.Uuid(text)

    def test_bytes(self):
        for uuid in uuids():
            data = bytes(uuid)
            self.assertEqual(orla.Uuid.from_bytes(data), uuid)
            self.assertEqual(bytes(orla.UuidRecord.from_buffer_copy(data)), data)
        for size in (0, 15, 17):
            with self.assertRaises(orla.InvalidValue):
                orla.Uuid.from_bytes(bytes(size))

    def test_order_and_equality_are_the_librarys(self):
        for a, b in itertools.product(uuids(), repeat=2):
            order = orla.orla_uuid_cmp(a, b)
            self.assertEqual((a < b, a <= b, a > b, a >= b),
                             (order < 0, order <= 0, order > 0, order >= 0))
            self.assertEqual((a == b, a != b), (order == 0, order != 0))
            self.assertEqual(a == b, orla.orla_uuid_equal(a, b))

    def test_other_types_are_neither_equal_nor_in_order(self):
        self.assertNotEqual(orla.Uuid(TEXT), TEXT)
        with self.assertRaises(TypeError):
            print(orla.Uuid(TEXT) < TEXT)

    def test_hash_and_bucket(self):
        uuid = orla.Uuid(TEXT)
        self.assertEqual(len({uuid, orla.Uuid(TEXT), orla.variables.k7_uuid__nil}), 2)
        self.assertEqual(uuid.bucket(101), 3)
        for each in uuids():
            self.assertEqual(each.bucket(65536), orla.orla_uuid_hash(each, 65536))
        with self.assertRaises(orla.InvalidValue):
            uuid.bucket(0)

    def test_generation(self):
        self.assertTrue(orla.Uuid.generate().family & 0x80)
        uuid = orla.Uuid.reserved_space(7)
        self.assertEqual((uuid.family, uuid.reserved), (0x99, 7))
        with self.assertRaises(orla.InvalidValue):
            orla.Uuid.reserved_space(65536)

    def test_a_uuid_does_not_change(self):
        uuid = orla.Uuid(TEXT)
        with self.assertRaises(dataclasses.FrozenInstanceError):
            uuid.family = 0
        for same in (copy.copy(uuid), copy.deepcopy(uuid), pickle.loads(pickle.dumps(uuid))):
            self.assertEqual(same, uuid)


class Dates(unittest.TestCase):
    def test_every_date_number(self):
        """All 65,536, in the order of time: fields, texts, differences."""
        first = orla.Date(1970, 1, 1)
        self.assertEqual(first.number, 59331)
        before = None
        for days in range(65536):
            date = orla.Date.from_number((first.number + days) % 65536)
            self.assertEqual(str(date), orla.date_to_string(date.number))
            self.assertEqual(orla.string_to_date(str(date)), date.number)
            self.assertEqual(date - first, days)
            self.assertTrue(before is None or before < date and before + 1 == date)
            before = date
        self.assertEqual((before.year, before.month, before.day), (2149, 6, 5))

    def test_every_date_of_datetime(self):
        date = datetime.date(1970, 1, 1)
        while date <= datetime.date(2149, 6, 5):
            self.assertEqual(orla.Date.from_date(date).to_date(), date)
            date += datetime.timedelta(1)

    def test_the_one_day_that_datetime_has_not(self):
        leap_day = orla.Date(2100, 2, 28) + 1
        self.assertEqual(str(leap_day), "02/29/2100")
        with self.assertRaisesRegex(orla.InvalidValue, "02/29/2100"):
            leap_day.to_date()
        self.assertEqual(orla.Date(2100, 3, 1) - orla.Date(2100, 2, 28), 2)

    def test_a_datetime_gives_the_day_that_it_shows(self):
        evening = datetime.datetime(2007, 12, 31, 23, 59, 59,
                                    tzinfo=datetime.timezone(datetime.timedelta(hours=-11)))
        self.assertEqual(orla.Date.from_date(evening), orla.Date(2007, 12, 31))
        self.assertIs(type(orla.Date.from_date(evening).to_date()), datetime.date)

    def test_what_is_no_date_is_refused(self):
        for fields in ((1969, 12, 31), (2149, 6, 6), (2007, 2, 29), (2007, 13, 1), (2007, 0, 1),
                       (2007, 1, 0), (0, 1, 1), (-1, 1, 1), (2**40, 1, 1), (10**4, 1, 1)):
            with self.subTest(fields=fields), self.assertRaises(orla.InvalidValue):
                orla.Date(*fields)
        for text in ("", "31/12/2007", "12/31/07", "12/31/1969", "06/06/2149"):
            with self.subTest(text=text), self.assertRaises(orla.InvalidValue):
                orla.Date.parse(text)
        for number in (-1, 65536):
            with self.assertRaises(orla.InvalidValue):
                orla.Date.from_number(number)
        for date in (datetime.date(1969, 12, 31), datetime.datetime(2149, 6, 6)):
            with self.assertRaises(orla.InvalidValue):
                orla.Date.from_date(date)
        with self.assertRaises(TypeError):
            orla.Date(2007.0, 1, 1)

    def test_arithmetic(self):
        christmas = orla.Date(2007, 12, 25)
        self.assertEqual(christmas + 10, orla.Date(2008, 1, 4))
        self.assertEqual(christmas - 365, orla.Date(2006, 12, 25))
        self.assertEqual(orla.Date(1970, 1, 1) - christmas, -13872)
        for days in (-13873, 65536, 2**70):
            with self.assertRaises(orla.InvalidValue):
                print(christmas + days)
        for other in (1.5, "1", datetime.timedelta(1)):
            with self.assertRaises(TypeError):
                print(christmas + other)
            with self.assertRaises(TypeError):
                print(christmas - other)

    def test_text(self):
        date = orla.Date.parse("2/9/2008")
        self.assertEqual(str(date), "02/09/2008")
        self.assertEqual(date.isoformat(), "2008-02-09")
        self.assertEqual(repr(date), "Date(year=2008, month=2, day=9)")

    def test_keys_and_copies(self):
        date = orla.Date(2007, 12, 31)
        self.assertEqual(len({date, orla.Date.from_number(7673)}), 1)
        self.assertEqual(pickle.loads(pickle.dumps(date)), date)
        with self.assertRaises(dataclasses.FrozenInstanceError):
            date.number = 0

    def test_today(self):
        before = datetime.date.today()
        today = orla.Date.today().to_date()
        self.assertIn(today, (before, datetime.date.today()))


if __name__ == "__main__":
    unittest.main()
