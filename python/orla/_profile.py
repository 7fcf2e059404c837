"""Profile files."""

from __future__ import annotations

import contextlib
import ctypes
import fcntl
import itertools
import os
from collections.abc import Iterator, Mapping

from orla._errors import OrlaError, ProfileError, ProfileKeyError, ProfileValueError
from orla._library import Text, call, encoded, int32, libc, optional
from orla._stream import Stream
from orla._table import (DEFAULT_PROFILE_PATH, PROFILE_LINE_SIZE, PROFILE_PATH_SIZE,
                         TEMPORARY_NAME_SIZE)

__all__ = ["Profile", "Section", "copy_file", "create_temporary_name", "orla_cfg_file",
           "orla_cfg_get_private_profile_int", "orla_cfg_get_private_profile_string",
           "orla_cfg_write_private_profile_string", "orla_i_cfg_read_line"]

# Characters that no line can hold: a reader would find the text cut or changed, or miss
# everything after it.
_REFUSED = {b"\n": "a line feed", b"\r": "a carriage return", b"\0": "a zero byte",
            b"\xff": "a byte 0xFF"}


class Profile(Mapping[str, "Section"]):
    """A profile file: its sections by name, in the order of the file, each a mapping of keys to
    values.

    Nothing is kept of the file: every look-up reads it again, and every value comes from the
    library, so a program in C reads the same. A missing file has no sections. Letter case of A
    to Z does not count in names.

    The path "/opt/tav/ls/conf/k7ls.ini" stands for the file that ORLA_CONFIG names, where it is
    set when the object is made."""

    def __init__(self, path: Text | os.PathLike[str]) -> None:
        self.path = os.fsdecode(path)
        if self.path == DEFAULT_PROFILE_PATH:
            named = libc.secure_getenv(b"ORLA_CONFIG")
            self.path = self.path if named is None else os.fsdecode(named)

    @classmethod
    def in_force(cls) -> Profile:
        """The profile in force, which the first call of orla_cfg_file() in the process decides."""
        return cls(orla_cfg_file()[0])

    def section(self, name: str) -> Section:
        """A section, which need not exist yet: writing its first key creates it."""
        return Section(self, name)

    def __getitem__(self, name: str) -> Section:
        if _folded(name) not in map(_folded, self):
            raise ProfileKeyError(self.path, name, None, "there is no such section")
        return self.section(name)

    def __iter__(self) -> Iterator[str]:
        found: dict[bytes, str] = {}
        for line in self.lines():
            if line[:1] == b"[" and line[1:][-1:] == b"]":
                found.setdefault(line.lower(), os.fsdecode(line[1:-1]))
        return iter(found.values())

    def __len__(self) -> int:
        return sum(1 for _ in self)

    def __repr__(self) -> str:
        return f"Profile({self.path!r})"

    def lines(self) -> list[bytes]:
        """The lines that the library sees, without line feeds. ProfileError for a file that
        cannot be read."""
        try:
            with open(self.path, "rb") as file:
                seen = file.read().partition(b"\xff")[0].replace(b"\r", b"")
        except FileNotFoundError:
            return []
        except OSError as error:
            raise ProfileError(self.path, None, None, error.strerror or str(error)) from error
        # What follows the last line feed is not seen, nor what follows a zero byte in a line.
        return [line.partition(b"\0")[0] for line in seen.split(b"\n")[:-1]]


class Section(Mapping[str, str]):
    """A section of a profile file: keys to values. A key cannot be deleted. Letter case of A to Z
    does not count in keys.

    A look-up finds what the library finds: the value of the first line that begins with the key.
    So "Port" is found in "PortNumber=77" too, a section goes on to the first empty line, past the
    next header, and "[Maintenance]" is taken for "[Main]". Iteration gives what stands before the
    first "=" of each line.

    Setting a key rewrites the file, while other writers that lock it with flock() wait, such as
    "orla profile set". ProfileValueError, before the file is touched, for what a reader would not
    get back; ProfileError where the file cannot be written or a reader gets something else."""

    def __init__(self, profile: Profile, name: str) -> None:
        self.profile = profile
        self.name = name

    def __getitem__(self, key: str) -> str:
        value = self._value(key)
        # The library gives an empty string for an empty value, and for what it does not find.
        if not key or not value and b"=" not in self._line(key):
            raise ProfileKeyError(self.profile.path, self.name, key, "there is no such key")
        return value

    def get_int(self, key: str, fallback: int | None = None) -> int:
        """The number at the start of a value, 0 to 99999; 0 without a digit. For a missing key,
        and a value that is empty or has more than 5 characters: the fallback, or without one
        ProfileKeyError or ProfileValueError."""
        if fallback is not None:
            return orla_cfg_get_private_profile_int(self.name, key, fallback, self.profile.path)
        number = orla_cfg_get_private_profile_int(self.name, key, -1, self.profile.path)
        if number == -1:
            raise ProfileValueError(self.profile.path, self.name, key,
                                    f"no number of 1 to 5 characters, but {self[key]!r}")
        return number

    def __setitem__(self, key: str, value: str) -> None:
        place = (self.profile.path, self.name, key)
        if not key:
            raise ProfileValueError(*place, "the key must not be empty")
        if key.startswith("["):
            raise ProfileValueError(*place, "the key must not begin with a bracket: a reader could take "
                                    "its line for a header")
        if "=" in value:
            raise ProfileValueError(*place, "the value must not hold an equals sign: a reader would "
                                    "get only what follows the last one")
        with _locked(self.profile.path):
            orla_cfg_write_private_profile_string(self.name, key, value, self.profile.path)
            found = self._value(key)
        if found != value:
            raise ProfileError(*place, f"{value!r} was written, but a reader gets {found!r}")

    def __iter__(self) -> Iterator[str]:
        seen = set()
        without_value: list[bytes] = []
        for line in self._lines():
            key, equals, _ = line.partition(b"=")
            folded = key.lower()
            if not equals:
                without_value.append(folded)
            # Quirk: a line without "=" hides a key that it begins with: no look-up finds it.
            elif key and folded not in seen and not any(each.startswith(folded)
                                                        for each in without_value):
                seen.add(folded)
                yield os.fsdecode(key)

    def __len__(self) -> int:
        return sum(1 for _ in self)

    def __repr__(self) -> str:
        return f"{self.profile!r}.section({self.name!r})"

    def _value(self, key: str) -> str:
        return orla_cfg_get_private_profile_string(self.name, key, None, self.profile.path)

    def _lines(self) -> list[bytes]:
        # Quirk: the library's string reader compares as many characters of a header as the name
        # has, so the name's last one and the bracket do not count.
        name = _folded(self.name)
        header = (b"[" + name)[:len(name)]
        from_header = itertools.dropwhile(lambda line: not line.lower().startswith(header),
                                          self.profile.lines())
        return list(itertools.takewhile(bool, itertools.islice(from_header, 1, None)))

    def _line(self, key: str) -> bytes:
        folded = _folded(key)
        return next((line for line in self._lines() if line.lower().startswith(folded)), b"")


