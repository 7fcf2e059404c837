"""All of orla from Python: every function and every variable of liborla.so.1, by its own name.

Copy this file beside a program and write "import orla". It needs nothing but Python 3.9 and the library,
which is looked for where the system finds libraries, or is the file that the environment variable
ORLA_LIBRARY names. Python loads libraries of its own word size only.

What differs from C:

- Results come back as results: numbers, texts, tuples, records. Texts are str, in the encoding of file
  names; what takes a text takes bytes too.
- Failures raise: ValueError for a text that is not what it should be and for an argument out of range,
  OrlaError for a service that fails. What C leaves to the caller (a month of 13, a modulus of 0, an id
  that was freed) is checked here.
- Variables are attributes of the object "variables", such as variables.orlalib_verbose = 255.

Dates are the library's date numbers, in a calendar where 2100 is a leap year; to_date() and from_date()
turn them into datetime.date and back. As in C, calls that share state want a lock in programs with
threads.
"""

from __future__ import annotations

import ctypes
import datetime
import enum
import os
import sys
import time
from collections.abc import Callable, Iterator
from types import TracebackType
from typing import Any, NamedTuple, Optional, Union

Text = Union[str, bytes]

STATUSLOG_SIZE = 1024
DATE_TEXT_SIZE = 30
UUID_TEXT_SIZE = 37
PROFILE_PATH_SIZE = 256
PROFILE_LINE_SIZE = 512
TEMPORARY_NAME_SIZE = 14
NAME_SIZE = 32
NODE_NAME_SIZE = 65
DEFAULT_PROFILE_PATH = "/opt/tav/ls/conf/k7ls.ini"
LIBRARY_FALLBACK_DIRECTORY = "/opt/tav/ls/dll/"


class OrlaError(Exception):
    """A service of the library failed."""


class Tm(ctypes.Structure):
    """struct tm of the C library."""

    _fields_ = [
        *((name, ctypes.c_int)
          for name in ("tm_sec", "tm_min", "tm_hour", "tm_mday", "tm_mon", "tm_year", "tm_wday",
                       "tm_yday", "tm_isdst")),
        ("tm_gmtoff", ctypes.c_long),
        ("tm_zone", ctypes.c_char_p),
    ]


class Uuid(ctypes.Structure):
    """k7_uuid__t: 16 bytes. str() gives its text of 36 characters."""

    _fields_ = [
        ("time_high", ctypes.c_uint32),
        ("time_low", ctypes.c_uint16),
        ("reserved", ctypes.c_uint16),
        ("family", ctypes.c_uint8),
        ("host", ctypes.c_uint8 * 7),
    ]
    time_high: int
    time_low: int
    reserved: int
    family: int

    def __str__(self) -> str:
        return orla_uuid_encode(self)

    def __repr__(self) -> str:
        return f"Uuid({str(self)!r})"

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Uuid) and orla_uuid_equal(self, other)

    def __lt__(self, other: Uuid) -> bool:
        return orla_uuid_cmp(self, other) < 0

    def __hash__(self) -> int:
        return hash(bytes(self))


Provider = ctypes.CFUNCTYPE(None, ctypes.POINTER(ctypes.c_uint32), ctypes.POINTER(ctypes.c_uint16))

_CHAR_P = ctypes.POINTER(ctypes.c_char)
_INT_P = ctypes.POINTER(ctypes.c_int)
_INT32_P = ctypes.POINTER(ctypes.c_int32)
_UINT16_P = ctypes.POINTER(ctypes.c_uint16)
_UINT32_P = ctypes.POINTER(ctypes.c_uint32)
_TIME_P = ctypes.POINTER(ctypes.c_long)
_TM_P = ctypes.POINTER(Tm)
_UUID_P = ctypes.POINTER(Uuid)

