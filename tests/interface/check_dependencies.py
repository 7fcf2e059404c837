#!/usr/bin/env python3
"""Checks that a shared library needs no other library than the C library, and has its soname."""

import argparse
import re
import subprocess
import sys


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--readelf", required=True)
    parser.add_argument("library")
    options = parser.parse_args()
    listing = subprocess.run([options.readelf, "-d", options.library], check=True, text=True,
                             capture_output=True).stdout
    needed = re.findall(r"\(NEEDED\).*\[(.*)\]", listing)
    soname = re.findall(r"\(SONAME\).*\[(.*)\]", listing)
    print(f"needs {needed}, soname {soname}")
    if needed != ["libc.so.6"]:
        print("a library other than the C library is needed at run time")
        return 1
    if len(soname) != 1 or not soname[0].endswith(".so.1"):
        print("the soname does not carry the major version")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
