#!/usr/bin/env python3
"""The flags that a builder has in the environment are added to ours, in every preset.

    builders_flags.py SOURCE_FOLDER SCRATCH_FOLDER
"""

import json
import os
import pathlib
import re
import shlex
import shutil
import sys

from command import check, run

FLAGS = {"CFLAGS": "-DFROM_CFLAGS", "CXXFLAGS": "-DFROM_CXXFLAGS", "LDFLAGS": "-Wl,-z,origin"}


def try_preset(source, scratch, preset):
    """Configures one that has flags of its own."""
    build = scratch / preset
    shutil.rmtree(build, ignore_errors=True)
    run("cmake", "--preset", preset, "-B", build, "-DORLA_TOOL=OFF", "-DBUILD_TESTING=OFF",
        cwd=source, env={**os.environ, **FLAGS})
    commands = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
    ours = [shlex.split(each["command"]) for each in commands if "/orla.dir/" in each["command"]]
    check(ours, f"{preset} compiles nothing")
    for words in ours:
        check(FLAGS["CXXFLAGS"] in words, f"{preset} drops CXXFLAGS")
        check("-m32" in words, f"{preset} drops its own flags")
    cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
    check(FLAGS["CFLAGS"] in cache, f"{preset} drops CFLAGS")
    check(FLAGS["LDFLAGS"] in (build / "build.ninja").read_text(encoding="utf-8"),
          f"{preset} drops LDFLAGS")


def check_added(preset):
    """A preset with flags of its own names the builder's after them."""
    for name, value in preset.get("cacheVariables", {}).items():
        language = re.fullmatch(r"CMAKE_(C|CXX)_FLAGS", name)
        if language:
            wanted = "$penv{CFLAGS}" if language[1] == "C" else "$penv{CXXFLAGS}"
            check(value.split()[-1] == wanted, f"{preset['name']} drops {wanted}")


def main():
    source, scratch = (pathlib.Path(path) for path in sys.argv[1:])
    presets = json.loads((source / "CMakePresets.json").read_text(encoding="utf-8"))
    for preset in presets["configurePresets"]:
        check_added(preset)
    try_preset(source, scratch, "i386")


if __name__ == "__main__":
    main()