# Function to result and arguments, as the headers declare them. A result that points into the caller's
# memory is an address.
SIGNATURES: dict[str, tuple[Any, tuple[Any, ...]]] = {
    # orla/inventory.h
    "tavGetOnlineProcs": (ctypes.c_uint32, (_INT_P,)),
    "tavGetConfigProcs": (ctypes.c_uint32, (_INT_P,)),
    "tavGetMemorySize": (ctypes.c_uint32, (_INT_P,)),
    "tavGetDisks": (ctypes.c_uint32, (ctypes.POINTER(ctypes.c_uint),)),
    "count_physical_proc": (ctypes.c_uint32, (_INT_P,)),
    "HTSupported": (ctypes.c_int, ()),
    "ht_os_cpus": (ctypes.c_int, ()),
    "CPUID_is_supported": (ctypes.c_int, ()),
    "cpuid": (None, (ctypes.c_uint32, _UINT32_P, _UINT32_P, _UINT32_P, _UINT32_P)),
    # orla/time.h
    "wek_time_stamp": (ctypes.c_int32, ()),
    "wek_localtime_offset": (ctypes.c_int32, ()),
    "wek_time_stamp_local": (ctypes.c_uint32, ()),
    "wek_date_stamp": (ctypes.c_uint16, ()),
    "days_in_year": (ctypes.c_int32, (ctypes.c_int32,)),
    "days_in_month": (ctypes.c_int32, (ctypes.c_int32, ctypes.c_int32)),
    "data_to_date": (ctypes.c_int, (ctypes.c_int32, ctypes.c_int32, ctypes.c_int32, _UINT16_P)),
    "wek_gmtime": (_TM_P, (_INT32_P,)),
    "wek_localtime": (_TM_P, (_INT32_P,)),
    "tav_mktime": (ctypes.c_long, (_TM_P,)),
    "tav_gmtime": (_TM_P, (_TIME_P,)),
    "tav_ctime": (ctypes.c_void_p, (_TIME_P,)),
    "tav_localtime": (_TM_P, (_TIME_P,)),
    "RestoreTZ": (None, ()),
    "date_to_string": (ctypes.c_size_t, (_CHAR_P, ctypes.c_uint16)),
    "time_to_string": (ctypes.c_size_t, (_CHAR_P, ctypes.c_int32)),
    "date_to_line": (ctypes.c_int, (ctypes.c_uint16, _CHAR_P, ctypes.c_char_p)),
    "time_to_line": (ctypes.c_int, (ctypes.c_int32, _CHAR_P, ctypes.c_char_p)),
    "print_date_line": (ctypes.c_int, (ctypes.c_uint16, ctypes.c_char_p)),
    "print_time_line": (ctypes.c_int, (ctypes.c_int32, ctypes.c_char_p)),
    "fprint_date_line": (ctypes.c_int, (ctypes.c_void_p, ctypes.c_uint16, ctypes.c_char_p)),
    "fprint_time_line": (ctypes.c_int, (ctypes.c_void_p, ctypes.c_int32, ctypes.c_char_p)),
    "k7_date_format": (None, (ctypes.c_char_p, _CHAR_P)),
    "orla_strptime": (None, (ctypes.c_char_p, ctypes.c_char_p, _TM_P)),
    "k7_parse_date": (ctypes.c_int, (ctypes.c_char_p, _INT32_P, _INT32_P, _INT32_P)),
    "string_to_date": (ctypes.c_int, (ctypes.c_char_p, _UINT16_P)),
    "string_to_time": (ctypes.c_int32, (ctypes.c_char_p,)),
    # orla/uuid.h
    "orla_uuid_gen": (None, (_UUID_P,)),
    "orla_uuid_encode": (ctypes.c_int, (_UUID_P, _CHAR_P)),
    "orla_uuid_decode": (None, (ctypes.c_char_p, _UUID_P, _UINT32_P)),
    "orla_reserved_uuid_gen": (None, (_UUID_P, ctypes.c_uint16)),
    "orla_reserved_uuid_inflate": (None, (_UUID_P, ctypes.c_uint32, ctypes.c_uint16,
                                          ctypes.c_uint16)),
    "orla_uuid_cmp": (ctypes.c_int, (_UUID_P, _UUID_P)),
    "orla_uuid_equal": (ctypes.c_int, (_UUID_P, _UUID_P)),
    "orla_uuid_hash": (ctypes.c_uint32, (_UUID_P, ctypes.c_uint32)),
    # orla/profile.h
    "orla_cfg_get_private_profile_int": (ctypes.c_int, (ctypes.c_char_p, ctypes.c_char_p,
                                                        ctypes.c_int, ctypes.c_char_p)),
    "orla_cfg_get_private_profile_string": (ctypes.c_uint, (ctypes.c_char_p, ctypes.c_char_p,
                                                            ctypes.c_char_p, _CHAR_P,
                                                            ctypes.c_uint, ctypes.c_char_p)),
    "orla_cfg_write_private_profile_string": (ctypes.c_int, (ctypes.c_char_p, ctypes.c_char_p,
                                                             ctypes.c_char_p, ctypes.c_char_p)),
    "orla_cfg_file": (None, (_CHAR_P, _CHAR_P)),
    "orla_i_cfg_read_line": (ctypes.c_int, (ctypes.c_void_p, _CHAR_P)),
    "create_temporary_name": (ctypes.c_int, (_CHAR_P,)),
    "copy_file": (ctypes.c_int, (ctypes.c_char_p, ctypes.c_char_p)),
    # orla/trace.h
    "TavTrace": (None, (_CHAR_P,)),
    # orla/loader.h
    "orla_slnk_allocate_library_id": (ctypes.c_void_p, ()),
    "orla_slnk_load_library": (None, (ctypes.c_char_p, ctypes.c_void_p, _UINT32_P)),
    "orla_slnk_get_proc_addr": (ctypes.c_void_p, (ctypes.c_void_p, ctypes.c_char_p, _UINT32_P)),
    "orla_slnk_free_library": (ctypes.c_int, (ctypes.c_void_p,)),
    "orla_slnk_free_library_id": (None, (ctypes.c_void_p,)),
    # orla/token.h
    "get_first_delimited_token_in_string": (ctypes.c_void_p, (ctypes.c_char_p, ctypes.c_char, _CHAR_P,
                                                              ctypes.c_int)),
    "get_delimited_token_in_string": (ctypes.c_void_p, (ctypes.c_char_p, ctypes.c_short,
                                                        ctypes.c_char, _CHAR_P, ctypes.c_int)),
    "count_delimited_tokens_in_string": (ctypes.c_short, (ctypes.c_char_p, ctypes.c_char)),
    # orla/byteorder.h, and the converters, whose results have 32 bits
    "swap": (None, (_CHAR_P, _CHAR_P)),
    "htonl": (ctypes.c_uint32, (ctypes.c_uint32,)),
    "htons": (ctypes.c_uint32, (ctypes.c_uint16,)),
    "ntohl": (ctypes.c_uint32, (ctypes.c_uint32,)),
    "ntohs": (ctypes.c_uint32, (ctypes.c_uint16,)),
    # orla/names.h
    "orla_get_user_name": (None, (_CHAR_P,)),
    "orla_get_group_name": (None, (_CHAR_P,)),
    "orla_get_node_name": (None, (_CHAR_P,)),
}