def _folded(name: str) -> bytes:
    return os.fsencode(name).lower()  # of bytes: A to Z alone


@contextlib.contextmanager
def _locked(path: str) -> Iterator[None]:
    """Keeps out other writers that lock the file. Without a file, or without locks in its file
    system, nothing is locked."""
    with contextlib.ExitStack() as stack:
        with contextlib.suppress(OSError):
            fcntl.flock(stack.enter_context(open(path, "rb")), fcntl.LOCK_EX)
        yield


def orla_cfg_get_private_profile_int(section: Text, key: Text, fallback: int, path: Text) -> int:
    """A number of a profile file, 0 to 99999, or the fallback."""
    return int(call("orla_cfg_get_private_profile_int", encoded(section), encoded(key),
                     int32("a fallback", fallback), encoded(path)))


def orla_cfg_get_private_profile_string(section: Text, key: Text, fallback: Text | None,
                                        path: Text) -> str:
    """A value of a profile file, of any length, or the fallback, which also takes the place of a
    value that is empty or only spaces. With None such a value is returned as it is, and an empty
    string for what is not found."""
    default = optional(fallback)
    size = 256 + len(default or b"")
    while True:
        text = ctypes.create_string_buffer(size)
        length = int(call("orla_cfg_get_private_profile_string", encoded(section), encoded(key),
                           default, text, size, encoded(path)))
        if length < size - 1:
            return os.fsdecode(text.raw[:length])
        size *= 2


def orla_cfg_write_private_profile_string(section: Text, key: Text, value: Text,
                                          path: Text) -> None:
    """Writes one key. Each call leaves a descriptor open in the process. ProfileValueError,
    before the file is touched, for an argument that would not come back as it is: with a line
    feed, a carriage return, a zero byte or a byte 0xFF. ProfileError for a file that cannot be
    written."""
    place = (os.fsdecode(path), os.fsdecode(section), os.fsdecode(key))
    for what, text in (("section", section), ("key", key), ("value", value)):
        try:
            data = os.fsencode(text)
        except UnicodeEncodeError as error:
            raise ProfileValueError(*place, f"the {what} cannot be encoded") from error
        for byte, name in _REFUSED.items():
            if byte in data:
                raise ProfileValueError(*place, f"the {what} must not hold {name}")
    if call("orla_cfg_write_private_profile_string", encoded(section), encoded(key), encoded(value),
            encoded(path)) == 0:
        raise ProfileError(*place, "the file cannot be written")


def orla_cfg_file() -> tuple[str, bool]:
    """Path of the profile in force, and whether ORLA_CONFIG named it; decided at the first
    call."""
    path = ctypes.create_string_buffer(PROFILE_PATH_SIZE)
    from_environment = ctypes.c_char()
    call("orla_cfg_file", path, ctypes.byref(from_environment))
    return os.fsdecode(path.value), from_environment.value != b"\0"


def orla_i_cfg_read_line(stream: Stream) -> str | None:
    """One line of a profile file, cut at 511 bytes; None at the end of the file."""
    line = ctypes.create_string_buffer(PROFILE_LINE_SIZE)
    if call("orla_i_cfg_read_line", stream.address, line) == 0:
        return None
    return os.fsdecode(line.value)


def create_temporary_name() -> str:
    """Creates an empty file in /tmp and gives its path. Each call leaves a descriptor open in
    the process."""
    name = ctypes.create_string_buffer(TEMPORARY_NAME_SIZE)
    if call("create_temporary_name", name) != 0:
        raise OrlaError("no file could be created in /tmp")
    return name.value.decode()


def copy_file(source: Text, destination: Text) -> None:
    """Copies a file over another one. A failed write is not noticed."""
    if call("copy_file", encoded(source), encoded(destination)) != 0:
        raise OrlaError(f"{os.fsdecode(source)} or {os.fsdecode(destination)} does not open")
