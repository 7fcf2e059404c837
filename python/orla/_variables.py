"""The library's variables."""

from __future__ import annotations

import ctypes
import os
from collections.abc import Callable
from typing import Any

from orla._errors import InvalidValue
from orla._library import Text, encoded, int32, library, optional
from orla._table import STATUSLOG_SIZE, VARIABLES, Provider
from orla._uuid import Uuid

__all__ = ["Variables", "variables"]


class Variables:
    """The library's variables, read and set in its memory. AttributeError for any other name."""

    __slots__ = ("_kept",)

    def __init__(self) -> None:
        self._kept: dict[str, Any] = {}  # what the library points at

    @staticmethod
    def _variable(name: str) -> Any:
        return VARIABLES[name].in_dll(library, name)

    def _name(self, name: str) -> str | None:
        value = self._variable(name).value
        return None if value is None else os.fsdecode(value)

    def _set_name(self, name: str, value: Text | None) -> None:
        kept = optional(value)
        self._variable(name).value = kept
        self._kept[name] = kept

    @property
    def orlalib_verbose(self) -> int:
        """Library trace switch."""
        return int(self._variable("orlalib_verbose").value)

    @orlalib_verbose.setter
    def orlalib_verbose(self, value: int) -> None:
        self._variable("orlalib_verbose").value = int32("a switch", value)

    @property
    def orlathr_verbose(self) -> int:
        """Thread trace switch."""
        return int(self._variable("orlathr_verbose").value)

    @orlathr_verbose.setter
    def orlathr_verbose(self, value: int) -> None:
        self._variable("orlathr_verbose").value = int32("a switch", value)

    @property
    def statuslog(self) -> bytes:
        """Message buffer of the traced services, up to its terminator."""
        return bytes(self._variable("statuslog").value)

    @statuslog.setter
    def statuslog(self, value: Text) -> None:
        data = encoded(value)
        if len(data) >= STATUSLOG_SIZE:
            raise InvalidValue(f"a message has at most {STATUSLOG_SIZE - 1} bytes")
        self._variable("statuslog").value = data

    @property
    def k7_uuid__nil(self) -> Uuid:
        """The nil UUID."""
        return Uuid.from_bytes(bytes(self._variable("k7_uuid__nil")))

    @property
    def orla_ls_user(self) -> str | None:
        """User name that replaces the system's, or None."""
        return self._name("orla_ls_user")

    @orla_ls_user.setter
    def orla_ls_user(self, value: Text | None) -> None:
        self._set_name("orla_ls_user", value)

    @property
    def orla_ls_group(self) -> str | None:
        """Group name that replaces the system's, or None."""
        return self._name("orla_ls_group")

    @orla_ls_group.setter
    def orla_ls_group(self, value: Text | None) -> None:
        self._set_name("orla_ls_group", value)

    @property
    def orla_uuid_host_provider(self) -> Callable[[], tuple[int, int]] | None:
        """Function that gives a host identifier and its class code; None for the library's own."""
        found: Callable[[], tuple[int, int]] | None
        found = self._kept.get("orla_uuid_host_provider", (None, None))[0]
        return found

    @orla_uuid_host_provider.setter
    def orla_uuid_host_provider(self, value: Callable[[], tuple[int, int]] | None) -> None:
        def provide(identifier: Any, class_code: Any) -> None:
            assert value is not None
            identifier[0], class_code[0] = value()

        callback = Provider(0) if value is None else Provider(provide)
        pointer = ctypes.c_void_p.in_dll(library, "orla_uuid_host_provider")
        pointer.value = ctypes.cast(callback, ctypes.c_void_p).value
        self._kept["orla_uuid_host_provider"] = (value, callback)


variables = Variables()