# Variable to type, as the headers declare them.
VARIABLES: dict[str, Any] = {
    "orlalib_verbose": ctypes.c_int32,
    "orlathr_verbose": ctypes.c_int32,
    "statuslog": ctypes.c_char * STATUSLOG_SIZE,
    "k7_uuid__nil": Uuid,
    "orla_uuid_host_provider": Provider,
    "orla_ls_user": ctypes.c_char_p,
    "orla_ls_group": ctypes.c_char_p,
}

_library = ctypes.CDLL(os.environ.get("ORLA_LIBRARY", "liborla.so.1"))
_libc = ctypes.CDLL(None, use_errno=True)
_libc.fopen.restype = ctypes.c_void_p
_libc.fopen.argtypes = [ctypes.c_char_p, ctypes.c_char_p]
_libc.fclose.argtypes = [ctypes.c_void_p]
_libc.fflush.argtypes = [ctypes.c_void_p]

for _name, (_result, _arguments) in SIGNATURES.items():
    _function = getattr(_library, _name)
    _function.restype = _result
    _function.argtypes = _arguments


def _call(name: str, *arguments: Any) -> Any:
    return getattr(_library, name)(*arguments)


def _bytes(text: Text) -> bytes:
    data = os.fsencode(text)
    if b"\0" in data:
        raise ValueError("a text must not hold a zero byte")
    return data


def _optional(text: Optional[Text]) -> Optional[bytes]:
    return None if text is None else _bytes(text)


def _within(what: str, number: int, low: int, high: int) -> int:
    if not low <= number <= high:
        raise ValueError(f"{what} is {low} to {high}, not {number}")
    return number


def _int32(what: str, number: int) -> int:
    return _within(what, number, -0x80000000, 0x7FFFFFFF)


def _uint16(what: str, number: int) -> int:
    return _within(what, number, 0, 0xFFFF)


def _uint32(what: str, number: int) -> int:
    return _within(what, number, 0, 0xFFFFFFFF)


def _signed(stamp: int) -> int:
    """The 32 bits of a stamp, which may be given as an unsigned number, as a signed one."""
    _within("a stamp", stamp, -0x80000000, 0xFFFFFFFF)
    return stamp - 0x100000000 if stamp > 0x7FFFFFFF else stamp


def _filled(name: str, size: int, *before: Any) -> str:
    """Calls a function that fills a buffer of `size` bytes as its last argument."""
    buffer = ctypes.create_string_buffer(size)
    _call(name, *before, buffer)
    return os.fsdecode(buffer.value)


def _printing(name: str, *arguments: Any) -> Any:
    """Calls a function that prints on C's standard output, in order with what Python prints."""
    sys.stdout.flush()
    result = _call(name, *arguments)
    _libc.fflush(None)
    return result


# Host inventory


class CountMethod(enum.IntEnum):
    """How count_physical_proc() reached its count."""

    NO_HYPER_THREADING = 0
    PACKAGES = 1
    NO_KERNEL_FIGURE = 2
    UNUSABLE_KERNEL_FIGURE = 3


class Registers(NamedTuple):
    """What cpuid() gives."""

    eax: int
    ebx: int
    ecx: int
    edx: int


def _inventory(name: str, what: str) -> int:
    figure = ctypes.c_int()
    if _printing(name, ctypes.byref(figure)) != 0:
        raise OrlaError(what)
    return figure.value


def tavGetOnlineProcs() -> int:
    """Counts the host's processors."""
    return _inventory("tavGetOnlineProcs", "the kernel gives no count of processors")


def tavGetConfigProcs() -> int:
    """Counts the host's processors; the same figure as tavGetOnlineProcs()."""
    return _inventory("tavGetConfigProcs", "the kernel gives no count of processors")


def tavGetMemorySize() -> int:
    """Main memory in mebibytes, the kernel's memory unit not applied."""
    return _inventory("tavGetMemorySize", "the kernel does not tell the memory")


