"""Byte order."""

from __future__ import annotations

import ctypes

from orla._library import call, uint16, uint32, within

__all__ = ["htonl", "htons", "ntohl", "ntohs", "swap"]


def swap(data: bytearray, i: int, j: int) -> None:
    """Exchanges two bytes of an array in their place."""
    for index in (i, j):
        within("an index", index, 0, len(data) - 1)
    call("swap", ctypes.byref(ctypes.c_char.from_buffer(data, i)),
          ctypes.byref(ctypes.c_char.from_buffer(data, j)))


def htonl(host: int) -> int:
    """The four bytes in reverse order."""
    return int(call("htonl", uint32("a number", host)))


def htons(host: int) -> int:
    """The two bytes in reverse order."""
    return int(call("htons", uint16("a number", host)))


def ntohl(network: int) -> int:
    """The four bytes in reverse order."""
    return int(call("ntohl", uint32("a number", network)))


def ntohs(network: int) -> int:
    """The two bytes in reverse order."""
    return int(call("ntohs", uint16("a number", network)))
