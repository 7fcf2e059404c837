"""The exceptions of the package."""

from __future__ import annotations

__all__ = ["InvalidValue", "LibraryNotFound", "OrlaError", "ProfileError", "ProfileKeyError",
           "ProfileValueError", "TokenNotFound"]


class OrlaError(Exception):
    """Base of the exceptions of this package; by itself it says that a service of the library
    failed."""


class LibraryNotFound(OrlaError, ImportError):
    """The shared library of orla cannot be loaded. Raised by "import orla"."""


class InvalidValue(OrlaError, ValueError):
    """A text or a number that a function does not take."""


class TokenNotFound(OrlaError, LookupError):
    """There is no such token, or it does not fit."""


class ProfileError(OrlaError):
    """A profile file cannot be read or written."""

    def __init__(self, path: str, section: str | None, key: str | None, reason: str) -> None:
        super().__init__(path, section, key, reason)
        self.path = path
        self.section = section
        self.key = key
        self.reason = reason

    def __str__(self) -> str:
        place = self.path
        if self.section is not None:
            place += f", section {self.section!r}"
        if self.key is not None:
            place += f", key {self.key!r}"
        return f"{place}: {self.reason}"


class ProfileKeyError(ProfileError, KeyError):
    """A profile file has no such section or key."""


class ProfileValueError(ProfileError, InvalidValue):
    """A section name, key or value that a profile file cannot hold. The file is as it was."""
