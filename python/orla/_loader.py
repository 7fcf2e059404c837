"""Shared libraries opened by name."""

from __future__ import annotations

import ctypes
import os
from types import TracebackType

from orla._errors import InvalidValue, OrlaError
from orla._library import Text, call, encoded, printing

__all__ = ["LibraryId", "orla_slnk_allocate_library_id", "orla_slnk_free_library",
           "orla_slnk_free_library_id", "orla_slnk_get_proc_addr", "orla_slnk_load_library"]


class LibraryId:
    """Record of one library. "with" closes the library and frees the record. InvalidValue for a
    record that was freed before."""

    def __init__(self, address: int) -> None:
        self._address: int | None = address
        self.loaded = False

    def __enter__(self) -> LibraryId:
        return self

    def __exit__(self, kind: type[BaseException] | None, value: BaseException | None,
                 trace: TracebackType | None) -> None:
        if self._address is None:
            return
        if self.loaded:
            orla_slnk_free_library(self)
        orla_slnk_free_library_id(self)

    @property
    def address(self) -> int:
        """Address of the record."""
        if self._address is None:
            raise InvalidValue("the library id was freed")
        return self._address

    def release(self) -> int:
        """Returns the address and gives it up: the caller then frees the record."""
        address, self._address = self.address, None
        return address


def _address_when(library: LibraryId, *, loaded: bool) -> int:
    if library.loaded != loaded:
        raise InvalidValue("no library is loaded" if loaded else "a library is loaded already")
    return library.address


def orla_slnk_allocate_library_id() -> LibraryId:
    """A new record."""
    address = call("orla_slnk_allocate_library_id")
    if address is None:
        raise MemoryError
    return LibraryId(address)


def orla_slnk_load_library(name: Text, library: LibraryId) -> None:
    """Opens a shared library. OrlaError when it does not open."""
    status = ctypes.c_uint32()
    printing("orla_slnk_load_library", encoded(name), _address_when(library, loaded=False),
             ctypes.byref(status))
    if status.value != 0:
        raise OrlaError(f"{os.fsdecode(name)} does not open")
    library.loaded = True


def orla_slnk_get_proc_addr(library: LibraryId, symbol: Text) -> int:
    """Address of a symbol. OrlaError for a missing one, which is printed on standard output,
    too."""
    status = ctypes.c_uint32()
    address = printing("orla_slnk_get_proc_addr", _address_when(library, loaded=True),
                       encoded(symbol), ctypes.byref(status))
    if address is None:
        raise OrlaError(f"there is no symbol {os.fsdecode(symbol)}")
    return int(address)


def orla_slnk_free_library(library: LibraryId) -> None:
    """Closes the library of a record, which may then be loaded again."""
    result = call("orla_slnk_free_library", _address_when(library, loaded=True))
    library.loaded = False
    if result != 0:
        raise OrlaError("the library could not be closed")


def orla_slnk_free_library_id(library: LibraryId) -> None:
    """Frees a record. A library that is still open stays open."""
    call("orla_slnk_free_library_id", library.release())
