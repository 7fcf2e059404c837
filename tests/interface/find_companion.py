#!/usr/bin/env python3
"""Puts the library and its companion into folders as an installation does and sees which one answers."""

import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

SONAME = "liborla.so.1"
COMPANION = "liborlanode.so"
NAME_OF_OTHER = "node-of-a-module"


def node_name(program, library, library_path=None):
    # A library that is loaded already answers to its soname: so this copy is the one the program
    # uses. The variable takes no path with a blank.
    environment = {**os.environ, "LD_PRELOAD": str(library)}
    environment.pop("LD_LIBRARY_PATH", None)
    environment.pop("K7LIB_VERB", None)
    if library_path:
        environment["LD_LIBRARY_PATH"] = str(library_path)
    run = subprocess.run([program], env=environment, check=True, text=True, capture_output=True)
    return run.stdout


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--library", required=True)
    parser.add_argument("--companion", required=True)
    parser.add_argument("--other-companion", required=True)
    parser.add_argument("program")
    options = parser.parse_args()
    own = os.uname().nodename + "\n"
    other = NAME_OF_OTHER + "\n"

    with tempfile.TemporaryDirectory(prefix="orla-test-", dir="/tmp") as name:
        folder = pathlib.Path(name)
        alone, installed, with_other, others = (folder / part for part in
                                                ("alone", "installed", "with-other", "others"))
        for part in (alone, installed, with_other, others):
            part.mkdir()
        for part in (alone, installed, with_other):
            shutil.copy(options.library, part / SONAME)
        shutil.copy(options.companion, installed / COMPANION)
        shutil.copy(options.other_companion, with_other / COMPANION)
        shutil.copy(options.other_companion, others / COMPANION)

        cases = [("in the build folder", node_name(options.program, options.library), own),
                 ("installed beside the library",
                  node_name(options.program, installed / SONAME), own),
                 ("another one beside the library",
                  node_name(options.program, with_other / SONAME), other),
                 ("LD_LIBRARY_PATH before the one beside the library",
                  node_name(options.program, installed / SONAME, others), other),
                 ("none beside the library, one in LD_LIBRARY_PATH",
                  node_name(options.program, alone / SONAME, others), other)]
    failures = [case for case in cases if case[1] != case[2]]
    for title, found, expected in failures:
        print(f"{title}: {found!r} instead of {expected!r}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
