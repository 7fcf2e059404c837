#!/usr/bin/env python3
"""Tests the Python package's functions and variables: that it declares what the headers declare,
and that each function gives results that are Python's.

module_test.py --compiler CC --include FOLDER...

PYTHONPATH holds the package, ORLA_LIBRARY names the library.
"""

import argparse
import contextlib
import ctypes
import datetime
import inspect
import os
import re
import sys
import tempfile
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "interface"))
from compare_names import DECLARED_BY_THE_PLATFORM, declarations_of, marked_header, preprocess

import orla

OPTIONS = None

NUMBERS = {
    "void": None, "int": ctypes.c_int, "unsigned": ctypes.c_uint, "short": ctypes.c_short,
    "char": ctypes.c_char, "int32_t": ctypes.c_int32, "uint16_t": ctypes.c_uint16,
    "uint32_t": ctypes.c_uint32, "orla_status": ctypes.c_uint32, "size_t": ctypes.c_size_t,
    "time_t": ctypes.c_long,
}


def type_of(declared, is_result):
    """What the package's table has for a type of the headers."""
    if declared.endswith("*"):
        pointed = declared.removesuffix("*").removeprefix("const ")
        if pointed in ("FILE", "void", "orla_library_id") or pointed == "char" and is_result:
            return ctypes.c_void_p
        if declared == "const char*":
            return ctypes.c_char_p
        records = {"struct tm": orla.Tm, "k7_uuid__t": orla.UuidRecord}
        return ctypes.POINTER(records.get(pointed) or NUMBERS[pointed])
    return NUMBERS[declared]


def signature_of(declaration):
    result, _, arguments = re.fullmatch(r"(.*?\W)(\w+)\((.*)\)", declaration).groups()
    types = [re.fullmatch(r"(.*?[\s*])\w+", each).group(1).strip()
             for each in arguments.split(",") if each != "void"]
    return type_of(result.strip(), True), tuple(type_of(each, False) for each in types)


@contextlib.contextmanager
def captured_output():
    """Takes what is written to descriptor 1; gives a list that holds the bytes afterwards."""
    found = []
    sys.stdout.flush()
    with tempfile.TemporaryFile() as file:
        saved = os.dup(1)
        os.dup2(file.fileno(), 1)
        try:
            yield found
        finally:
            sys.stdout.flush()
            os.dup2(saved, 1)
            os.close(saved)
        file.seek(0)
        found.append(file.read())


@contextlib.contextmanager
def variable(name, value):
    setattr(orla.variables, name, value)
    try:
        yield
    finally:
        setattr(orla.variables, name, None if isinstance(value, str) or callable(value) else 0)


class Declarations(unittest.TestCase):
    """The tables of the package against the headers."""

    def setUp(self):
        self.declared = declarations_of(
            preprocess(OPTIONS.compiler, "", OPTIONS.include, marked_header("orla/orla.h")))

    def functions(self):
        return {name: text for name, text in self.declared.items() if not text.startswith("extern")}

    def test_every_function_has_its_types(self):
        for name, text in self.functions().items():
            with self.subTest(name=name):
                self.assertEqual(orla.SIGNATURES.get(name), signature_of(text))

    def test_no_other_function_is_there(self):
        self.assertEqual(set(orla.SIGNATURES), set(self.functions()) | DECLARED_BY_THE_PLATFORM)

    def test_every_function_can_be_called_by_its_name(self):
        for name in orla.SIGNATURES:
            with self.subTest(name=name):
                self.assertTrue(inspect.isfunction(getattr(orla, name)))
                self.assertTrue(getattr(orla, name).__doc__)

    def test_every_variable_is_an_attribute(self):
        variables = set(self.declared) - set(self.functions())
        self.assertEqual(set(orla.VARIABLES), variables)
        for name in variables:
            self.assertIsInstance(getattr(orla.Variables, name), property)

    def test_constants_are_those_of_the_headers(self):
        names = [name for name in vars(orla)
                 if re.fullmatch("[A-Z][A-Z_]+", name) and name not in ("SIGNATURES", "VARIABLES")]
        self.assertGreater(len(names), 8)
        marks = "".join(f"@{name}@ ORLA_{name}\n" for name in names)
        text = preprocess(OPTIONS.compiler, "", OPTIONS.include, "#include <orla/orla.h>\n" + marks)
        found = dict(re.findall(r"@(\w+)@ (.*)", text))
        self.assertEqual({name: str(getattr(orla, name)) for name in names},
                         {name: value.strip('"') for name, value in found.items()})


