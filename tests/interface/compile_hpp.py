#!/usr/bin/env python3
"""Compiles a program of two units over orla.hpp by one compiler, in C++17, 20 and 23, with every warning on,
links it and runs it. The second unit is compiled once, in C++17, without exceptions and RTTI, and
with a 64-bit time_t: units of one program may differ so.

    compile_hpp.py COMPILER SOURCE INCLUDE-FOLDER LIBRARY-FOLDER [FLAG...]

Ends with status 77, which stands for skipped, where there is no such compiler or it cannot compile
an empty program with these flags.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

SKIPPED = 77
STANDARDS = ("c++17", "c++20", "c++2b")
WARNINGS = """-Werror -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast
    -Wcast-align -Wcast-qual -Wdouble-promotion -Wextra-semi -Wformat=2 -Wnon-virtual-dtor -Wnull-dereference
    -Woverloaded-virtual -Wredundant-decls -Wswitch-enum -Wundef -Wunused -Wzero-as-null-pointer-constant""".split()
WARNINGS_OF = {"g++": "-Wduplicated-branches -Wduplicated-cond -Wlogical-op -Wsuggest-override -Wuseless-cast".split(),
               # A comparison that C++17 writes by hand is one that C++20 rewrites.
               "clang++": "-Wcomma -Wdocumentation -Wheader-hygiene -Wshadow-all -Wunreachable-code".split()}
SECOND_UNIT = ["-DSECOND_UNIT", "-std=c++17", "-fno-exceptions", "-fno-rtti", "-D_FILE_OFFSET_BITS=64", "-D_TIME_BITS=64"]


def build(command):
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode != 0 or done.stderr:
        sys.exit(f"{' '.join(map(str, command))}\n{done.stderr}")


def skip_without(compiler, flags, folder):
    empty = folder / "empty.cpp"
    empty.write_text("#include <string>\nint main() {}\n", encoding="utf-8")
    if shutil.which(compiler) is None:
        print(f"skipped: there is no {compiler} here")
    elif subprocess.run([compiler, *flags, empty, "-o", folder / "empty"], capture_output=True, check=False).returncode:
        print(f"skipped: {compiler} {' '.join(flags)} has no C++ library here")
    else:
        return
    sys.exit(SKIPPED)


def main():
    compiler, source, include, library, *flags = sys.argv[1:]
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        skip_without(compiler, flags, folder)
        family = compiler.rpartition("/")[2].partition("-")[0]
        compile_unit = [compiler, *flags, "-O1", *WARNINGS, *WARNINGS_OF.get(family, []), f"-I{include}", "-c", source]
        second = folder / "second.o"
        build([*compile_unit, *SECOND_UNIT, "-o", second])
        for standard in STANDARDS:
            first = folder / "first.o"
            program = folder / "program"
            build([*compile_unit, f"-std={standard}", "-o", first])
            build([compiler, *flags, first, second, f"-L{library}", "-lorla", "-o", program])
            environment = {"PATH": os.environ["PATH"], "LD_LIBRARY_PATH": library}
            done = subprocess.run([program], env=environment, cwd=folder, check=False)
            if done.returncode != 0:
                sys.exit(f"{compiler}, {standard}: the program ended with status {done.returncode}")
    print(f"{compiler}: {', '.join(STANDARDS)}")


if __name__ == "__main__":
    main()
