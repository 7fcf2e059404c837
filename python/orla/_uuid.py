"""UUIDs."""

from __future__ import annotations

import ctypes
import dataclasses
import struct

from orla._errors import InvalidValue
from orla._library import Text, call, encoded, filled, uint16, uint32, within
from orla._table import UUID_TEXT_SIZE, UuidRecord

__all__ = ["Uuid", "orla_reserved_uuid_gen", "orla_reserved_uuid_inflate", "orla_uuid_cmp",
           "orla_uuid_decode", "orla_uuid_encode", "orla_uuid_equal", "orla_uuid_gen",
           "orla_uuid_hash"]

_LAYOUT = struct.Struct("=IHHB7s")  # of the record: the fields below, without padding


# The order of the fields is the order of UUIDs, as in orla_uuid_cmp().
@dataclasses.dataclass(frozen=True, order=True, init=False, repr=False)
class Uuid:
    """A UUID: 16 bytes that do not change. Made from its text, or by generate(),
    reserved_space() or from_bytes(). str() gives its text of 36 characters, bytes() its 16 bytes
    in the byte order of this host. UUIDs are totally ordered and can be keys of a dict; hash() is
    Python's, bucket() the library's.

    The text is read as the library reads it: white space, signs and short numbers are taken, and
    what follows the last number is ignored. InvalidValue for a text that is no UUID."""

    time_high: int
    time_low: int
    reserved: int
    family: int
    host: bytes

    def __init__(self, text: Text) -> None:
        self._take(bytes(orla_uuid_decode(text)))

    def _take(self, data: bytes) -> None:
        for field, value in zip(dataclasses.fields(self), _LAYOUT.unpack(data)):
            object.__setattr__(self, field.name, value)

    @classmethod
    def generate(cls) -> Uuid:
        """A UUID of this moment on this host. Two within 4 microseconds are the same."""
        return orla_uuid_gen()

    @classmethod
    def reserved_space(cls, number: int) -> Uuid:
        """A UUID of the reserved space, of this moment, with a number of 0 to 65535."""
        return orla_reserved_uuid_gen(number)

    @classmethod
    def from_bytes(cls, data: bytes) -> Uuid:
        """The UUID of what bytes() gives. InvalidValue unless these are 16 bytes."""
        if len(data) != _LAYOUT.size:
            raise InvalidValue(f"a UUID has {_LAYOUT.size} bytes, not {len(data)}")
        uuid = cls.__new__(cls)
        uuid._take(data)
        return uuid

    def bucket(self, modulus: int) -> int:
        """Its bucket by the library's hash, 0 to modulus - 1 and at most 65535."""
        return orla_uuid_hash(self, modulus)

    def __bytes__(self) -> bytes:
        return _LAYOUT.pack(*(getattr(self, field.name) for field in dataclasses.fields(self)))

    def __str__(self) -> str:
        return orla_uuid_encode(self)

    def __repr__(self) -> str:
        return f"Uuid({str(self)!r})"


def _record(uuid: Uuid) -> UuidRecord:
    return UuidRecord.from_buffer_copy(bytes(uuid))


def _made(name: str, *arguments: int) -> Uuid:
    """The UUID of a function that fills a record, its first argument."""
    record = UuidRecord()
    call(name, ctypes.byref(record), *arguments)
    return Uuid.from_bytes(bytes(record))


def orla_uuid_gen() -> Uuid:
    """A UUID of this moment on this host. Two within 4 microseconds are the same."""
    return _made("orla_uuid_gen")


def orla_uuid_encode(uuid: Uuid) -> str:
    """The text of a UUID, 36 characters."""
    return filled("orla_uuid_encode", UUID_TEXT_SIZE, ctypes.byref(_record(uuid)))


def orla_uuid_decode(text: Text) -> Uuid:
    """The UUID of a text. InvalidValue for a text that is no UUID."""
    record = UuidRecord()
    status = ctypes.c_uint32()
    call("orla_uuid_decode", encoded(text), ctypes.byref(record), ctypes.byref(status))
    if status.value != 0:
        raise InvalidValue(f"{text!r} is not a UUID")
    return Uuid.from_bytes(bytes(record))


def orla_reserved_uuid_gen(number: int) -> Uuid:
    """A UUID of the reserved space, of this moment, with a number of 0 to 65535."""
    return _made("orla_reserved_uuid_gen", uint16("a number", number))


def orla_reserved_uuid_inflate(time_high: int, time_low: int, number: int) -> Uuid:
    """A UUID of the reserved space from its parts."""
    return _made("orla_reserved_uuid_inflate", uint32("time_high", time_high),
                 uint16("time_low", time_low), uint16("a number", number))


def orla_uuid_cmp(a: Uuid, b: Uuid) -> int:
    """Negative, zero or positive, as a is before, equal to or after b."""
    return int(call("orla_uuid_cmp", ctypes.byref(_record(a)), ctypes.byref(_record(b))))


def orla_uuid_equal(a: Uuid, b: Uuid) -> bool:
    """Whether two UUIDs are the same."""
    return bool(call("orla_uuid_equal", ctypes.byref(_record(a)), ctypes.byref(_record(b))))


def orla_uuid_hash(uuid: Uuid, modulus: int) -> int:
    """The bucket of a UUID, 0 to modulus - 1 and at most 65535."""
    return int(call("orla_uuid_hash", ctypes.byref(_record(uuid)),
                    within("a modulus", modulus, 1, 0xFFFFFFFF)))