class Inventory(unittest.TestCase):
    def test_figures_agree_with_each_other(self):
        count, method = orla.count_physical_proc()
        self.assertIsInstance(method, orla.CountMethod)
        self.assertEqual(orla.tavGetOnlineProcs(), count)
        self.assertEqual(orla.tavGetConfigProcs(), count)
        self.assertGreater(orla.tavGetMemorySize(), 0)
        self.assertGreaterEqual(orla.HTSupported(), 0)
        with contextlib.suppress(orla.OrlaError):
            self.assertGreaterEqual(orla.ht_os_cpus(), 0)

    def test_processor(self):
        self.assertIs(orla.CPUID_is_supported(), True)
        self.assertEqual(len(orla.cpuid(0)), 4)
        self.assertNotEqual(orla.cpuid(0).ebx, 0)

    def test_disks_are_for_root(self):
        if os.geteuid() == 0:
            self.assertIn(orla.tavGetDisks(), range(51))
        else:
            with self.assertRaises(orla.OrlaError):
                orla.tavGetDisks()


class Calendar(unittest.TestCase):
    def test_clock(self):
        before = int(time.time())
        stamp = orla.wek_time_stamp()
        self.assertIn((stamp - before) % 2**32, range(60))
        self.assertEqual(orla.wek_localtime_offset(), 0)
        self.assertIn((orla.wek_time_stamp_local() - before) % 2**32, range(60))
        first_day = orla.Date.from_date(datetime.date.fromtimestamp(before))
        self.assertIn(orla.Date.from_number(orla.wek_date_stamp()) - first_day, (0, 1))

    def test_lengths(self):
        self.assertEqual(orla.days_in_year(2100), 366)
        self.assertEqual(orla.days_in_month(2007, 2), 28)
        with self.assertRaises(orla.InvalidValue):
            orla.days_in_month(2007, 13)

    def test_dates(self):
        self.assertEqual(orla.data_to_date(107, 12, 31), 7673)
        self.assertEqual(orla.data_to_date(86, 12, 27), 65535)
        with self.assertRaises(orla.InvalidValue):
            orla.data_to_date(107, 2, 29)

    def test_fields(self):
        last = orla.wek_gmtime(0xFFFFFFFF)
        self.assertEqual(last[:6], (2106, 2, 6, 6, 28, 15))
        self.assertEqual(orla.wek_gmtime(-1), last)
        self.assertEqual(orla.wek_localtime(5)[:6], (1970, 1, 1, 0, 0, 5))
        self.assertEqual(orla.tav_gmtime(10**9), time.gmtime(10**9))
        self.assertEqual(orla.tav_localtime(10**9), time.localtime(10**9))
        self.assertEqual(orla.tav_ctime(0), "Thu Jan  1 00:00:00 1970\n")
        self.assertEqual(orla.tav_mktime(time.localtime(10**9)), 10**9)
        self.assertEqual(orla.tav_mktime(time.localtime(-1)), -1)
        self.assertIsNone(orla.RestoreTZ())
        with self.assertRaises(orla.OrlaError):
            orla.tav_gmtime(2**63 - 1)
        with self.assertRaises(orla.OrlaError):
            orla.tav_ctime(2**63 - 1)

    def test_text(self):
        self.assertEqual(orla.date_to_string(0), "12/28/1986")
        self.assertEqual(orla.time_to_string(536112000), "Sun Dec 28 00:00:00 1986")
        self.assertEqual(orla.date_to_line(0, "on "), "on 12/28/1986\n")
        self.assertEqual(orla.time_to_line(0xFFFFFFFF), "02/06/2106\n")
        self.assertEqual(orla.k7_date_format("%Y-%m-%d"), "%3$4d-%1$2d-%2$2d")
        self.assertEqual(orla.k7_date_format("%m%d" * 50), "%1$2d%2$2d" * 50)
        for number in (-1, 65536):
            with self.assertRaises(orla.InvalidValue):
                orla.date_to_string(number)

    def test_printed_lines(self):
        with captured_output() as found:
            print("first")
            self.assertEqual(orla.print_date_line(0, "100%% "), 16)
            self.assertEqual(orla.print_time_line(0), 11)
        self.assertEqual(found, [b"first\n100% 12/28/1986\n01/01/1970\n"])

    def test_lines_on_a_stream(self):
        with tempfile.NamedTemporaryFile() as file:
            with orla.Stream(file.name, "w") as stream:
                self.assertEqual(orla.fprint_date_line(stream, 0), 11)
                self.assertEqual(orla.fprint_time_line(stream, 0, "x"), 12)
            self.assertEqual(file.read(), b"12/28/1986\nx01/01/1970\n")
            with self.assertRaises(orla.InvalidValue):
                orla.fprint_date_line(stream, 0)
        with self.assertRaises(FileNotFoundError):
            orla.Stream("/nonexistent/file")

    def test_input(self):
        self.assertEqual(orla.k7_parse_date("12/31/2007"), (107, 12, 31))
        self.assertEqual(orla.string_to_date("12/31/2007"), 7673)
        self.assertEqual(orla.string_to_time("12/31/2007"), 1199059200)
        self.assertEqual(orla.orla_strptime("12/31", "%m/%d/%Y"), (-1, 11, 31))
        for function in (orla.k7_parse_date, orla.string_to_date):
            with self.assertRaises(orla.InvalidValue):
                function("31/12/2007")
        with self.assertRaises(orla.InvalidValue):
            orla.string_to_date("12/31/2007\0")


