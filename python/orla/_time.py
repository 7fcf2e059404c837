"""Calendar and time."""

from __future__ import annotations

import ctypes
import os
import time
from typing import Any

from orla._errors import InvalidValue, OrlaError
from orla._library import (Text, call, encoded, int32, optional, printing, signed, uint16,
                           within)
from orla._stream import Stream
from orla._table import DATE_TEXT_SIZE, Tm

__all__ = ["RestoreTZ", "data_to_date", "date_to_line", "date_to_string", "days_in_month",
           "days_in_year", "fprint_date_line", "fprint_time_line", "k7_date_format",
           "k7_parse_date", "orla_strptime", "print_date_line", "print_time_line", "string_to_date",
           "string_to_time", "tav_ctime", "tav_gmtime", "tav_localtime", "tav_mktime",
           "time_to_line", "time_to_string", "wek_date_stamp", "wek_gmtime",
           "wek_localtime", "wek_localtime_offset", "wek_time_stamp", "wek_time_stamp_local"]


def _fields(record: Any) -> time.struct_time:
    if not record:
        raise OrlaError("the C library cannot convert this time")
    tm = record.contents
    return time.struct_time((tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min,
                             tm.tm_sec, (tm.tm_wday + 6) % 7, tm.tm_yday + 1, tm.tm_isdst,
                             os.fsdecode(tm.tm_zone or b""), tm.tm_gmtoff))


def _time(when: int) -> Any:
    bits = 8 * ctypes.sizeof(ctypes.c_long)
    return ctypes.byref(ctypes.c_long(within("a time", when, -(1 << (bits - 1)),
                                              (1 << (bits - 1)) - 1)))


def wek_time_stamp() -> int:
    """Seconds since 1970-01-01 00:00:00 UTC, signed: negative from 2038-01-19 03:14:08 on."""
    return int(call("wek_time_stamp"))


def wek_localtime_offset() -> int:
    """The offset of local time from UTC at the present moment, in seconds west of UTC."""
    return int(call("wek_localtime_offset"))


def wek_time_stamp_local() -> int:
    """The local wall clock, counted as if it were UTC."""
    return int(call("wek_time_stamp_local"))


def wek_date_stamp() -> int:
    """Date number of the local day."""
    return int(call("wek_date_stamp"))


def days_in_year(year: int) -> int:
    """365, or 366 for a year divisible by 4."""
    return int(call("days_in_year", int32("a year", year)))


def days_in_month(year: int, month: int) -> int:
    """28 to 31."""
    return int(call("days_in_month", int32("a year", year), within("a month", month, 1, 12)))


def data_to_date(years_since_1900: int, month: int, day: int) -> int:
    """Date number of calendar fields."""
    date = ctypes.c_uint16()
    if call("data_to_date", int32("a year", years_since_1900), int32("a month", month),
             int32("a day", day), ctypes.byref(date)) == 0:
        raise InvalidValue(f"month {month} of {years_since_1900 + 1900} has no day {day}")
    return date.value


def wek_gmtime(stamp: int) -> time.struct_time:
    """UTC calendar fields of a stamp, which is read as unsigned: 1970 to 2106."""
    return _fields(call("wek_gmtime", ctypes.byref(ctypes.c_int32(signed(stamp)))))


def wek_localtime(stamp: int) -> time.struct_time:
    """Local calendar fields of a stamp, which is read as unsigned: 1970 to 2106."""
    return _fields(call("wek_localtime", ctypes.byref(ctypes.c_int32(signed(stamp)))))


def tav_mktime(fields: time.struct_time) -> int:
    """mktime() of the C library: local calendar fields to seconds since 1970."""
    tm = Tm(fields.tm_sec, fields.tm_min, fields.tm_hour, fields.tm_mday, fields.tm_mon - 1,
            fields.tm_year - 1900, -1, 0, fields.tm_isdst)
    when = int(call("tav_mktime", ctypes.byref(tm)))
    if tm.tm_wday == -1:  # which no success leaves there
        raise OrlaError("the C library cannot convert these fields")
    return when


def tav_gmtime(when: int) -> time.struct_time:
    """gmtime() of the C library: without the fold of wek_gmtime()."""
    return _fields(call("tav_gmtime", _time(when)))


def tav_localtime(when: int) -> time.struct_time:
    """localtime() of the C library: without the fold of wek_localtime()."""
    return _fields(call("tav_localtime", _time(when)))


