#!/usr/bin/env python3
"""Adds up the stack that the exported functions take, along their longest chains of calls.

    stack_use.py --build BUILD_FOLDER --map VERSION_SCRIPT [--all]

GCC writes, for each unit, the graph of its calls with the bytes that each function takes
(-fcallgraph-info=su). The units are compiled once more for it, as they were for the library. What
the C library takes is not counted, nor what a provider takes that the library is given. Fails when
an exported function takes more than 12 KiB, so much that a thread with a small stack cannot call
it, or when nobody can say how much. --all prints every one.
"""

import argparse
import functools
import json
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

LIMIT = 12 << 10  # bytes
# These may have the kernel's log read into a buffer on the stack, whose size is given.
READ_THE_LOG = {"count_physical_proc", "ht_os_cpus", "tavGetConfigProcs", "tavGetOnlineProcs"}
LOG_BUFFER = 16 << 10


def commands_of_library(build):
    commands = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
    for each in commands:
        words = shlex.split(each["command"])
        if any("CMakeFiles/orla.dir/" in word for word in words):
            # Another program may precede the compiler: the compiler is the last word before the
            # options.
            first = next(number for number, word in enumerate(words) if word.startswith("-")) - 1
            yield each["directory"], words[first:]


def graphs(build):
    """The graph of each unit, as text."""
    with tempfile.TemporaryDirectory(prefix="orla-test-") as folder:
        running = []
        for number, (directory, words) in enumerate(commands_of_library(build)):
            words[words.index("-c")] = "-S"
            words[words.index("-o") + 1] = f"{folder}/{number}.s"
            running.append(subprocess.Popen(words + ["-fcallgraph-info=su"], cwd=directory))
            if len(running) == 2:
                wait_for(running.pop(0))
        for each in running:
            wait_for(each)
        return [path.read_text(encoding="utf-8") for path in pathlib.Path(folder).glob("*.ci")]


def wait_for(process):
    if process.wait() != 0:
        raise SystemExit(f"does not compile: {process.args}")


class Calls:
    def __init__(self, texts):
        self.sizes = {}  # bytes, of each function of the library
        self.callees = {}
        self.endless = set()  # take what their arguments say
        for text in texts:
            for name, label in re.findall(r'^node: \{ title: "([^"]+)" label: "([^"]*)"', text, re.M):
                size = re.search(r"\\n(\d+) bytes \((\w[\w,]*)\)", label)
                if size:
                    # Units may compile one inline function differently: the larger one counts.
                    self.sizes[name] = max(self.sizes.get(name, 0), int(size[1]))
                    if size[2] == "dynamic":
                        self.endless.add(name)
            for caller, callee in re.findall(r'^edge: \{ sourcename: "([^"]+)" targetname: "([^"]+)"',
                                             text, re.M):
                self.callees.setdefault(caller, set()).add(callee)

    @functools.cache
    def chain(self, name):
        """The bytes of the longest chain of calls from here, and the functions on it."""
        if name not in self.sizes:
            return 0, ()
        below = max((self.chain(callee) for callee in self.callees.get(name, ())), default=(0, ()))
        return self.sizes[name] + below[0], (name,) + below[1]

    def reachable(self, name):
        found, waiting = set(), [name]
        while waiting:
            each = waiting.pop()
            if each not in found:
                found.add(each)
                waiting.extend(self.callees.get(each, ()))
        return found


def plain(name):
    """The name without that of its unit, which functions of one unit alone carry before theirs."""
    return name.rpartition(":")[2]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--map", type=pathlib.Path, required=True)
    parser.add_argument("--all", action="store_true")
    options = parser.parse_args()
    calls = Calls(graphs(options.build))
    names = set(re.findall(r"^ +(\w+);", options.map.read_text(encoding="utf-8"), re.M))
    exported = sorted(names & calls.sizes.keys(), key=calls.chain, reverse=True)
    failed = not exported
    for name in exported:
        size, chain = calls.chain(name)
        limit = LIMIT + (LOG_BUFFER if name in READ_THE_LOG else 0)
        endless = calls.reachable(name) & calls.endless
        wrong = size > limit or endless
        failed = failed or wrong
        if wrong or options.all or name == exported[0]:
            print(f"{size:6} bytes: " + " -> ".join(f"{plain(each)} {calls.sizes[each]}" for each in chain)
                  + "".join(f"\n  {plain(each)} takes what its arguments say" for each in sorted(endless)))
    print(f"{len(exported)} exported functions")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