def tavGetDisks() -> int:
    """Disks that answer a drive-geometry request. Only for root."""
    count = ctypes.c_uint()
    if _printing("tavGetDisks", ctypes.byref(count)) != 0:
        raise OrlaError("only root may count disks")
    return count.value


def count_physical_proc() -> tuple[int, CountMethod]:
    """Processors, and how they were counted."""
    count = ctypes.c_int()
    method = CountMethod(_call("count_physical_proc", ctypes.byref(count)))
    return count.value, method


def HTSupported() -> int:
    """Logical processors per package, by the processor; 0 without hyper-threading."""
    return int(_call("HTSupported"))


def ht_os_cpus() -> int:
    """The kernel's hyper-threading figure; 0 for none. A kernel log that cannot be read ends the process."""
    figure = int(_call("ht_os_cpus"))
    if figure < 0:
        raise OrlaError("the kernel cannot be asked, or its packages disagree")
    return figure


def CPUID_is_supported() -> bool:
    """Whether the processor has the cpuid instruction."""
    return bool(_call("CPUID_is_supported"))


def cpuid(leaf: int) -> Registers:
    """Executes the cpuid instruction for leaf 0 or 1."""
    registers = [ctypes.c_uint32() for _ in range(4)]
    _call("cpuid", _uint32("a leaf", leaf), *(ctypes.byref(each) for each in registers))
    return Registers(*(each.value for each in registers))


# Calendar and time


def to_date(number: int) -> datetime.date:
    """The date of a date number. ValueError for 02/29/2100, which only the library's calendar has."""
    return datetime.datetime.strptime(date_to_string(number), "%m/%d/%Y").date()


def from_date(date: datetime.date) -> int:
    """The date number of a date, 1970-01-01 to 2149-06-05."""
    if not datetime.date(1970, 1, 1) <= date <= datetime.date(2149, 6, 5):
        raise ValueError(f"{date} has no date number")
    return data_to_date(date.year - 1900, date.month, date.day)


def _fields(record: Any) -> time.struct_time:
    if not record:
        raise OrlaError("the C library cannot convert this moment")
    tm = record.contents
    return time.struct_time((tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min,
                             tm.tm_sec, (tm.tm_wday + 6) % 7, tm.tm_yday + 1, tm.tm_isdst,
                             os.fsdecode(tm.tm_zone or b""), tm.tm_gmtoff))


def _time(when: int) -> Any:
    bits = 8 * ctypes.sizeof(ctypes.c_long)
    return ctypes.byref(ctypes.c_long(_within("a time", when, -(1 << (bits - 1)),
                                              (1 << (bits - 1)) - 1)))


def wek_time_stamp() -> int:
    """Seconds since 1970-01-01 00:00:00 UTC, signed: negative from 2038-01-19 03:14:08 on."""
    return int(_call("wek_time_stamp"))


def wek_localtime_offset() -> int:
    """Seconds that local time is west of UTC at this moment."""
    return int(_call("wek_localtime_offset"))


def wek_time_stamp_local() -> int:
    """The local wall clock, counted as if it were UTC."""
    return int(_call("wek_time_stamp_local"))


def wek_date_stamp() -> int:
    """Date number of the local day."""
    return int(_call("wek_date_stamp"))


def days_in_year(year: int) -> int:
    """365, or 366 for a year divisible by 4."""
    return int(_call("days_in_year", _int32("a year", year)))


def days_in_month(year: int, month: int) -> int:
    """28 to 31."""
    return int(_call("days_in_month", _int32("a year", year), _within("a month", month, 1, 12)))


def data_to_date(years_since_1900: int, month: int, day: int) -> int:
    """Date number of calendar fields."""
    date = ctypes.c_uint16()
    if _call("data_to_date", _int32("a year", years_since_1900), _int32("a month", month),
             _int32("a day", day), ctypes.byref(date)) == 0:
        raise ValueError(f"month {month} of {years_since_1900 + 1900} has no day {day}")
    return date.value


def wek_gmtime(stamp: int) -> time.struct_time:
    """UTC calendar fields of a stamp, which is read as unsigned: 1970 to 2106."""
    return _fields(_call("wek_gmtime", ctypes.byref(ctypes.c_int32(_signed(stamp)))))


def wek_localtime(stamp: int) -> time.struct_time:
    """Local calendar fields of a stamp, which is read as unsigned: 1970 to 2106."""
    return _fields(_call("wek_localtime", ctypes.byref(ctypes.c_int32(_signed(stamp)))))


def tav_mktime(fields: time.struct_time) -> int:
    """mktime() of the C library: local calendar fields to seconds since 1970."""
    tm = Tm(fields.tm_sec, fields.tm_min, fields.tm_hour, fields.tm_mday, fields.tm_mon - 1,
            fields.tm_year - 1900, -1, 0, fields.tm_isdst)
    when = int(_call("tav_mktime", ctypes.byref(tm)))
    if tm.tm_wday == -1:  # which no success leaves there
        raise OrlaError("the C library cannot convert these fields")
    return when


