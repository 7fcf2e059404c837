#!/usr/bin/env python3
"""Changes one operator, constant, condition, call or statement of the library at a time, in a copy of the
sources, and runs on i386 the tests that docs/architecture.md names for the changed unit: good tests
then fail. One call of a function that a program can replace is bound inside the library; a local is
made static, and the tests of threads then run under ThreadSanitizer.

    mutate.py [--every N] [--parallel N] [--list] [--work FOLDER] [PART...]

--every N     of the mutants of each file one in N, and at least three; always the same ones (default: 5)
--parallel N  workers, each with a copy and a build folder of its own (default: one for each processor)
--list        the mutants, and nothing is run
--work        folder of copies and builds, which stay for the next run (default: build/mutation)
PART          only files whose path contains it, such as time/ or token

A mutant counts as killed when a test fails, crashes, does not end, or no longer compiles; one that
the library itself does not compile with is not counted. The exit status is 1 when fewer than 95 in
100 of the whole library's are killed, or fewer than 300 are counted, or when one survives that
equivalent.txt does not explain; and when no file is named like a PART.

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
import shlex
import shutil
import signal
import subprocess
import sys
import time

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
sys.path.append(str(ROOT / "tests" / "docs"))

import house  # noqa: E402
import mutants  # noqa: E402

TMP = pathlib.Path("/tmp")
LEAST_KILLED = 95  # in 100
LEAST_COUNTED = 300

# The tests of threads, which the table keeps with the longer ones.
THREADS = tuple(sorted({test for row in house.rows() for test in row.longer_tests if test.endswith("_threads_test")}))
NOT_FOR_THREADS = ("support/orlamisc.cpp", "support/trace.cpp", "support/trace_stamp.cpp")
# What the library reaches by its exported name, as orla(3) lists it.
REACHED = re.findall(r"^\.It Fn (\w+)$", (ROOT / "man" / "orla.3").read_text(encoding="utf-8"), re.M)

CONFIGURATION = (
    "-DCMAKE_BUILD_TYPE=None", "-DORLA_TOOL=OFF", "-DBUILD_TESTING=ON",
    # A test is not linked again for a library that has the same names.
    "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON",
)
I386 = ("-DCMAKE_C_FLAGS=-m32 -march=i686 -O1", "-DCMAKE_CXX_FLAGS=-m32 -march=i686 -O1")
THREAD_SANITIZER = ("-DORLA_SANITIZE=thread",)  # there is none for i386


def main():
    options = parse_options()
    found = list(all_mutants(options))
    if options.list:
        for mutant in found:
            print(f"{mutant.file}:{mutant.number}: {mutant.line}\n    {mutant.change}")
        print(f"{len(found)} mutants")
        return 0
    give_tests_their_own_tmp(options.work.resolve())
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
    for folder in house.FOLDERS:
        for path in sorted((ROOT / folder).glob("*.*")):
            file = path.relative_to(ROOT).as_posix()
            if path.suffix in (".cpp", ".h") and is_asked_for(file, options.parts):
                found = mutants.find(file, path.read_text(), REACHED)
                yield from chosen([mutant for mutant in found if matters(mutant)], options.every)


def matters(mutant):
    """Whether threads share the code, where only they would notice."""
    return not (mutant.change.startswith(mutants.STATIC) and mutant.file in NOT_FOR_THREADS)


def is_asked_for(file, parts):
    return not parts or any(part in file for part in parts)


def chosen(found, every):
    """Of the mutants of a file one in `every`, and at least three. The choice goes by what a
    mutant is and not by where it is, so that an edit elsewhere changes little of it."""
    drawn_first = sorted(found, key=lambda mutant: (draw(mutant) % every, draw(mutant)))
    count = max(3, sum(draw(mutant) % every == 0 for mutant in found))
    keys = {mutant.key for mutant in drawn_first[:count]}
    return [mutant for mutant in found if mutant.key in keys]


def draw(mutant):
    digest = hashlib.sha256("\n".join(mutant.key).encode()).digest()
    return int.from_bytes(digest[:4], "big")


def give_tests_their_own_tmp(work):
    """Starts this program again with another /tmp mounted, where that is allowed. Of the old one the sources and
    `work` stay in sight. The devices that tests write to are mounted over themselves: then no mutant can rename or
    remove them."""
    if "ORLA_MUTATION_TMP" in os.environ or shutil.which("unshare") is None:
        return
    work.mkdir(parents=True, exist_ok=True)
    kept = [folder for folder in (ROOT, work) if TMP in folder.parents]
    # A folder that is open can still be reached when the mount hides its path.
    steps = [f"exec {number}<{shlex.quote(str(folder))}" for number, folder in enumerate(kept, 3)]
    steps += [f"mount --bind {device} {device}" for device in ("/dev/full", "/dev/null")]
    steps.append(f"mount -t tmpfs -o size=1g,mode=1777 none {TMP}")
    for number, folder in enumerate(kept, 3):
        path = shlex.quote(str(folder))
        steps.append(f"mkdir -p {path} && mount --no-canonicalize --bind /proc/self/fd/{number} {path}")
    own_tmp = " && ".join([*steps, f"cd {shlex.quote(str(ROOT))}"])
    if subprocess.run(["unshare", "--mount", "sh", "-c", own_tmp], stderr=subprocess.DEVNULL,
                      check=False).returncode != 0:
        return
    os.environ["ORLA_MUTATION_TMP"] = "own"
    os.execvp("unshare", ["unshare", "--mount", "sh", "-c", own_tmp + ' && exec "$@"', "sh",
                          sys.executable, HERE / "mutate.py", *absolute_work(sys.argv[1:], work)])


def absolute_work(arguments, work):
    """The arguments for a program that runs in another folder."""
    return [*arguments, "--work", str(work)]


def limit_resources():
    """For all that is started from here: a mutant may take memory without end, and crashes leave no dump."""
    resource.setrlimit(resource.RLIMIT_AS, (2 << 30, resource.getrlimit(resource.RLIMIT_AS)[1]))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def without_limit(command):
    """A command that may take all addresses: ThreadSanitizer maps more of them than there is memory."""
    return ["sh", "-c", 'ulimit -S -v "$(ulimit -H -v)" && exec "$@"', "sh", *command]


class Worker:
    """A copy of the sources and its build."""

    def __init__(self, folder):
        self.source = folder / "source"
        self.build = folder / "build"
        self.threads = folder / "threads"  # the build under ThreadSanitizer, made when it is needed
        copy_sources(self.source)
        self.tests = {}  # case lists by test program, with the seconds that each case took
        self.killers = collections.defaultdict(list)  # by file, the last successful one first
        self.configure(self.build, I386)
        self.compile(["orla", "orlanode"], must_work=True)

    def configure(self, build, flags):
        run_checked(["cmake", "-G", "Ninja", "-S", self.source, "-B", build, *CONFIGURATION, *flags])

    def compile(self, targets, must_work=False, build=None):
        command = ["ninja", "-C", build or self.build, *targets]
        if build == self.threads:
            command = without_limit(command)  # it lists the cases of the tests
        if must_work:
            return run_checked(command)
        return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              check=False).returncode == 0

    def cases_of(self, program):
        """The cases of a test program but the long ones, each run once over the library as it is."""
        if program not in self.tests:
            self.compile([program, "orla", "orlanode"], must_work=True)
            seconds = {}
            for case in listed_cases([self.build / "tests" / program]):
                if case.startswith("Long"):
                    continue
                begin = time.monotonic()
                if not self.passes(program, case, 600):
                    raise SystemExit(f"{program}: {case} fails without any change")
                seconds[case] = time.monotonic() - begin
            self.tests[program] = seconds
        return self.tests[program]

    def passes(self, program, case, seconds, build=None):
        tests = (build or self.build) / "tests"
        command = [tests / program, f"--gtest_filter={case}"]
        process = subprocess.Popen(
            without_limit(command) if build == self.threads else command, cwd=tests,
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            start_new_session=True)
        try:
            return process.wait(seconds) == 0
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            return False

    def judge(self, mutant):
        programs = house.tests_of(mutant.file)
        cases = [(program, case) for program in programs for case in self.cases_of(program)]
        killers = self.killers[mutant.file]
        cases.sort(key=lambda case: killers.index(case) if case in killers else len(killers))
        path = self.source / mutant.file
        original = path.read_text()
        is_static = mutant.change.startswith(mutants.STATIC)
        if is_static:
            self.make_threads_build()
        path.write_text(mutant.text + mutants.bound_aliases(original, REACHED))
        try:
            if not self.compile(["orla", "orlanode"]):
                return "not compiled", ""
            outcome = self.run(cases, killers)
            if outcome[0] == "survived" and is_static:
                return self.run_threads()
            return outcome
        finally:
            path.write_text(original)

    def make_threads_build(self):
        if not self.threads.is_dir():
            self.configure(self.threads, THREAD_SANITIZER)
        self.compile(["orla", *THREADS], must_work=True, build=self.threads)

    def run_threads(self):
        """Runs the tests of threads under ThreadSanitizer, each case in a process of its own."""
        if not self.compile(["orla", *THREADS], build=self.threads):
            return "killed", "tests of threads do not compile"
        for program in THREADS:
            for case in listed_cases(without_limit([self.threads / "tests" / program])):
                if not self.passes(program, case, 120, build=self.threads):
                    return "killed", f"{case} under ThreadSanitizer"
        return "survived", ""

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
    """Brings a copy up to date; what is equal keeps its age, so that little is built again."""
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"], cwd=ROOT,
                            check=True, stdout=subprocess.PIPE, text=True).stdout.split("\n")
    names = {name for name in listed if (ROOT / name).is_file()}
    for old in folder.rglob("*"):
        if old.is_file() and old.relative_to(folder).as_posix() not in names:
            old.unlink()
    for name in sorted(names):
        source, target = ROOT / name, folder / name
        content = source.read_bytes() + aliases_for(name, source)
        if target.is_file() and target.read_bytes() == content:
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes(content)


def aliases_for(name, source):
    """What is added to a copied unit of the library, so that a mutant can call its functions by an alias."""
    if not name.endswith(".cpp") or pathlib.PurePath(name).parts[0] not in house.FOLDERS:
        return b""
    return mutants.bound_aliases(source.read_text(encoding="utf-8"), REACHED).encode()


def listed_cases(program):
    """The names of the cases of a test program, given as a command, as --gtest_filter takes them."""
    listed = subprocess.run([*program, "--gtest_list_tests"], check=True, stdout=subprocess.PIPE,
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

    Blocks of four: file, line, change, reason (which may go on over more lines). "#" begins a
    comment.
    """
    text = (HERE / "equivalent.txt").read_text()
    lines = "\n".join(line for line in text.split("\n") if not line.startswith("#"))
    reasons = {}
    for block in filter(None, (block.strip() for block in lines.split("\n\n"))):
        file, line, change, *reason = (part.strip() for part in block.split("\n"))
        if not reason:
            raise SystemExit(f"equivalent.txt: no reason stands after\n{block}")
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
