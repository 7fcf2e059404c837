#!/usr/bin/env python3
"""The flags that a builder has in the environment are added to ours, in every preset.

    builders_flags.py SOURCE_FOLDER SCRATCH_FOLDER
"""

import json
import os
import pathlib
import shlex
import shutil
import sys

from command import check, run

FLAGS = {"CFLAGS": "-DFROM_CFLAGS", "CXXFLAGS": "-DFROM_CXXFLAGS", "LDFLAGS": "-Wl,-z,origin"}


def try_preset(source, scratch, preset):
    build = scratch / preset
    shutil.rmtree(build, ignore_errors=True)
    run("cmake", "--preset", preset, "-B", build, "-DORLA_TOOL=OFF", "-DBUILD_TESTING=OFF",
        cwd=source, env={**os.environ, **FLAGS})
    commands = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
    ours = [shlex.split(each["command"]) for each in commands if "/orla.dir/" in each["command"]]
    check(ours, f"{preset} compiles nothing")
    for words in ours:
        check(FLAGS["CXXFLAGS"] in words, f"{preset} drops CXXFLAGS")
        check(("-m32" in words) == (not preset.endswith("x86_64")),
              f"{preset} builds for another word size")
    cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
    check(FLAGS["CFLAGS"] in cache, f"{preset} drops CFLAGS")
    check(FLAGS["LDFLAGS"] in (build / "build.ninja").read_text(encoding="utf-8"),
          f"{preset} drops LDFLAGS")


def main():
    source, scratch = (pathlib.Path(path) for path in sys.argv[1:])
    presets = json.loads((source / "CMakePresets.json").read_text(encoding="utf-8"))
    for preset in presets["configurePresets"]:
        compiler = preset.get("cacheVariables", {}).get("CMAKE_C_COMPILER", "cc")
        if preset.get("hidden"):
            continue
        if shutil.which(compiler) is None:
            print(f"{preset['name']} is left out, for want of {compiler}")
            continue
        try_preset(source, scratch, preset["name"])


if __name__ == "__main__":
    main()
