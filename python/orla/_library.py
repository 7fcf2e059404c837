"""The shared library: how it is found and called, and how arguments are checked and passed."""

from __future__ import annotations

import ctypes
import operator
import os
import struct
import sys
from typing import Any

from orla._errors import InvalidValue, LibraryNotFound
from orla._table import SIGNATURES

Text = str | bytes


def _open_library() -> ctypes.CDLL:
    name = os.environ.get("ORLA_LIBRARY") or "liborla.so.1"
    try:
        found = ctypes.CDLL(name)
        for function, (result, arguments) in SIGNATURES.items():
            getattr(found, function).restype = result
            getattr(found, function).argtypes = arguments
    except (OSError, AttributeError) as error:
        raise LibraryNotFound(
            f"the library of orla cannot be loaded ({error}): install the package liborla1 for "
            f"{8 * struct.calcsize('P')}-bit programs, or set ORLA_LIBRARY to the path of a "
            "liborla.so.1 that you built") from None
    return found


library = _open_library()

libc = ctypes.CDLL(None, use_errno=True)
libc.fopen.restype = ctypes.c_void_p
libc.fopen.argtypes = [ctypes.c_char_p, ctypes.c_char_p]
libc.fclose.argtypes = [ctypes.c_void_p]
libc.fflush.argtypes = [ctypes.c_void_p]
libc.secure_getenv.restype = ctypes.c_char_p
libc.secure_getenv.argtypes = [ctypes.c_char_p]


def call(name: str, *arguments: Any) -> Any:
    """Calls an exported function."""
    return getattr(library, name)(*arguments)


def filled(name: str, size: int, *before: Any) -> str:
    """Calls a function that fills a buffer of `size` bytes as its last argument."""
    buffer = ctypes.create_string_buffer(size)
    call(name, *before, buffer)
    return os.fsdecode(buffer.value)


def printing(name: str, *arguments: Any) -> Any:
    """Calls a function that prints on C's standard output, in order with what Python prints."""
    sys.stdout.flush()
    result = call(name, *arguments)
    libc.fflush(None)
    return result


def encoded(text: Text) -> bytes:
    """A text as C takes it."""
    try:
        data = os.fsencode(text)
    except UnicodeEncodeError as error:
        raise InvalidValue(f"the text {text!r} cannot be encoded") from error
    if b"\0" in data:
        raise InvalidValue(f"the text {text!r} holds a zero byte")
    return data


def optional(text: Text | None) -> bytes | None:
    """A text as C takes it, or null."""
    return None if text is None else encoded(text)


def within(what: str, number: int, low: int, high: int) -> int:
    """The number, which must be in a range, both ends included."""
    if not low <= operator.index(number) <= high:
        raise InvalidValue(f"{what} must be {low} to {high}, not {number}")
    return number


def int32(what: str, number: int) -> int:
    """A signed number of 32 bits."""
    return within(what, number, -0x80000000, 0x7FFFFFFF)


def uint16(what: str, number: int) -> int:
    """An unsigned number of 16 bits."""
    return within(what, number, 0, 0xFFFF)


def uint32(what: str, number: int) -> int:
    """An unsigned number of 32 bits."""
    return within(what, number, 0, 0xFFFFFFFF)


def signed(stamp: int) -> int:
    """A stamp as signed; it may be given as signed or as unsigned."""
    within("a stamp", stamp, -0x80000000, 0xFFFFFFFF)
    return stamp - 0x100000000 if stamp > 0x7FFFFFFF else stamp
