#!/usr/bin/env python3
"""Checks that groff and mandoc give no warning on the manual pages, and that whatis can read them.

    render.py PAGE...
"""

import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

# Not justified: later groffs warn of each line that holds one long name and no blank to widen.
COMMANDS = (
    ["mandoc", "-T", "lint", "-W", "warning"],
    ["man", "--warnings=w", "--no-justification", "-E", "UTF-8", "-l", "-Tutf8", "-Z"],
    ["lexgrog"],
)


def complaints(page):
    variables = {**os.environ, "LC_ALL": "C.UTF-8", "MANROFFSEQ": "", "MANWIDTH": "80"}
    found = []
    for command in COMMANDS:
        done = subprocess.run([*command, page], env=variables, text=True, errors="replace",
                              capture_output=True, check=False)
        said = done.stderr + (done.stdout if command[0] == "mandoc" else "")
        if done.returncode != 0 or said:
            found.append(f"{command[0]} {page}: status {done.returncode}\n{said}")
    return "".join(found)


def main():
    with ThreadPoolExecutor(2) as pool:
        found = "".join(pool.map(complaints, sys.argv[1:]))
    print(found or f"{len(sys.argv) - 1} pages", end="")
    return 1 if found or len(sys.argv) == 1 else 0


if __name__ == "__main__":
    sys.exit(main())