def tav_ctime(when: int) -> str:
    """ctime() of the C library, its line feed included."""
    address = call("tav_ctime", _time(when))
    if address is None:
        raise OrlaError("the C library cannot convert this time")
    return os.fsdecode(ctypes.string_at(address))


def RestoreTZ() -> None:
    """Does nothing."""
    call("RestoreTZ")


def date_to_string(date: int) -> str:
    """ "MM/DD/YYYY" of a date number."""
    text = ctypes.create_string_buffer(DATE_TEXT_SIZE)
    call("date_to_string", text, uint16("a date number", date))
    return text.value.decode()


def time_to_string(stamp: int) -> str:
    """UTC text of a stamp, which is read as signed: 1901 to 2038."""
    text = ctypes.create_string_buffer(DATE_TEXT_SIZE)
    if call("time_to_string", text, signed(stamp)) == 0:
        raise OrlaError("the names of this locale do not fit")
    return os.fsdecode(text.value)


def _line(name: str, number: int, prefix: Text) -> str:
    head = encoded(prefix)
    line = ctypes.create_string_buffer(len(head) + 12)
    call(name, number, line, head)
    return os.fsdecode(line.value)


def date_to_line(date: int, prefix: Text = "") -> str:
    """The prefix, "MM/DD/YYYY" of a date number and a line feed."""
    return _line("date_to_line", uint16("a date number", date), prefix)


def time_to_line(stamp: int, prefix: Text = "") -> str:
    """The prefix, "MM/DD/YYYY" of the UTC day of a stamp and a line feed."""
    return _line("time_to_line", signed(stamp), prefix)


def _printed(count: int) -> int:
    if count < 0:
        raise OrlaError("the line could not be printed")
    return count


def print_date_line(date: int, prefix: Text | None = None) -> int:
    """Prints the line of date_to_line() on standard output; in the prefix "%%" is a percent sign
    and "%m" the text of errno. Gives the number of bytes."""
    return _printed(printing("print_date_line", uint16("a date number", date), optional(prefix)))


def print_time_line(stamp: int, prefix: Text | None = None) -> int:
    """Prints the line of time_to_line() as print_date_line() does."""
    return _printed(printing("print_time_line", signed(stamp), optional(prefix)))


def fprint_date_line(stream: Stream, date: int, prefix: Text | None = None) -> int:
    """Prints the line of print_date_line() on a stream."""
    return _printed(call("fprint_date_line", stream.address, uint16("a date number", date),
                          optional(prefix)))


def fprint_time_line(stream: Stream, stamp: int, prefix: Text | None = None) -> int:
    """Prints the line of print_time_line() on a stream."""
    return _printed(call("fprint_time_line", stream.address, signed(stamp), optional(prefix)))


def k7_date_format(date_format: Text) -> str:
    """Turns a date format into a printf() format whose arguments are month, day and year."""
    data = encoded(date_format)
    numeric = ctypes.create_string_buffer(5 * len(data) // 2 + 2)
    call("k7_date_format", data, numeric)
    return os.fsdecode(numeric.value)


def orla_strptime(text: Text, date_format: Text) -> tuple[int, int, int]:
    """Years since 1900, month (from 0) and day from a text; a field that it does not reach is
    0, the year -1."""
    tm = Tm()
    call("orla_strptime", encoded(text), encoded(date_format), ctypes.byref(tm))
    return tm.tm_year, tm.tm_mon, tm.tm_mday


def k7_parse_date(text: Text) -> tuple[int, int, int]:
    """Years since 1900, month and day from a date text, in the input mode of the process."""
    fields = [ctypes.c_int32() for _ in range(3)]
    if call("k7_parse_date", encoded(text), *(ctypes.byref(each) for each in fields)) != 0:
        raise InvalidValue(f"{text!r} is not a date")
    year, month, day = (each.value for each in fields)
    return year, month, day


def string_to_date(text: Text) -> int:
    """Date number of a date text."""
    date = ctypes.c_uint16()
    if call("string_to_date", encoded(text), ctypes.byref(date)) == 0:
        raise InvalidValue(f"{text!r} is not a date")
    return date.value


def string_to_time(text: Text) -> int:
    """Stamp of 00:00:00 UTC of a date text, signed; also 0 for a text that is no date and for
    12/28/1986."""
    return int(call("string_to_time", encoded(text)))
