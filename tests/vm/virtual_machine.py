"""Boots Debian's kernel under qemu without acceleration, with the library and little else.

Nothing of the host shows in it: processors, memory, disks and clock are those that are asked for.
"""

import os
import re
import shutil
import stat
import subprocess
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
QEMU = "qemu-system-x86_64"
BOOT_LIMIT = 80  # seconds; a boot takes some 7 of a processor that it has to itself
# An emulated kernel of several processors stood still once while it started, and said nothing.
BOOTS = 3
# Of the disks in turn, and sparse: bytes and sectors of the larger ones are more than 32 bits
# count.
DISK_SIZES = (16 << 20, 5 << 30, 3 << 40)


class Missing(Exception):
    """Something that a virtual machine needs is missing."""


def require(guest):
    """Raises Missing, with the way to get it. `guest` is the folder that fetch-guest has filled."""
    if shutil.which(QEMU) is None:
        raise Missing(f"{QEMU} is not installed (package qemu-system-x86)")
    if not os.path.exists(os.path.join(guest, "vmlinuz")):
        raise Missing(f"no kernel in {guest} (tests/vm/fetch-guest gets one)")


def read(path):
    with open(path, "rb") as file:
        return file.read()


def cpio(files):
    """An archive that the kernel unpacks: path to (mode, contents)."""
    archive = b""
    for inode, (path, (mode, data)) in enumerate([*files.items(), ("TRAILER!!!", (0, b""))], 1):
        name = path.encode() + b"\0"
        header = (inode, mode, 0, 0, 1, 0, len(data), 0, 0, 0, 0, len(name), 0)
        archive += b"070701" + b"".join(b"%08x" % field for field in header) + name
        archive += b"\0" * (-len(archive) % 4) + data
        archive += b"\0" * (-len(archive) % 4)
    return archive


def libraries_of(program):
    """The dynamic linker and the libraries of a program of this host: path inside to path here."""
    listing = subprocess.run(["ldd", program], capture_output=True, text=True, check=True).stdout
    found = dict(re.findall(r"^\s*(\S+) => (/.+?) \(", listing, re.MULTILINE))
    inside = {f"lib/{name}": path for name, path in found.items()}
    for path in re.findall(r"^\s*(/\S+) \(", listing, re.MULTILINE):
        inside[path.lstrip("/")] = path
    return inside


def file_system(guest, report, tool, companion, moments):
    """The archive of the first file system: busybox, the drivers, the library and what asks it."""
    program = stat.S_IFREG | 0o755
    folders = ("bin", "lib", "lib64", "dev", "proc", "sys", "tmp")
    files = {folder: (stat.S_IFDIR | 0o755, b"") for folder in folders}
    files["init"] = (program, read(os.path.join(HERE, "init")))
    files["moments"] = (program, "\n".join(str(moment) for moment in moments).encode())
    files["modules"] = (program, read(os.path.join(guest, "modules")))
    paths = {"bin/busybox": os.path.join(guest, "busybox"), "bin/report": report,
             "bin/orla": tool, "lib/liborlanode.so": companion}
    for module in files["modules"][1].decode().split():
        paths[f"lib/{module}"] = os.path.join(guest, module)
    paths.update(libraries_of(report))
    paths.update(libraries_of(tool))
    files.update({inside: (program, read(path)) for inside, path in paths.items()})
    return cpio(files)


def boot(guest, archive, machine):
    """Runs a machine until it switches itself off, and starts it again where it takes too long;
    returns what it wrote on its console.

    `machine` has the attributes chipset, cpu, smp, memory (MiB), disks, clock and
    kernel_parameters.
    """
    late = ""
    for _ in range(BOOTS):
        with tempfile.TemporaryDirectory() as folder:
            command = command_of(guest, archive, machine, folder)
            try:
                completed = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True,
                                           timeout=BOOT_LIMIT, check=False)
                return text_of(completed.stdout) + text_of(completed.stderr)
            except subprocess.TimeoutExpired as stopped:
                late += (f"{text_of(stopped.stdout)}{text_of(stopped.stderr)}\n"
                         f"not done after {BOOT_LIMIT} s\n")
    return late


def command_of(guest, archive, machine, folder):
    """The command that runs a machine; its first file system and its disks are put into `folder`."""
    initrd = os.path.join(folder, "initrd")
    with open(initrd, "wb") as file:
        file.write(archive)
    command = [
        # One thread for all processors: they cannot wait for each other while the host is busy.
        QEMU, "-accel", "tcg,thread=single", "-nodefaults", "-no-user-config", "-no-reboot",
        "-display", "none", "-serial", "stdio", "-cpu", machine.cpu, "-smp", machine.smp,
        # Memory that is only touched in part is not reserved.
        "-object", f"memory-backend-ram,id=memory,size={machine.memory}M,reserve=off",
        "-machine", f"{machine.chipset},memory-backend=memory", "-m", f"{machine.memory}M",
        "-rtc", f"base={machine.clock},clock=vm",
        "-kernel", os.path.join(guest, "vmlinuz"), "-initrd", initrd,
        # The kernel prints nothing, and a panic ends the machine. What it does not know of its
        # parameters is in the environment of the first program.
        "-append", f"console=ttyS0 quiet loglevel=0 panic=-1 mitigations=off disks={machine.disks} "
                   f"{machine.kernel_parameters}",
    ]
    for number, size in enumerate(DISK_SIZES[:machine.disks]):
        image = os.path.join(folder, f"disk{number}")
        with open(image, "wb") as file:
            file.truncate(size)
        command += ["-drive", f"file={image},format=raw,if=ide"]
    return command


def text_of(output):
    return (output or b"").decode(errors="replace").replace("\r", "")


def sections(console):
    """The answers between the marks: section to key to value. Lines of another form go under "notes"."""
    _, _, answers = console.partition("--- answers\n")
    answers, end, _ = answers.partition("--- end\n")
    if not end:
        return None
    found = {}
    for line in answers.splitlines():
        heading = re.fullmatch(r"\[(.*)\]", line)
        key, equals, value = line.partition("=")
        if heading:
            section = found.setdefault(heading[1], {"notes": []})
        elif equals and re.fullmatch(r"[\w.]+", key):
            section[key] = value
        else:
            section["notes"].append(line)
    return found
