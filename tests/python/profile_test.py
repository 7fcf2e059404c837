#!/usr/bin/env python3
"""Tests the Python package's Profile: a mapping that gives what the library gives.

PYTHONPATH holds the package, ORLA_LIBRARY names the library.
"""

import os
import pickle
import random
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import orla

FILE = b"[Main]\nPort=5040\nName=first host\nBlank=  \nEmpty=\n\n[Other]\nPort=1\n"


class ProfileCase(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="orla-test-")
        self.addCleanup(folder.cleanup)
        self.file = Path(folder.name) / "product.ini"
        self.profile = orla.Profile(self.file)

    def holding(self, data):
        self.file.write_bytes(data)
        return self.profile

    def assert_says_where(self, error, section, key):
        self.assertEqual((error.path, error.section, error.key), (str(self.file), section, key))
        for part in (str(self.file), section, key):
            self.assertIn(part or "", str(error))
        self.assertEqual(str(pickle.loads(pickle.dumps(error))), str(error))


class Mapping(ProfileCase):
    def test_sections_and_keys(self):
        profile = self.holding(FILE)
        self.assertEqual({name: dict(section) for name, section in profile.items()},
                         {"Main": {"Port": "5040", "Name": "first host", "Blank": "  ", "Empty": ""},
                          "Other": {"Port": "1"}})
        self.assertEqual(list(profile["Main"]), ["Port", "Name", "Blank", "Empty"])
        self.assertEqual((len(profile), len(profile["Main"])), (2, 4))
        self.assertEqual(profile["MAIN"]["port"], "5040")
        self.assertEqual(profile["Main"].get("Backlog", "16"), "16")
        self.assertIn("Empty", profile["Main"])
        self.assertNotIn("Backlog", profile["Main"])
        self.assertNotIn("", profile["Main"])
        self.assertIn("other", profile)
        self.assertNotIn("Mai", profile)

    def test_a_key_error_says_where(self):
        profile = self.holding(FILE)
        with self.assertRaises(KeyError) as raised:
            print(profile["Main"]["Backlog"])
        self.assertIsInstance(raised.exception, orla.ProfileKeyError)
        self.assert_says_where(raised.exception, "Main", "Backlog")
        with self.assertRaises(orla.ProfileKeyError) as raised:
            print(profile["None"])
        self.assert_says_where(raised.exception, "None", None)

    def test_nothing_is_kept(self):
        section = self.holding(FILE)["Main"]
        self.holding(b"[Main]\nBacklog=32\n")
        self.assertEqual(dict(section), {"Backlog": "32"})
        self.file.unlink()
        self.assertEqual((list(self.profile), list(section)), ([], []))

    def test_a_file_that_cannot_be_read_is_an_error(self):
        with self.assertRaises(orla.ProfileError) as raised:
            list(orla.Profile(self.file.parent))
        self.assertEqual(raised.exception.path, str(self.file.parent))
        for use in (lambda: orla.Profile(self.file.parent).section("a")["b"],
                    lambda: orla.Profile(self.file.parent).section("a").get_int("b")):
            with self.assertRaises(orla.ProfileError):
                use()

    def test_numbers(self):
        section = self.holding(b"[Main]\nPort=5040\nOdd=x\nLong=123456\nMinus=-1\nText=12ab\n")["Main"]
        self.assertEqual([section.get_int(key) for key in ("Port", "Odd", "Minus", "Text")],
                         [5040, 0, 0, 12])
        self.assertEqual([section.get_int(key, -7) for key in ("Long", "None", "Port")],
                         [-7, -7, 5040])
        with self.assertRaises(orla.ProfileKeyError) as raised:
            section.get_int("None")
        self.assert_says_where(raised.exception, "Main", "None")
        with self.assertRaises(orla.ProfileValueError) as raised:
            section.get_int("Long")
        self.assert_says_where(raised.exception, "Main", "Long")

    def test_long_and_strange_texts(self):
        text = "zw\u00f6lf" + "x" * 70000
        section = self.holding(f"[Haupt\u00e4]\nK\u00fc={text}\n".encode() + b"\x80=\xfe\n")["Haupt\u00e4"]
        self.assertEqual(dict(section), {"K\u00fc": text, os.fsdecode(b"\x80"): os.fsdecode(b"\xfe")})


