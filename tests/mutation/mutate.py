#!/usr/bin/env python3
"""Changes one operator, constant, condition or statement of the library at a time, in a copy of the
sources, and runs the tests of the changed unit on i386: tests that are worth something fail then.

    mutate.py [--every N] [--parallel N] [--list] [--work FOLDER] [PART...]

--every N     of the mutants of each file one in N, and at least three; always the same ones (default: 5)
--parallel N  workers, each with a copy and a build folder of its own (default: one for each processor)
--list        the mutants, and nothing is run
--work        folder of copies and builds, which stay for the next run (default: build/mutation)
PART          only files whose path contains it, such as time/ or token

A mutant counts as killed when a test fails, crashes, does not end, or no longer compiles; one that the
library itself does not compile with is not counted. The exit status is 1 when fewer than 95 in 100 of the
whole library's are killed, or fewer than 300 are counted, or when one survives that equivalent.txt does not
explain; and when no file is named like a PART.

Run as root, the tests get a /tmp of their own, as what a mutant leaves there nobody clears away.
"""

import argparse
import collections
import concurrent.futures
import hashlib
import os
import pathlib
import queue
import re
import resource
import shutil
import signal
import subprocess
import sys
import time

import mutants

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
LEAST_KILLED = 95  # in 100
LEAST_COUNTED = 300

# The tests of each unit, the likeliest to notice first. The first prefix that fits is taken. Tests that
# take long are left out: where they alone would notice, a small one is missing.
TESTS = (
    ("inventory/cpu_decode", "inventory_decode_test inventory_processors_test"),
    ("inventory/CPUCountLinux", "inventory_processors_test failing_calls_test"),
    ("inventory/getcap", "inventory_capacity_test inventory_processors_test"),
    ("time/calendar", "time_calendar_test time_exhaustive_test time_text_test"),
    ("time/date_", "time_text_test"),
    ("time/", "time_clock_test time_calendar_test time_text_test uuid_generation_test"
              " trace_test failing_calls_test"),
    ("uuid/uuid_text", "uuid_text_test"),
    ("uuid/", "uuid_time_test uuid_order_test uuid_generation_test uuid_text_test"
              " failing_calls_test"),
    ("profile/", "profile_reader_test profile_writer_test failing_calls_test"),
    ("support/ntohl", "byteorder_test"),
    ("support/token", "token_test"),
    ("support/orlaslnk", "loader_test failing_calls_test"),
    ("support/orlamisc", "names_test"),
    ("base/percent_text", "trace_test time_text_test"),
    ("support/trace.cpp", "trace_test failing_calls_test"),
    ("support/trace_stamp", "trace_test failing_calls_test"),
    ("support/", "trace_test loader_test inventory_capacity_test"),
    ("companion/", "names_test"),
)
FOLDERS = re.findall(r"^(\w+):", (ROOT / "scripts" / "layers.txt").read_text(encoding="utf-8"), re.M)

CONFIGURATION = (
    "-DCMAKE_BUILD_TYPE=None", "-DORLA_TOOL=OFF", "-DBUILD_TESTING=ON",
    "-DCMAKE_C_FLAGS=-m32 -march=i686 -O1", "-DCMAKE_CXX_FLAGS=-m32 -march=i686 -O1",
    # A test is not linked anew for a library that has the same names.
    "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON",
)


def main():
    options = parse_options()
    found = list(all_mutants(options))
    if options.list:
        for mutant in found:
            print(f"{mutant.file}:{mutant.number}: {mutant.line}\n    {mutant.change}")
        print(f"{len(found)} mutants")
        return 0
    give_tests_their_own_tmp()
    if not found:
        raise SystemExit("no mutants")
    limit_resources()
    workers = queue.Queue()
    for number in range(options.parallel):
        workers.put(Worker(options.work.resolve() / str(number)))
    with concurrent.futures.ThreadPoolExecutor(options.parallel) as pool:
        try:
            outcomes = list(pool.map(lambda mutant: judge(mutant, workers), found))
        except BaseException:
            pool.shutdown(cancel_futures=True)
            raise
    report, status = summarise(list(zip(found, outcomes)), options)
    print(report)
    return status


def parse_options():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--every", type=int, default=5)
    parser.add_argument("--parallel", type=int, default=os.cpu_count())
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--work", type=pathlib.Path, default=ROOT / "build" / "mutation")
    parser.add_argument("parts", nargs="*")
    return parser.parse_args()