class Uuids(unittest.TestCase):
    TEXT = "d0f7b2fc0064.82.0a.00.02.03.00.00.00"

    def test_text_and_fields(self):
        self.assertEqual(ctypes.sizeof(orla.UuidRecord), 16)
        uuid = orla.orla_uuid_decode(self.TEXT)
        self.assertEqual((uuid.time_high, uuid.time_low, uuid.family), (0xD0F7B2FC, 0x64, 0x82))
        self.assertEqual(uuid.host, bytes((10, 0, 2, 3, 0, 0, 0)))
        self.assertEqual(orla.orla_uuid_encode(uuid), self.TEXT)
        self.assertEqual(orla.orla_uuid_hash(uuid, 101), 3)
        with self.assertRaises(orla.InvalidValue):
            orla.orla_uuid_decode("no UUID")
        with self.assertRaises(orla.InvalidValue):
            orla.orla_uuid_hash(uuid, 0)

    def test_order(self):
        uuid = orla.orla_uuid_decode(self.TEXT)
        nil = orla.variables.k7_uuid__nil
        self.assertEqual(bytes(nil), bytes(16))
        self.assertGreater(orla.orla_uuid_cmp(uuid, nil), 0)
        self.assertFalse(orla.orla_uuid_equal(uuid, nil))
        self.assertTrue(orla.orla_uuid_equal(uuid, orla.orla_uuid_decode(self.TEXT)))

    def test_generation(self):
        self.assertTrue(orla.orla_uuid_gen().family & 0x80)
        self.assertEqual(orla.orla_reserved_uuid_gen(7).reserved, 7)
        self.assertEqual(str(orla.orla_reserved_uuid_inflate(1, 2, 3)),
                         "000000010002.99.6f.72.6c.61.00.03.00")
        with self.assertRaises(orla.InvalidValue):
            orla.orla_reserved_uuid_gen(65536)

    def test_provider(self):
        def provide():
            return 0x0A000203, 5

        with variable("orla_uuid_host_provider", provide):
            self.assertIs(orla.variables.orla_uuid_host_provider, provide)
            self.assertTrue(str(orla.orla_uuid_gen()).endswith(".85.0a.00.02.03.00.00.00"))
        self.assertIsNone(orla.variables.orla_uuid_host_provider)
        self.assertEqual(orla.orla_uuid_gen().family, 0x82)