class Grammar(ProfileCase):
    """What the mapping lists is what the library finds."""

    def entries(self, data, section="Main"):
        return dict(self.holding(data).section(section))

    def test_quirk_a_section_ends_at_an_empty_line_alone(self):
        self.assertEqual(self.entries(b"[Main]\nA=1\n[Other]\nB=2\n\nC=3\n"), {"A": "1", "B": "2"})
        self.assertEqual(list(self.profile), ["Main", "Other"])

    def test_quirk_the_first_line_that_begins_with_the_key_wins(self):
        entries = self.entries(b"[Main]\nPortNumber=77\nPort=5\nPORT=6\n")
        self.assertEqual(entries, {"PortNumber": "77", "Port": "77"})

    def test_quirk_a_line_without_a_value_hides_keys(self):
        self.assertEqual(self.entries(b"[Main]\nPortable\nPort=5\nA=1\n"), {"A": "1"})
        self.assertNotIn("Port", self.profile["Main"])

    def test_quirk_the_value_follows_the_last_equals_sign(self):
        self.assertEqual(self.entries(b"[Main]\nURL=a=b\n"), {"URL": "b"})

    def test_quirk_nothing_is_trimmed(self):
        self.assertEqual(self.entries(b"[Main]\nPort = 5\n;A=1\n"), {"Port ": " 5", ";A": "1"})

    def test_quirk_strings_are_found_under_longer_headers(self):
        self.assertEqual(self.entries(b"[Maintenance]\nA=1\n\n[Main]\nA=2\n"), {"A": "1"})
        self.assertEqual(self.profile["Main"].get_int("A"), 2)

    def test_bytes_that_are_not_seen(self):
        self.assertEqual(self.entries(b"[Ma\rin]\r\nA=1\r\nB=2\0x\n\nC=3\n"), {"A": "1", "B": "2"})
        self.assertEqual(self.entries(b"[Main]\nA=1\nB=2"), {"A": "1"})
        self.assertEqual(self.entries(b"[Main]\nA=1\nB=2\xff\nC=3\n"), {"A": "1"})
        self.assertEqual(self.entries(b"[Main]\nA=1\n\0\nB=2\n"), {"A": "1"})

    def test_headers(self):
        self.holding(b"[A]\n[a]\n [B]\n[C] \n[\n[]\n]\n[D\n[[E]]\nF]\n")
        self.assertEqual(list(self.profile), ["A", "", "[E]"])

    def test_every_listed_key_is_found_in_random_files(self):
        """And its value is the library's; so is that of every beginning of a line."""
        numbers = random.Random(1)
        parts = [b"[Main]", b"[main", b"[M]", b"[Mainz]", b"Port", b"Po", b"po", b"=", b"=", b"5", b" ",
                 b"\n", b"\n", b"\n", b"\r", b"\0", b"\xff", b"x"]
        listed = 0
        for _ in range(600):
            data = b"".join(numbers.choices(parts, weights=[2] * 16 + [0.1, 1], k=30))
            profile = self.holding(data)
            for name in [*profile, "Main", "M", ""]:
                section = profile.section(name)
                for key, value in section.items():
                    listed += 1
                    self.assertEqual(value, orla.orla_cfg_get_private_profile_string(
                        name, key, None, self.file))
                for key in ("Po", "port", "x", "["):
                    found = orla.orla_cfg_get_private_profile_string(name, key, "default", self.file)
                    if found != "default":
                        self.assertEqual(section[key], found)
                    else:  # missing or blank
                        self.assertEqual(section.get(key, "").strip(" "), "")
        self.assertGreater(listed, 500)


