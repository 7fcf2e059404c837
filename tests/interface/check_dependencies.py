#!/usr/bin/env python3
"""Checks that a shared library needs no other library than the C library, and has its soname and
run path."""

import argparse
import re
import subprocess
import sys


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--readelf", required=True)
    parser.add_argument("--soname", required=True)
    parser.add_argument("--runpath", help="the only folder that the library has the linker look in")
    parser.add_argument("library")
    options = parser.parse_args()
    listing = subprocess.run([options.readelf, "-d", options.library], check=True, text=True,
                             capture_output=True).stdout
    needed = re.findall(r"\(NEEDED\).*\[(.*)\]", listing)
    soname = re.findall(r"\(SONAME\).*\[(.*)\]", listing)
    runpath = re.findall(r"\((?:RUNPATH|RPATH)\).*\[(.*)\]", listing)
    print(f"needs {needed}, soname {soname}, runpath {runpath}")
    if needed != ["libc.so.6"]:
        print("a library other than the C library is needed at run time")
        return 1
    if soname != [options.soname]:
        print(f"the soname is not {options.soname}")
        return 1
    if runpath != ([options.runpath] if options.runpath else []) or "(RPATH)" in listing:
        print(f"the run path is not {options.runpath}")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
