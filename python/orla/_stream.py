"""Streams of the C library."""

from __future__ import annotations

import ctypes
import os
from types import TracebackType

from orla._errors import InvalidValue
from orla._library import Text, encoded, libc

__all__ = ["Stream"]


class Stream:
    """A stream of the C library, for the functions that take one; "with" closes it. OSError when
    it does not open, and when what was written cannot be stored."""

    def __init__(self, path: Text, mode: str = "r") -> None:
        self._file: int | None = libc.fopen(encoded(path), mode.encode())
        if self._file is None:
            error = ctypes.get_errno()
            raise OSError(error, os.strerror(error), os.fsdecode(path))

    def __enter__(self) -> Stream:
        return self

    def __exit__(self, kind: type[BaseException] | None, value: BaseException | None,
                 trace: TracebackType | None) -> None:
        self.close()

    @property
    def address(self) -> int:
        """FILE * of the open stream."""
        if self._file is None:
            raise InvalidValue("the stream is closed")
        return self._file

    def close(self) -> None:
        """Closes the stream, once."""
        if self._file is None:
            return
        file, self._file = self._file, None
        if libc.fclose(file) != 0:
            error = ctypes.get_errno()
            raise OSError(error, os.strerror(error))