def tav_gmtime(when: int) -> time.struct_time:
    """gmtime() of the C library: without the fold of wek_gmtime()."""
    return _fields(_call("tav_gmtime", _time(when)))


def tav_localtime(when: int) -> time.struct_time:
    """localtime() of the C library: without the fold of wek_localtime()."""
    return _fields(_call("tav_localtime", _time(when)))


def tav_ctime(when: int) -> str:
    """ctime() of the C library, its line feed included."""
    address = _call("tav_ctime", _time(when))
    if address is None:
        raise OrlaError("the C library cannot convert this moment")
    return os.fsdecode(ctypes.string_at(address))


def RestoreTZ() -> None:
    """Does nothing."""
    _call("RestoreTZ")


def date_to_string(date: int) -> str:
    """ "MM/DD/YYYY" of a date number."""
    text = ctypes.create_string_buffer(DATE_TEXT_SIZE)
    _call("date_to_string", text, _uint16("a date number", date))
    return text.value.decode()


def time_to_string(stamp: int) -> str:
    """UTC text of a stamp, which is read as signed: 1901 to 2038."""
    text = ctypes.create_string_buffer(DATE_TEXT_SIZE)
    if _call("time_to_string", text, _signed(stamp)) == 0:
        raise OrlaError("the names of this locale do not fit")
    return os.fsdecode(text.value)


def _line(name: str, number: int, prefix: Text) -> str:
    head = _bytes(prefix)
    line = ctypes.create_string_buffer(len(head) + 12)
    _call(name, number, line, head)
    return os.fsdecode(line.value)


def date_to_line(date: int, prefix: Text = "") -> str:
    """The prefix, "MM/DD/YYYY" of a date number and a line feed."""
    return _line("date_to_line", _uint16("a date number", date), prefix)


def time_to_line(stamp: int, prefix: Text = "") -> str:
    """The prefix, "MM/DD/YYYY" of the UTC day of a stamp and a line feed."""
    return _line("time_to_line", _signed(stamp), prefix)


def _printed(count: int) -> int:
    if count < 0:
        raise OrlaError("the line could not be printed")
    return count


def print_date_line(date: int, prefix: Optional[Text] = None) -> int:
    """Prints the line of date_to_line() on standard output; in the prefix "%%" is a percent sign and
    "%m" the text of errno. Gives the number of bytes."""
    return _printed(_printing("print_date_line", _uint16("a date number", date), _optional(prefix)))


def print_time_line(stamp: int, prefix: Optional[Text] = None) -> int:
    """Prints the line of time_to_line() as print_date_line() does."""
    return _printed(_printing("print_time_line", _signed(stamp), _optional(prefix)))