class Writing(ProfileCase):
    def test_sections_and_keys(self):
        self.profile.section("Main")["Port"] = "5"
        self.assertEqual(self.file.read_bytes(), b"[Main]\nPort=5\n")
        self.profile["Main"]["Port"] = "6"
        self.profile["Main"]["Blank"] = "  "
        self.profile["Main"]["Empty"] = ""
        self.profile.section("New")["K"] = "v"
        self.assertEqual(self.file.read_bytes(), b"[Main]\nPort=6\nBlank=  \nEmpty=\n\n[New]\nK=v\n")

    def test_what_a_line_cannot_hold_is_refused_before_the_file_is_touched(self):
        bad = ["\n", "\r", "\0", "\udcff", "\ud800"]
        refused = [(f"M{each}", "K", "v") for each in bad]
        refused += [("Main", f"K{each}", "v") for each in bad]
        refused += [("Main", "K", f"v{each}x") for each in bad]
        for write in (lambda section, key, value: self.profile.section(section).__setitem__(key, value),
                      lambda *texts: orla.orla_cfg_write_private_profile_string(*texts, self.file)):
            self.holding(FILE)
            for section, key, value in refused:
                with self.subTest(section=section, key=key, value=value):
                    with self.assertRaises(orla.ProfileValueError) as raised:
                        write(section, key, value)
                    self.assertIsInstance(raised.exception, ValueError)
                    self.assertEqual(raised.exception.section, section)
                    self.assertEqual(raised.exception.key, key)
                    self.assertEqual(raised.exception.path, str(self.file))
                    self.assertEqual(self.file.read_bytes(), FILE)

    def test_what_would_not_be_found_again_is_refused(self):
        self.holding(FILE)
        for key, value in (("", "v"), ("K", "a=b"), ("[Other", "v")):
            with self.assertRaises(orla.ProfileValueError) as raised:
                self.profile["Main"][key] = value
            self.assert_says_where(raised.exception, "Main", key)
        self.assertEqual(self.file.read_bytes(), FILE)

    def test_a_value_that_readers_do_not_get_is_an_error(self):
        self.holding(b"[Maintenance]\nPort=1\n\n[Main]\nA=2\n")
        with self.assertRaises(orla.ProfileError) as raised:
            self.profile["Main"]["Port"] = "7"
        self.assert_says_where(raised.exception, "Main", "Port")

    def test_writers_at_the_same_time_lose_nothing(self):
        self.holding(b"[Main]\n")
        code = ("import orla, sys\nfor number in range(40):\n"
                "  main = orla.Profile(sys.argv[1]).section('Main')\n"
                "  main[f'{sys.argv[2]}{number:02}'] = str(number)")
        writers = [subprocess.Popen([sys.executable, "-B", "-c", code, self.file, name])
                   for name in ("A", "B", "C")]
        self.assertEqual([writer.wait() for writer in writers], [0, 0, 0])
        self.assertEqual(sorted(self.profile["Main"]), [f"{name}{number:02}" for name in "ABC"
                                                        for number in range(40)])

    def test_a_file_that_cannot_be_written_is_an_error(self):
        profile = orla.Profile(self.file.parent)
        with self.assertRaises(orla.ProfileError) as raised:
            profile.section("Main")["Port"] = "7"
        self.assertEqual(raised.exception.path, str(self.file.parent))


class InForce(ProfileCase):
    """Which file, in a process of its own: it is decided once."""

    def said(self, code, named):
        environment = {**os.environ, "ORLA_CONFIG": str(named)}
        return subprocess.run([sys.executable, "-B", "-c", f"import orla; {code}"], env=environment,
                              check=True, capture_output=True, text=True).stdout.strip()

    def test_the_environment_names_it(self):
        self.holding(FILE)
        for code in ("orla.Profile.in_force()", "orla.Profile(orla.DEFAULT_PROFILE_PATH)"):
            self.assertEqual(self.said(f"print({code}['Main'].get_int('Port'), {code}.path)", self.file),
                             f"5040 {self.file}")

    def test_another_path_is_that_very_file(self):
        self.holding(FILE)
        self.assertEqual(self.said(f"print(len(orla.Profile('{self.file}')))", "/nonexistent/file"), "2")

    def test_without_a_name_it_is_the_default(self):
        self.assertEqual(orla.Profile.in_force().path, orla.DEFAULT_PROFILE_PATH)


if __name__ == "__main__":
    unittest.main()