class Profiles(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = os.path.join(folder.name, "product.ini")
        Path(self.path).write_bytes(b"[Main]\nPort=1527\nBlank=  \nLong=" + b"x" * 5000 + b"\n")

    def test_reading(self):
        self.assertEqual(orla.orla_cfg_get_private_profile_int("Main", "Port", -1, self.path), 1527)
        self.assertEqual(orla.orla_cfg_get_private_profile_int("Main", "None", -1, self.path), -1)

        def string(key, fallback):
            return orla.orla_cfg_get_private_profile_string("Main", key, fallback, self.path)

        self.assertEqual(string("Port", "x"), "1527")
        self.assertEqual(string("Long", None), "x" * 5000)
        self.assertEqual(string("Blank", None), "  ")
        self.assertEqual(string("Blank", "default"), "default")
        self.assertEqual(string("None", "d" * 600), "d" * 600)
        self.assertEqual(string("None", None), "")

    def test_writing(self):
        orla.orla_cfg_write_private_profile_string("Main", "Port", "1528", self.path)
        self.assertEqual(orla.orla_cfg_get_private_profile_int("Main", "Port", -1, self.path), 1528)
        with self.assertRaises(orla.ProfileError) as raised:
            orla.orla_cfg_write_private_profile_string("a", "b", "c", "/nonexistent/file")
        self.assertEqual((raised.exception.path, raised.exception.section, raised.exception.key),
                         ("/nonexistent/file", "a", "b"))

    def test_lines(self):
        with orla.Stream(self.path) as stream:
            lines = list(iter(lambda: orla.orla_i_cfg_read_line(stream), None))
        self.assertEqual(lines, ["[Main]", "Port=1527", "Blank=  ", "Long=" + "x" * 506])

    def test_files(self):
        name = orla.create_temporary_name()
        self.addCleanup(os.unlink, name)
        self.assertRegex(name, r"^/tmp/K7.{6}$")
        orla.copy_file(self.path, name)
        self.assertEqual(Path(name).read_bytes(), Path(self.path).read_bytes())
        with self.assertRaises(orla.OrlaError):
            orla.copy_file("/nonexistent/file", name)

    def test_path_in_force(self):
        self.assertEqual(orla.orla_cfg_file(), (orla.DEFAULT_PROFILE_PATH, False))


class Tracing(unittest.TestCase):
    def test_lines_stand_in_order_with_those_of_python(self):
        with captured_output() as found, variable("orlathr_verbose", 255):
            print("first")
            orla.TavTrace("second")
            print("third")
        self.assertEqual(found, [b"first\nsecond\nthird\n"])

    def test_services_are_traced(self):
        with captured_output() as found, variable("orlalib_verbose", 255):
            self.assertEqual(orla.variables.orlalib_verbose, 255)
            orla.tavGetMemorySize()
        self.assertIn(b"KVRCA0002I tavGetMemorySize(): exiting with status 0x0.", found[0])

    def test_file(self):
        with tempfile.NamedTemporaryFile() as file:
            os.environ["K7LOG_PATH"] = file.name
            self.addCleanup(os.environ.pop, "K7LOG_PATH")
            with variable("orlathr_verbose", 255):
                orla.TavTrace("100%%\n")
                orla.TavTrace(None)
            self.assertRegex(file.read(), rb"^\d\d/\d\d/\d{4} [ \d]\d:\d\d:\d\d \d+ 100%\n$")

    def test_buffer(self):
        orla.variables.statuslog = "text"
        self.assertEqual(orla.variables.statuslog, b"text")
        with self.assertRaises(orla.InvalidValue):
            orla.variables.statuslog = "x" * 1024
        orla.variables.statuslog = ""

    def test_unknown_variables_are_refused(self):
        with self.assertRaisesRegex(AttributeError, "orlalib_verbos"):
            orla.variables.orlalib_verbos = 255
        with self.assertRaisesRegex(AttributeError, "no_such_name"):
            print(orla.variables.no_such_name)
        with self.assertRaises(AttributeError):
            orla.variables.k7_uuid__nil = orla.orla_uuid_gen()


class Loader(unittest.TestCase):
    def test_symbols(self):
        with orla.orla_slnk_allocate_library_id() as library:
            orla.orla_slnk_load_library("libc.so.6", library)
            address = orla.orla_slnk_get_proc_addr(library, "abs")
            self.assertEqual(ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_int)(address)(-5), 5)
            with captured_output() as found, self.assertRaises(orla.OrlaError):
                orla.orla_slnk_get_proc_addr(library, "no_such_symbol")
            self.assertIn(b"Error looking up procedure no_such_symbol\n,", found[0])

    def test_an_id_is_freed_once(self):
        with orla.orla_slnk_allocate_library_id() as library:
            orla.orla_slnk_free_library_id(library)
            for use in (orla.orla_slnk_free_library_id, orla.orla_slnk_free_library,
                        lambda each: orla.orla_slnk_load_library("libc.so.6", each)):
                with self.assertRaises(orla.InvalidValue):
                    use(library)

    def test_a_library_is_closed_once_and_loaded_again(self):
        with orla.orla_slnk_allocate_library_id() as library:
            for _ in range(2):
                orla.orla_slnk_load_library("libc.so.6", library)
                with self.assertRaises(orla.InvalidValue):
                    orla.orla_slnk_load_library("libc.so.6", library)
                orla.orla_slnk_free_library(library)
                with self.assertRaises(orla.InvalidValue):
                    orla.orla_slnk_free_library(library)

    def test_a_failed_load(self):
        with orla.orla_slnk_allocate_library_id() as library:
            with self.assertRaises(orla.OrlaError):
                orla.orla_slnk_load_library("liborla-nowhere.so", library)
            with self.assertRaises(orla.InvalidValue):
                orla.orla_slnk_get_proc_addr(library, "getenv")


