#!/usr/bin/env python3
"""Counts the instructions that the library itself executes for a fixed piece of work of each family, and
compares them with those committed. Counts repeat where times do not, so a slow decay shows.

    count.py WORK LIBRARY BASELINE [--update]

More than 5 % above the baseline fails; more than 5 % below asks for an update. Instructions of the
C library are not counted, for it picks its own by the processor. Ends with 77 (skipped) where
callgrind is missing or another compiler than the baseline's made the library.
"""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

FAMILIES = ["byteorder", "inventory", "loader", "names", "profile", "time", "token", "trace", "uuid"]
TOLERANCE = 0.05
SKIPPED = 77


def compiler_of(library):
    """What the compiler left of its version in the library."""
    comment = subprocess.run(["readelf", "-p", ".comment", library], capture_output=True, text=True,
                             check=True).stdout
    # Where it is not GCC, the C library's start files still are GCC's.
    return (re.search(r"clang .*", comment) or re.search(r"GCC: .*", comment)).group(0)


def own_cost(profile, library):
    """Sums the cost lines under the library's object, without those of calls."""
    names = {}
    inside = False
    total = 0
    lines = iter(profile.splitlines())
    for line in lines:
        if line.startswith(("ob=", "cob=")):
            kind, _, object_file = line.partition("=")
            number, _, name = object_file.partition(" ")
            names.setdefault(number, name)  # it is given where the number occurs first
            if kind == "ob":
                inside = names[number].endswith(library)
        elif line.startswith("calls="):
            next(lines)  # what the called function cost
        elif inside and re.match(r"[+*\-\d]", line):
            total += int(line.split()[1])
    return total


def count(work, family, library):
    with tempfile.TemporaryDirectory() as folder:
        out = f"{folder}/profile"
        subprocess.run(["valgrind", "--quiet", "--tool=callgrind", f"--callgrind-out-file={out}",
                        work, family, folder], check=True, stdout=subprocess.DEVNULL,
                       env={"PATH": os.environ["PATH"], "TZ": "UTC0"})
        return own_cost(pathlib.Path(out).read_text(encoding="utf-8"), pathlib.Path(library).resolve().name)


def main():
    work, library, baseline_file, *options = sys.argv[1:]
    if shutil.which("valgrind") is None:
        print("skipped: valgrind is not installed")
        return SKIPPED
    counts = {family: count(work, family, library) for family in FAMILIES}
    if options == ["--update"]:
        text = json.dumps({"compiler": compiler_of(library), "instructions": counts}, indent=2)
        pathlib.Path(baseline_file).write_text(text + "\n", encoding="utf-8")
        return 0

    baseline = json.loads(pathlib.Path(baseline_file).read_text(encoding="utf-8"))
    if baseline["compiler"] != compiler_of(library):
        print(f"skipped: made by {compiler_of(library)}, counted with {baseline['compiler']}")
        return SKIPPED
    failed = False
    for family in FAMILIES:
        before, now = baseline["instructions"][family], counts[family]
        change = now / before - 1
        failed = failed or now == 0 or change > TOLERANCE
        hint = "  slower" if change > TOLERANCE else "  faster: update the baseline" if change < -TOLERANCE else ""
        print(f"{family:10} {before:>9} {now:>9} {change:+7.2%}{hint}")
    return 1 if failed else 0


sys.exit(main())
