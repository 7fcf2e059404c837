#!/usr/bin/env python3
"""Looks into the shipped ELF files and the commands that made them for what hardens them.

    hardening.py --readelf READELF --strip STRIP --build BUILD_FOLDER FILE...

The libraries come before the tool. In the files: relocations read-only once they are done, all done
at the start (so that no function pointer of the linker stays writable), no stack that can be
executed, no constants that can be, no text that is written to, position-independent code, guarded
stacks. In the commands: what leaves no trace in small functions. The first library is held small as
well, with its constants in the segment that every linker begins with.
"""

import argparse
import json
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

LARGEST_LIBRARY = 64 << 10  # bytes, stripped
# Functions that only copy and format in memory. A program may replace every other function that
# the library calls, by its plain name.
MAY_BE_FORTIFIED = {"memcpy", "memmove", "memset", "snprintf", "sprintf", "stpcpy", "strcpy",
                    "strncpy"}
# The units that call fprintf() or printf(), which a program may replace as well.
NOT_FORTIFIED = {"support/orlaslnk.cpp", "support/trace.cpp", "time/date_output.cpp"}


def output_of(*command):
    return subprocess.run(command, check=True, text=True, capture_output=True).stdout


def faults_of_file(readelf, path, is_library):
    """What is missing in one file, in words."""
    headers = output_of(readelf, "--wide", "--file-header", "--program-headers", path)
    dynamic = output_of(readelf, "--wide", "--dynamic", path)
    symbols = output_of(readelf, "--wide", "--dyn-syms", path)
    undefined = set(re.findall(r" UND (\w+)", symbols))
    fortified = {name[2:-4] for name in undefined if re.fullmatch(r"__\w+_chk", name)}
    stack = re.search(r"GNU_STACK .* ([RWE ]+) 0x\w+\n", headers)
    if " DYN " not in headers:
        yield "not position-independent"
    if "GNU_RELRO" not in headers:
        yield "relocations stay writable"
    if not re.search(r"\((FLAGS|FLAGS_1)\).*\bNOW\b", dynamic):
        yield "functions are bound at their first call"
    if stack is None or "E" in stack[1]:
        yield "the stack can be executed"
    if any("E" in flags and ".rodata" in names for flags, names in loaded_segments(headers)):
        yield "constants can be executed"
    if "TEXTREL" in dynamic:
        yield "code is relocated"
    if is_library and not fortified <= MAY_BE_FORTIFIED:
        yield (f"calls by other names than the plain ones: {sorted(fortified - MAY_BE_FORTIFIED)}; "
               "the unit that does so must be compiled with -U_FORTIFY_SOURCE")
    # The companion has neither a buffer to guard nor a copy to check.
    if "liborlanode" not in path and "__stack_chk_fail" not in undefined:
        yield "stacks are not guarded"
    if "liborlanode" not in path and not fortified:
        yield "no call is fortified"


def loaded_segments(headers):
    """The segments that are mapped: their flags and sections."""
    segments = re.findall(r"^ +(\w+) +0x.* ([RWE ]{3}) 0x\w+$", headers, re.M)
    sections = re.findall(r"^ +\d\d +(.*)$", headers, re.M)  # in the order of the segments
    return [(flags, names.split()) for (kind, flags), names in zip(segments, sections)
            if kind == "LOAD"]


def faults_of_commands(build, is_64_bit):
    """What is missing in the commands that compiled the libraries and the tool."""
    wanted = ["-fstack-clash-protection"]
    if is_64_bit:
        wanted.append("-fcf-protection")
    commands = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
    ours = [each for each in commands
            if re.search(r"CMakeFiles/(orla|orlanode|orla-tool)\.dir/", each["command"])]
    if not ours:
        yield "no commands found"
    for each in ours:
        words = shlex.split(each["command"])
        for flag in wanted:
            if flag not in words:
                yield f"{each['file']} is compiled without {flag}"
        guard = last_of(words, r"-f(no-)?stack-protector(-\w+)?")
        if guard not in ("-fstack-protector-strong", "-fstack-protector-all"):
            yield f"{each['file']} is compiled with {guard} as the last word on guarded stacks"
        fortified = last_of(words, r"-[DU]_FORTIFY_SOURCE(=\d+)?")
        is_exempt = "/".join(pathlib.Path(each["file"]).parts[-2:]) in NOT_FORTIFIED
        if fortified != ("-U_FORTIFY_SOURCE" if is_exempt else "-D_FORTIFY_SOURCE=2"):
            yield f"{each['file']} is compiled with {fortified} as the last word on fortified calls"


def last_of(words, pattern):
    """The last of the words that match: the one that counts."""
    return next((word for word in reversed(words) if re.fullmatch(pattern, word)), "nothing")


def starts_with_landing_mark(readelf, library):
    """Whether every exported function starts with the mark that an indirect branch must find."""
    sections = output_of(readelf, "--wide", "--sections", library)
    address, offset = re.search(r" \.text +PROGBITS +(\w+) (\w+)", sections).groups()
    data = pathlib.Path(library).read_bytes()
    symbols = output_of(readelf, "--wide", "--dyn-syms", library)
    places = re.findall(r": (\w+) +\d+ FUNC +GLOBAL +DEFAULT +\d+ ", symbols)
    starts = [int(place, 16) - int(address, 16) + int(offset, 16) for place in places]
    return bool(starts) and all(data[start:start + 4] == b"\xf3\x0f\x1e\xfa" for start in starts)


def stripped_size(strip, library):
    with tempfile.NamedTemporaryFile() as file:
        subprocess.run([strip, "--strip-unneeded", "-o", file.name, library], check=True)
        return pathlib.Path(file.name).stat().st_size


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--readelf", required=True)
    parser.add_argument("--strip", required=True)
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("files", nargs="+")
    options = parser.parse_args()

    library = options.files[0]
    is_64_bit = "ELF64" in output_of(options.readelf, "--file-header", library)
    faults = [f"{path}: {fault}" for path in options.files
              for fault in faults_of_file(options.readelf, path, ".so" in path)]
    faults += faults_of_commands(options.build, is_64_bit)
    if is_64_bit and not starts_with_landing_mark(options.readelf, library):
        faults.append(f"{library}: a function can be entered elsewhere than at a mark")
    size = stripped_size(options.strip, library)
    print(f"{library} takes {size} bytes without its symbols")
    if size >= LARGEST_LIBRARY:
        faults.append(f"{library}: more than {LARGEST_LIBRARY} bytes")
    headers = output_of(options.readelf, "--wide", "--program-headers", library)
    if ".rodata" not in loaded_segments(headers)[0][1]:
        faults.append(f"{library}: constants have a segment of their own")
    print("\n".join(faults))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