class Tokens(unittest.TestCase):
    def test_first(self):
        first = orla.get_first_delimited_token_in_string
        self.assertEqual(first('x"alpha" "b"'), ("alpha", ' "b"'))
        self.assertEqual(first("|a|", "|", 2), ("a", ""))
        for text, size in (("none", None), ('"open', None), ('"alpha"', 5)):
            with self.assertRaises(orla.TokenNotFound):
                first(text, '"', size)
        with self.assertRaises(orla.InvalidValue):
            first("", "ab")

    def test_by_index(self):
        self.assertEqual(orla.get_delimited_token_in_string('"" "x"', 1), ("x", ""))
        with self.assertRaises(orla.TokenNotFound):
            orla.get_delimited_token_in_string('"a" "x"', 1)

    def test_all(self):
        text = '"alpha" "" "zwölf"'
        self.assertEqual(list(orla.tokens(text)), ["alpha", "", "zwölf"])
        self.assertEqual(orla.count_delimited_tokens_in_string(text), 3)


class BytesAndNames(unittest.TestCase):
    def test_byte_order(self):
        self.assertEqual(orla.htonl(0x11223344), 0x44332211)
        self.assertEqual(orla.ntohl(0x11223344), 0x44332211)
        self.assertEqual(orla.htons(0x1122), 0x2211)
        self.assertEqual(orla.ntohs(0x1122), 0x2211)
        data = bytearray(b"abc")
        orla.swap(data, 0, 2)
        self.assertEqual(data, b"cba")
        with self.assertRaises(orla.InvalidValue):
            orla.swap(data, 0, 3)
        with self.assertRaises(orla.InvalidValue):
            orla.htons(65536)

    def test_names(self):
        self.assertTrue(orla.orla_get_user_name())
        self.assertTrue(orla.orla_get_group_name())
        self.assertEqual(orla.orla_get_node_name(), os.uname().nodename)

    def test_names_of_the_program(self):
        for name, function in (("orla_ls_user", orla.orla_get_user_name),
                               ("orla_ls_group", orla.orla_get_group_name)):
            with variable(name, "n" * 40):
                self.assertEqual(getattr(orla.variables, name), "n" * 40)
                self.assertEqual(function(), "n" * 31)
            self.assertIsNone(getattr(orla.variables, name))


def main():
    global OPTIONS
    parser = argparse.ArgumentParser()
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--include", action="append", default=[])
    OPTIONS = parser.parse_args()
    unittest.main(argv=sys.argv[:1])


if __name__ == "__main__":
    main()