def all_mutants(options):
    for folder in FOLDERS:
        for path in sorted((ROOT / folder).glob("*.*")):
            file = path.relative_to(ROOT).as_posix()
            if path.suffix in (".cpp", ".h") and is_asked_for(file, options.parts):
                yield from chosen(list(mutants.find(file, path.read_text())), options.every)


def is_asked_for(file, parts):
    return not parts or any(part in file for part in parts)


def chosen(found, every):
    """Of the mutants of a file one in `every`, and at least three. The choice goes by what a mutant is and
    not by where it stands, so that an edit elsewhere changes little of it."""
    drawn_first = sorted(found, key=lambda mutant: (draw(mutant) % every, draw(mutant)))
    count = max(3, sum(draw(mutant) % every == 0 for mutant in found))
    keys = {mutant.key for mutant in drawn_first[:count]}
    return [mutant for mutant in found if mutant.key in keys]


def draw(mutant):
    digest = hashlib.sha256("\n".join(mutant.key).encode()).digest()
    return int.from_bytes(digest[:4], "big")


def tests_of(file):
    return next(tests for prefix, tests in TESTS if file.startswith(prefix)).split()


def give_tests_their_own_tmp():
    """Starts this program again with another /tmp mounted, where that is allowed."""
    own_tmp = "mount -t tmpfs -o size=1g,mode=1777 none /tmp"
    if "ORLA_MUTATION_TMP" in os.environ or shutil.which("unshare") is None:
        return
    if subprocess.run(["unshare", "--mount", "sh", "-c", own_tmp], stderr=subprocess.DEVNULL,
                      check=False).returncode != 0:
        return
    os.environ["ORLA_MUTATION_TMP"] = "own"
    os.execvp("unshare", ["unshare", "--mount", "sh", "-c", own_tmp + ' && exec "$@"', "sh",
                          sys.executable, *sys.argv])


def limit_resources():
    """For all that is started from here: a mutant may take memory without end, and crashes leave no dump."""
    resource.setrlimit(resource.RLIMIT_AS, (2 << 30, 2 << 30))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


class Worker:
    """A copy of the sources and its build."""

    def __init__(self, folder):
        self.source = folder / "source"
        self.build = folder / "build"
        copy_sources(self.source)
        self.tests = {}  # case lists by test program, with the seconds that each case took
        self.killers = collections.defaultdict(list)  # by file, the last successful one first
        run_checked(["cmake", "-G", "Ninja", "-S", self.source, "-B", self.build, *CONFIGURATION])
        self.compile(["orla", "orlanode"], must_work=True)

    def compile(self, targets, must_work=False):
        command = ["ninja", "-C", self.build, *targets]
        if must_work:
            return run_checked(command)
        return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              check=False).returncode == 0

    def cases_of(self, program):
        """The cases of a test program, each run once over the library as it is."""
        if program not in self.tests:
            self.compile([program, "orla", "orlanode"], must_work=True)
            seconds = {}
            for case in listed_cases(self.build / "tests" / program):
                begin = time.monotonic()
                if not self.passes(program, case, 600):
                    raise SystemExit(f"{program}: {case} fails without any change")
                seconds[case] = time.monotonic() - begin
            self.tests[program] = seconds
        return self.tests[program]

    def passes(self, program, case, seconds):
        process = subprocess.Popen(
            [self.build / "tests" / program, f"--gtest_filter={case}"], cwd=self.build / "tests",
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            start_new_session=True)
        try:
            return process.wait(seconds) == 0
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            return False

    def judge(self, mutant):
        programs = tests_of(mutant.file)
        cases = [(program, case) for program in programs for case in self.cases_of(program)]
        killers = self.killers[mutant.file]
        cases.sort(key=lambda case: killers.index(case) if case in killers else len(killers))
        path = self.source / mutant.file
        original = path.read_text()
        path.write_text(mutant.text)
        try:
            if not self.compile(["orla", "orlanode"]):
                return "not compiled", ""
            return self.run(cases, killers)
        finally:
            path.write_text(original)

    def run(self, cases, killers):
        """Runs cases up to the first that fails, which goes to the front of `killers`."""
        compiled = set()
        for program, case in cases:
            # Some are compiled with the changed source; not before their turn comes.
            if program not in compiled and not self.compile([program]):
                return "killed", f"{program} does not compile"
            compiled.add(program)
            # Ten times what it takes, and some for a busy machine.
            if not self.passes(program, case, 3 + 10 * self.tests[program][case]):
                killers[:] = [(program, case)] + [other for other in killers if other != (program, case)]
                return "killed", case
        return "survived", ""