class Stream:
    """A stream of the C library, for the functions that take one. Closed at the end of "with"."""

    def __init__(self, path: Text, mode: str = "r") -> None:
        self._file: Optional[int] = _libc.fopen(_bytes(path), mode.encode())
        if self._file is None:
            error = ctypes.get_errno()
            raise OSError(error, os.strerror(error), os.fsdecode(path))

    def __enter__(self) -> Stream:
        return self

    def __exit__(self, kind: Optional[type[BaseException]], value: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        self.close()

    @property
    def address(self) -> int:
        """FILE * of the open stream."""
        if self._file is None:
            raise ValueError("the stream is closed")
        return self._file

    def close(self) -> None:
        """Closes the stream, once."""
        if self._file is None:
            return
        file, self._file = self._file, None
        if _libc.fclose(file) != 0:
            error = ctypes.get_errno()
            raise OSError(error, os.strerror(error))


def fprint_date_line(stream: Stream, date: int, prefix: Optional[Text] = None) -> int:
    """Prints the line of print_date_line() on a stream."""
    return _printed(_call("fprint_date_line", stream.address, _uint16("a date number", date),
                          _optional(prefix)))


def fprint_time_line(stream: Stream, stamp: int, prefix: Optional[Text] = None) -> int:
    """Prints the line of print_time_line() on a stream."""
    return _printed(_call("fprint_time_line", stream.address, _signed(stamp), _optional(prefix)))


def k7_date_format(date_format: Text) -> str:
    """Turns a date format into a printf() format whose arguments are month, day and year."""
    data = _bytes(date_format)
    numeric = ctypes.create_string_buffer(5 * len(data) // 2 + 2)
    _call("k7_date_format", data, numeric)
    return os.fsdecode(numeric.value)


def orla_strptime(text: Text, date_format: Text) -> tuple[int, int, int]:
    """Years since 1900, month (from 0) and day out of a text; a field that it does not reach is 0, the
    year -1."""
    tm = Tm()
    _call("orla_strptime", _bytes(text), _bytes(date_format), ctypes.byref(tm))
    return tm.tm_year, tm.tm_mon, tm.tm_mday


def k7_parse_date(text: Text) -> tuple[int, int, int]:
    """Years since 1900, month and day out of a date text, in the input mode of the process."""
    fields = [ctypes.c_int32() for _ in range(3)]
    if _call("k7_parse_date", _bytes(text), *(ctypes.byref(each) for each in fields)) != 0:
        raise ValueError(f"{text!r} is not a date")
    year, month, day = (each.value for each in fields)
    return year, month, day


def string_to_date(text: Text) -> int:
    """Date number of a date text."""
    date = ctypes.c_uint16()
    if _call("string_to_date", _bytes(text), ctypes.byref(date)) == 0:
        raise ValueError(f"{text!r} is not a date")
    return date.value


def string_to_time(text: Text) -> int:
    """Stamp of 00:00:00 UTC of a date text, signed; 0, too, for whatever is no date and for 12/28/1986."""
    return int(_call("string_to_time", _bytes(text)))


# UUIDs


def orla_uuid_gen() -> Uuid:
    """A UUID of this moment on this host. Two within 4 microseconds are the same."""
    uuid = Uuid()
    _call("orla_uuid_gen", ctypes.byref(uuid))
    return uuid


def orla_uuid_encode(uuid: Uuid) -> str:
    """The text of a UUID, 36 characters."""
    return _filled("orla_uuid_encode", UUID_TEXT_SIZE, ctypes.byref(uuid))


def orla_uuid_decode(text: Text) -> Uuid:
    """The UUID of a text."""
    uuid = Uuid()
    status = ctypes.c_uint32()
    _call("orla_uuid_decode", _bytes(text), ctypes.byref(uuid), ctypes.byref(status))
    if status.value != 0:
        raise ValueError(f"{text!r} is not a UUID")
    return uuid


def orla_reserved_uuid_gen(number: int) -> Uuid:
    """A UUID of the reserved space with the time of this moment."""
    uuid = Uuid()
    _call("orla_reserved_uuid_gen", ctypes.byref(uuid), _uint16("a number", number))
    return uuid


def orla_reserved_uuid_inflate(time_high: int, time_low: int, number: int) -> Uuid:
    """A UUID of the reserved space from its parts."""
    uuid = Uuid()
    _call("orla_reserved_uuid_inflate", ctypes.byref(uuid), _uint32("time_high", time_high),
          _uint16("time_low", time_low), _uint16("a number", number))
    return uuid


def orla_uuid_cmp(a: Uuid, b: Uuid) -> int:
    """Negative, zero or positive, as a is before, equal to or behind b."""
    return int(_call("orla_uuid_cmp", ctypes.byref(a), ctypes.byref(b)))


def orla_uuid_equal(a: Uuid, b: Uuid) -> bool:
    """Whether two UUIDs are the same."""
    return bool(_call("orla_uuid_equal", ctypes.byref(a), ctypes.byref(b)))


def orla_uuid_hash(uuid: Uuid, modulus: int) -> int:
    """A UUID's bucket, 0 to modulus - 1 and at most 65535."""
    return int(_call("orla_uuid_hash", ctypes.byref(uuid),
                     _within("a modulus", modulus, 1, 0xFFFFFFFF)))


# Profile files


def orla_cfg_get_private_profile_int(section: Text, key: Text, fallback: int, path: Text) -> int:
    """A number of a profile file, 0 to 99999, or the fallback."""
    return int(_call("orla_cfg_get_private_profile_int", _bytes(section), _bytes(key),
                     _int32("a fallback", fallback), _bytes(path)))


def orla_cfg_get_private_profile_string(section: Text, key: Text, fallback: Optional[Text],
                                        path: Text) -> str:
    """A value of a profile file, of any length, or the fallback, which also takes the place of a blank
    value. With None a blank value comes as it is, and what is not found as an empty text."""
    default = _optional(fallback)
    size = 256 + len(default or b"")
    while True:
        text = ctypes.create_string_buffer(size)
        length = int(_call("orla_cfg_get_private_profile_string", _bytes(section), _bytes(key),
                           default, text, size, _bytes(path)))
        if length < size - 1:
            return os.fsdecode(text.raw[:length])
        size *= 2


def orla_cfg_write_private_profile_string(section: Text, key: Text, value: Text,
                                          path: Text) -> None:
    """Writes one key. Each call leaves a descriptor open in the process."""
    if _call("orla_cfg_write_private_profile_string", _bytes(section), _bytes(key), _bytes(value),
             _bytes(path)) == 0:
        raise OrlaError(f"{os.fsdecode(path)} was not rewritten")


def orla_cfg_file() -> tuple[str, bool]:
    """Path of the profile in force, and whether ORLA_CONFIG named it; settled at the first call."""
    path = ctypes.create_string_buffer(PROFILE_PATH_SIZE)
    from_environment = ctypes.c_char()
    _call("orla_cfg_file", path, ctypes.byref(from_environment))
    return os.fsdecode(path.value), from_environment.value != b"\0"


def orla_i_cfg_read_line(stream: Stream) -> Optional[str]:
    """One line of a profile file, cut at 511 bytes; None at the end of the file."""
    line = ctypes.create_string_buffer(PROFILE_LINE_SIZE)
    if _call("orla_i_cfg_read_line", stream.address, line) == 0:
        return None
    return os.fsdecode(line.value)


def create_temporary_name() -> str:
    """Creates an empty file in /tmp and gives its path. Each call leaves a descriptor open."""
    name = ctypes.create_string_buffer(TEMPORARY_NAME_SIZE)
    if _call("create_temporary_name", name) != 0:
        raise OrlaError("no file could be created in /tmp")
    return name.value.decode()


def copy_file(source: Text, destination: Text) -> None:
    """Copies a file over another one. What cannot be written is not noticed."""
    if _call("copy_file", _bytes(source), _bytes(destination)) != 0:
        raise OrlaError(f"{os.fsdecode(source)} or {os.fsdecode(destination)} does not open")


# Trace writer


def TavTrace(message: Optional[Text]) -> None:
    """Writes one trace line while a switch is on; None closes the trace file."""
    _printing("TavTrace",
              None if message is None else ctypes.create_string_buffer(_bytes(message)))


# Loader


class LibraryId:
    """Record of one library. What was freed is not used, and not freed again; "with" frees the rest."""

    def __init__(self, address: int) -> None:
        self._address: Optional[int] = address
        self.loaded = False

    def __enter__(self) -> LibraryId:
        return self

    def __exit__(self, kind: Optional[type[BaseException]], value: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        if self._address is None:
            return
        if self.loaded:
            orla_slnk_free_library(self)
        orla_slnk_free_library_id(self)

    @property
    def address(self) -> int:
        """Address of the record."""
        if self._address is None:
            raise ValueError("the library id was freed")
        return self._address

    def release(self) -> int:
        """Gives the address away."""
        address, self._address = self.address, None
        return address


def _loaded(library: LibraryId, wanted: bool) -> int:
    if library.loaded != wanted:
        raise ValueError("no library is loaded" if wanted else "a library is loaded already")
    return library.address


def orla_slnk_allocate_library_id() -> LibraryId:
    """A new library id."""
    address = _call("orla_slnk_allocate_library_id")
    if address is None:
        raise MemoryError
    return LibraryId(address)


def orla_slnk_load_library(name: Text, library: LibraryId) -> None:
    """Opens a shared library."""
    status = ctypes.c_uint32()
    _printing("orla_slnk_load_library", _bytes(name), _loaded(library, False), ctypes.byref(status))
    if status.value != 0:
        raise OrlaError(f"{os.fsdecode(name)} does not open")
    library.loaded = True


def orla_slnk_get_proc_addr(library: LibraryId, symbol: Text) -> int:
    """Address of a symbol. One that is missing is reported on standard output too."""
    status = ctypes.c_uint32()
    address = _printing("orla_slnk_get_proc_addr", _loaded(library, True), _bytes(symbol),
                        ctypes.byref(status))
    if address is None:
        raise OrlaError(f"there is no symbol {os.fsdecode(symbol)}")
    return int(address)


def orla_slnk_free_library(library: LibraryId) -> None:
    """Closes the library of an id, which may then be loaded again."""
    result = _call("orla_slnk_free_library", _loaded(library, True))
    library.loaded = False
    if result != 0:
        raise OrlaError("the library could not be closed")


def orla_slnk_free_library_id(library: LibraryId) -> None:
    """Releases an id. A library that is still open stays open."""
    _call("orla_slnk_free_library_id", library.release())


# Tokens


def _delimiter(delimiter: Text) -> bytes:
    data = _bytes(delimiter)
    if len(data) != 1:
        raise ValueError("a delimiter is one byte")
    return data


def _token(name: str, text: Text, out_size: Optional[int], *between: Any) -> tuple[str, str]:
    data = ctypes.create_string_buffer(_bytes(text))
    size = len(data) if out_size is None else _within("a size", out_size, 0, 0x7FFFFFFF)
    out = ctypes.create_string_buffer(max(size, 1))
    rest = _call(name, ctypes.cast(data, ctypes.c_char_p), *between, out, size)
    if rest is None:
        raise LookupError("there is no such token, or it does not fit")
    return os.fsdecode(out.value), os.fsdecode(data.raw[rest - ctypes.addressof(data):-1])


def get_first_delimited_token_in_string(text: Text, delimiter: Text = '"',
                                        out_size: Optional[int] = None) -> tuple[str, str]:
    """The first token of a text, and the text behind it. LookupError when there is none, or when it has
    more than out_size - 1 bytes."""
    return _token("get_first_delimited_token_in_string", text, out_size, _delimiter(delimiter))


def get_delimited_token_in_string(text: Text, index: int, delimiter: Text = '"',
                                  out_size: Optional[int] = None) -> tuple[str, str]:
    """The token at an index, and the text behind it. Found only when all tokens before it are empty."""
    return _token("get_delimited_token_in_string", text, out_size,
                  _within("an index", index, -0x8000, 0x7FFF), _delimiter(delimiter))


def count_delimited_tokens_in_string(text: Text, delimiter: Text = '"') -> int:
    """The number of tokens, counted in 16 bits."""
    return int(_call("count_delimited_tokens_in_string", _bytes(text), _delimiter(delimiter)))


def tokens(text: Text, delimiter: Text = '"') -> Iterator[str]:
    """All tokens of a text, each search going on from the one before."""
    rest: Text = text
    while True:
        try:
            token, rest = get_first_delimited_token_in_string(rest, delimiter)
        except LookupError:
            return
        yield token


# Byte order


def swap(data: bytearray, i: int, j: int) -> None:
    """Exchanges two bytes of an array in their place."""
    for index in (i, j):
        _within("an index", index, 0, len(data) - 1)
    _call("swap", ctypes.byref(ctypes.c_char.from_buffer(data, i)),
          ctypes.byref(ctypes.c_char.from_buffer(data, j)))


def htonl(host: int) -> int:
    """The four bytes in reverse order."""
    return int(_call("htonl", _uint32("a number", host)))


def htons(host: int) -> int:
    """The two bytes in reverse order."""
    return int(_call("htons", _uint16("a number", host)))


def ntohl(network: int) -> int:
    """The four bytes in reverse order."""
    return int(_call("ntohl", _uint32("a number", network)))


def ntohs(network: int) -> int:
    """The two bytes in reverse order."""
    return int(_call("ntohs", _uint16("a number", network)))


# Names


def orla_get_user_name() -> str:
    """Name of the real user, "unknown" without an entry."""
    return _filled("orla_get_user_name", NAME_SIZE)


def orla_get_group_name() -> str:
    """Name of the real group, "unknown" without an entry."""
    return _filled("orla_get_group_name", NAME_SIZE)


def orla_get_node_name() -> str:
    """Name of this node, empty when there is no provider."""
    sys.stdout.flush()
    name = _filled("orla_get_node_name", NODE_NAME_SIZE)
    _libc.fflush(None)
    return name


# Variables


class Variables:
    """The library's variables, read and set in its memory."""

    def __init__(self) -> None:
        self._kept: dict[str, Any] = {}  # what the library points at

    @staticmethod
    def _variable(name: str) -> Any:
        return VARIABLES[name].in_dll(_library, name)

    def _name(self, name: str) -> Optional[str]:
        value = self._variable(name).value
        return None if value is None else os.fsdecode(value)

    def _set_name(self, name: str, value: Optional[Text]) -> None:
        kept = _optional(value)
        self._variable(name).value = kept
        self._kept[name] = kept

    @property
    def orlalib_verbose(self) -> int:
        """Library trace switch."""
        return int(self._variable("orlalib_verbose").value)

    @orlalib_verbose.setter
    def orlalib_verbose(self, value: int) -> None:
        self._variable("orlalib_verbose").value = _int32("a switch", value)

    @property
    def orlathr_verbose(self) -> int:
        """Thread trace switch."""
        return int(self._variable("orlathr_verbose").value)

    @orlathr_verbose.setter
    def orlathr_verbose(self, value: int) -> None:
        self._variable("orlathr_verbose").value = _int32("a switch", value)

    @property
    def statuslog(self) -> bytes:
        """Message buffer of the traced services, up to its terminator."""
        return bytes(self._variable("statuslog").value)

    @statuslog.setter
    def statuslog(self, value: Text) -> None:
        data = _bytes(value)
        if len(data) >= STATUSLOG_SIZE:
            raise ValueError(f"a message has at most {STATUSLOG_SIZE - 1} bytes")
        self._variable("statuslog").value = data

    @property
    def k7_uuid__nil(self) -> Uuid:
        """The nil UUID."""
        return Uuid.from_buffer_copy(self._variable("k7_uuid__nil"))

    @property
    def orla_ls_user(self) -> Optional[str]:
        """User name to report in place of the system's, or None."""
        return self._name("orla_ls_user")

    @orla_ls_user.setter
    def orla_ls_user(self, value: Optional[Text]) -> None:
        self._set_name("orla_ls_user", value)

    @property
    def orla_ls_group(self) -> Optional[str]:
        """Group name to report in place of the system's, or None."""
        return self._name("orla_ls_group")

    @orla_ls_group.setter
    def orla_ls_group(self, value: Optional[Text]) -> None:
        self._set_name("orla_ls_group", value)

    @property
    def orla_uuid_host_provider(self) -> Optional[Callable[[], tuple[int, int]]]:
        """Function that gives a host identifier and its class code; None for the library's own."""
        found: Optional[Callable[[], tuple[int, int]]]
        found = self._kept.get("orla_uuid_host_provider", (None, None))[0]
        return found

    @orla_uuid_host_provider.setter
    def orla_uuid_host_provider(self, value: Optional[Callable[[], tuple[int, int]]]) -> None:
        def provide(identifier: Any, class_code: Any) -> None:
            assert value is not None
            identifier[0], class_code[0] = value()

        callback = Provider(0) if value is None else Provider(provide)
        pointer = ctypes.c_void_p.in_dll(_library, "orla_uuid_host_provider")
        pointer.value = ctypes.cast(callback, ctypes.c_void_p).value
        self._kept["orla_uuid_host_provider"] = (value, callback)


variables = Variables()
