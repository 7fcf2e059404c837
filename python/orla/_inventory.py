"""Host inventory: processors, memory and disks."""

from __future__ import annotations

import ctypes
import enum
from typing import NamedTuple

from orla._errors import OrlaError
from orla._library import call, printing, uint32

__all__ = ["CPUID_is_supported", "CountMethod", "HTSupported", "Registers", "count_physical_proc",
           "cpuid", "ht_os_cpus", "tavGetConfigProcs", "tavGetDisks", "tavGetMemorySize",
           "tavGetOnlineProcs"]


class CountMethod(enum.IntEnum):
    """How count_physical_proc() counted."""

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
    if printing(name, ctypes.byref(figure)) != 0:
        raise OrlaError(what)
    return figure.value


def tavGetOnlineProcs() -> int:
    """Counts the host's processors."""
    return _inventory("tavGetOnlineProcs", "the kernel gives no count of processors")


def tavGetConfigProcs() -> int:
    """Counts the host's processors; the same figure as tavGetOnlineProcs()."""
    return _inventory("tavGetConfigProcs", "the kernel gives no count of processors")


def tavGetMemorySize() -> int:
    """Main memory in mebibytes; the kernel's memory unit is not applied."""
    return _inventory("tavGetMemorySize", "the kernel does not report the memory size")


def tavGetDisks() -> int:
    """Disks that answer a drive-geometry request. Only for root."""
    count = ctypes.c_uint()
    if printing("tavGetDisks", ctypes.byref(count)) != 0:
        raise OrlaError("only root may count disks")
    return count.value


def count_physical_proc() -> tuple[int, CountMethod]:
    """Processors, and how they were counted."""
    count = ctypes.c_int()
    method = CountMethod(call("count_physical_proc", ctypes.byref(count)))
    return count.value, method


def HTSupported() -> int:
    """Logical processors per package, by the processor; 0 without hyper-threading."""
    return int(call("HTSupported"))


def ht_os_cpus() -> int:
    """The kernel's hyper-threading figure; 0 for none. A kernel log that cannot be read ends the
    process."""
    figure = int(call("ht_os_cpus"))
    if figure < 0:
        raise OrlaError("the kernel cannot be asked, or its packages disagree")
    return figure


def CPUID_is_supported() -> bool:
    """Whether the processor has the cpuid instruction."""
    return bool(call("CPUID_is_supported"))


def cpuid(leaf: int) -> Registers:
    """Executes the cpuid instruction for leaf 0 or 1."""
    registers = [ctypes.c_uint32() for _ in range(4)]
    call("cpuid", uint32("a leaf", leaf), *(ctypes.byref(each) for each in registers))
    return Registers(*(each.value for each in registers))