def judge(mutant, workers):
    worker = workers.get()
    try:
        outcome, by = worker.judge(mutant)
    finally:
        workers.put(worker)
    print(f"{outcome:12} {mutant.file}:{mutant.number}: {mutant.change}   {by}", flush=True)
    return outcome


def copy_sources(folder):
    """Brings a copy up to date; what is equal keeps its age, so that little is built anew."""
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"], cwd=ROOT,
                            check=True, stdout=subprocess.PIPE, text=True).stdout.split("\n")
    names = {name for name in listed if (ROOT / name).is_file()}
    for old in folder.rglob("*"):
        if old.is_file() and old.relative_to(folder).as_posix() not in names:
            old.unlink()
    for name in sorted(names):
        source, target = ROOT / name, folder / name
        if target.is_file() and target.read_bytes() == source.read_bytes():
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(source, target)


def listed_cases(program):
    """The names of the cases of a test program, as --gtest_filter takes them."""
    listed = subprocess.run([program, "--gtest_list_tests"], check=True, stdout=subprocess.PIPE,
                            text=True).stdout
    suite = ""
    cases = []
    for line in listed.split("\n"):
        name = line.split("#")[0].rstrip()
        if line.startswith("  "):
            cases.append(suite + name.strip())
        elif name.endswith("."):
            suite = name
    return [case for case in cases if "DISABLED_" not in case]


def run_checked(command):
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                            check=False)
    if result.returncode != 0:
        raise SystemExit(result.stdout)
    return True


def explained():
    """The survivors that are known, each with the reason why no test can tell it from the original.

    Blocks of four: file, line, change, reason (which may go on over more lines). "#" begins a comment.
    """
    text = (HERE / "equivalent.txt").read_text()
    lines = "\n".join(line for line in text.split("\n") if not line.startswith("#"))
    reasons = {}
    for block in filter(None, (block.strip() for block in lines.split("\n\n"))):
        file, line, change, *reason = (part.strip() for part in block.split("\n"))
        if not reason:
            raise SystemExit(f"equivalent.txt: no reason stands behind\n{block}")
        reasons[file, line, change] = " ".join(reason)
    return reasons


def summarise(judged, options):
    """The report, and the exit status."""
    reasons = explained()
    counts = collections.defaultdict(collections.Counter)
    for mutant, outcome in judged:
        counts[mutant.file][outcome] += 1
        counts["all"][outcome] += 1
    total = counts.pop("all")
    counted = total["killed"] + total["survived"]
    rate = 100 * total["killed"] / counted if counted else 100

    lines = [f"{'file':32} {'killed':>8} {'survived':>9} {'not compiled':>13}"]
    for name, row in [*sorted(counts.items()), ("all", total)]:
        lines.append(f"{name:32} {row['killed']:8} {row['survived']:9} {row['not compiled']:13}")
    lines.append(f"\n{total['killed']} of {counted} mutants killed: {rate:.1f} %")

    survivors = [mutant for mutant, outcome in judged if outcome == "survived"]
    known = [mutant for mutant in survivors if mutant.key in reasons]
    unknown = [mutant for mutant in survivors if mutant.key not in reasons]
    lines.append(f"{len(known)} survivors are explained in tests/mutation/equivalent.txt")
    for mutant in unknown:
        lines.append(f"\nsurvived without an explanation, at line {mutant.number}:\n"
                     f"{mutant.file}\n    {mutant.line}\n    {mutant.change}")
    stale = set(reasons) - {mutant.key for mutant in survivors}
    if options.every == 1 and not options.parts and stale:
        lines.append("\nexplained, but they no longer survive:")
        lines += ["  ".join(key) for key in sorted(stale)]
    too_few = (rate < LEAST_KILLED or counted < LEAST_COUNTED) and not options.parts
    status = 1 if unknown or too_few else 0
    return "\n".join(lines), status


if __name__ == "__main__":
    sys.exit(main())
