#!/usr/bin/env python3
"""Installs orla and builds the examples against it in every way that a product can take.

ctest runs one case per process. `install` makes the installations that others use, below --scratch:
`prefix`, and `moved`, which was installed elsewhere and then moved; `uninstall` takes `prefix`
away.
"""

import argparse
import datetime
import os
import pathlib
import re
import shlex
import shutil
import sys

from command import check, run

CASES = {}


def case(function):
    CASES[function.__name__] = function
    return function


def empty_folder(path):
    shutil.rmtree(path, ignore_errors=True)
    path.mkdir(parents=True)
    return path


def files_of(folder):
    """Path below the folder, of all that is no folder."""
    return {str(path.relative_to(folder)) for path in folder.rglob("*")
            if path.is_symlink() or not path.is_dir()}


class Paths:
    def __init__(self, options):
        self.scratch = options.scratch
        self.prefix = options.scratch / "prefix"
        self.moved = options.scratch / "moved"
        self.origin_of_moved = options.scratch / "before-the-move"
        self.manifests_aside = options.scratch.parent / "manifests"


def move_manifests(source, target):
    """What is noted of installations that somebody made from the build folder is kept for them."""
    target.mkdir(parents=True, exist_ok=True)
    for path in source.glob("installed.txt"):
        path.replace(target / path.name)


def configure(options, by, build, *settings, status=0, flags=True):
    """Configures the consumer; gives what CMake said."""
    languages = [("C", options.cc, options.cflags), ("CXX", options.cxx, options.cxxflags)]
    compilers = [f"-DCMAKE_{name}_COMPILER={path}" for name, path, _ in languages]
    if flags:
        compilers += [f"-DCMAKE_{name}_FLAGS={text}" for name, _, text in languages]
    source = pathlib.Path(__file__).parent / "consumer"
    return run("cmake", "-S", source, "-B", build, "-G", options.generator, *compilers,
               f"-DCONSUMER_BY={by}", f"-DEXAMPLES={options.source / 'examples'}", *settings,
               status=status)


def run_examples(folder, environment=None):
    """The examples answer as they do in the build folder, the node's name from the companion."""
    variables = {"PATH": os.environ["PATH"], "TZ": "UTC0", "LC_ALL": "C", **(environment or {})}
    first_day = datetime.datetime.now(datetime.timezone.utc)
    report = run(folder / "host_report", env=variables)
    last_day = datetime.datetime.now(datetime.timezone.utc)
    match = re.fullmatch(r"(\S+): (\S+) has \d+ processors and \d+ MiB\n", report)
    check(match, "host_report says something else")
    days = {day.strftime("%m/%d/%Y") for day in (first_day, last_day)}
    check(match[1] in days, f"the date is not in {days}")
    check(match[2] == os.uname().nodename, f"the node is not {os.uname().nodename}")
    found = run(folder / "find_symbol", '"libc.so.6" "getenv"', env=variables)
    check(found == "getenv is there\n", "find_symbol says something else")


def find_and_run(options, prefix, build):
    # CMake searches the folder of an architecture when the compiler says that it is of that one,
    # which GCC with -m32 does not.
    configure(options, "find_package", build, f"-DCMAKE_PREFIX_PATH={prefix}",
              f"-DCMAKE_LIBRARY_ARCHITECTURE={pathlib.Path(options.libdir).name}")
    cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
    check(f"orla_DIR:PATH={prefix / options.libdir / 'cmake/orla'}\n" in cache, "another orla is found")
    run("cmake", "--build", build)
    run_examples(build)
    libraries = run("readelf", "-d", build / "host_report")
    check(f"[{prefix / options.libdir}]" in libraries, "the program looks elsewhere for its library")


@case
def install(options):
    paths = Paths(options)
    empty_folder(paths.scratch)
    move_manifests(options.build, paths.manifests_aside)
    for prefix in (paths.origin_of_moved, paths.prefix):
        run("cmake", "--install", options.build, "--prefix", prefix)
    paths.origin_of_moved.rename(paths.moved)

    # What a program needs at run time, what a build needs, and what people call.
    library = pathlib.Path(options.libdir)
    expected = {str(path) for path in (
        library / "liborla.so", library / "liborla.so.1", library / "liborlanode.so",
        library / "cmake/orla/orlaConfig.cmake", library / "cmake/orla/orlaConfigVersion.cmake",
        library / "cmake/orla/orlaTargets.cmake", library / "pkgconfig/orla.pc", "bin/orla",
        "share/doc/orla/LICENSE", "share/doc/orla/guide.md", "share/doc/orla/json.md",
        "share/doc/orla/quirks.md")}
    expected |= {f"include/orla/{header.name}" for header in options.source.glob("include/orla/*.h*")}
    missing = expected - files_of(paths.prefix)
    check(not missing, f"not installed: {sorted(missing)}")
    check(os.readlink(paths.prefix / library / "liborla.so") == "liborla.so.1",
          "liborla.so is no link to liborla.so.1")
    run(paths.prefix / "bin/orla", "--version", env={})

    # One component at a time makes the same installation.
    apart = empty_folder(paths.scratch / "by-component")
    for component in ("runtime", "development", "tools", "documentation"):
        run("cmake", "--install", options.build, "--prefix", apart, "--component", component)
    check(files_of(apart) == files_of(paths.prefix), "components leave out or add files: "
          f"{sorted(files_of(apart) ^ files_of(paths.prefix))}")


@case
def other_word_size(options):
    """A program of the other word size is told so when it is configured, not when it is linked."""
    paths = Paths(options)
    build = empty_folder(paths.scratch / "other_word_size")
    other = "-m64" if "-m32" in options.cflags else "-m32"
    # An orla that this machine has itself may be of that word size.
    elsewhere = [path for prefix in ("/", "/usr", "/usr/local")
                 for pattern in ("lib*/cmake/orla", "lib/*/cmake/orla")
                 for path in pathlib.Path(prefix).glob(pattern)]
    said = configure(options, "find_package", build, f"-Dorla_DIR="
                     f"{paths.prefix / options.libdir / 'cmake/orla'}",
                     f"-DCMAKE_IGNORE_PATH={';'.join(map(str, elsewhere))}",
                     f"-DCMAKE_C_FLAGS={other}", status=1, flags=False)
    word_size = "32bit" if "-m32" in options.cflags else "64bit"
    check(re.search(rf"orlaConfig.cmake, version: \S+ \({word_size}\)", said),
          "it is not said that the package is of another word size")


@case
def moved_prefix(options):
    paths = Paths(options)
    old = str(paths.origin_of_moved).encode()
    for path in sorted(files_of(paths.moved)):
        file = paths.moved / path
        check(old not in file.read_bytes(), f"{path} holds the prefix of old")
    find_and_run(options, paths.moved, empty_folder(paths.scratch / "moved_prefix"))
    build_by_pkg_config(options, paths.moved, empty_folder(paths.scratch / "moved_pkg_config"))
    names = run(paths.moved / "bin/orla", "names", env={})
    check(os.uname().nodename in names, "the tool does not find the companion")


def build_by_pkg_config(options, prefix, build):
    folder = prefix / options.libdir / "pkgconfig"
    variables = {**os.environ, "PKG_CONFIG_LIBDIR": str(folder)}
    arguments = shlex.split(run("pkg-config", "--cflags", "--libs", "orla", env=variables))
    path = f"-Wl,-rpath,{prefix / options.libdir}"
    for compiler, flags, source in ((options.cc, options.cflags, "host_report.c"),
                                    (options.cxx, options.cxxflags, "find_symbol.cpp")):
        program = build / pathlib.Path(source).stem
        run(compiler, *flags.split(), options.source / "examples" / source, *arguments, path,
            "-o", program)
    run_examples(build)
    version = run("pkg-config", "--modversion", "orla", env=variables).strip()
    said = run(prefix / "bin/orla", "--version", env={})
    check(version in said, f"orla.pc is of version {version}")


@case
def meson(options):
    """Meson finds the installation by pkg-config, for C and for C++."""
    paths = Paths(options)
    source = empty_folder(options.scratch / "meson")
    files = [pathlib.Path(__file__).parent / "meson_consumer/meson.build",
             options.source / "examples/host_report.c", options.source / "examples/find_symbol.cpp"]
    for file in files:
        shutil.copy(file, source)
    variables = {**os.environ, "CC": options.cc, "CFLAGS": options.cflags, "CXX": options.cxx,
                 "CXXFLAGS": options.cxxflags,
                 "PKG_CONFIG_LIBDIR": str(paths.prefix / options.libdir / "pkgconfig")}
    run("meson", "setup", source / "build", source, env=variables)
    run("meson", "compile", "-C", source / "build", env=variables)
    run_examples(source / "build", {"LD_LIBRARY_PATH": str(paths.prefix / options.libdir)})


@case
def fetch_content(options):
    """orla as a part of a product, which installs it with its own, here into lib32."""
    build = empty_folder(options.scratch.parent / "fetch_content")
    configure(options, "FetchContent", build, f"-DORLA_SOURCE_DIR={options.source}", "-DORLA_INSTALL=ON",
              "-DCMAKE_INSTALL_LIBDIR=lib32")
    run("cmake", "--build", build)
    run_examples(build)
    prefix = empty_folder(build / "prefix")
    run("cmake", "--install", build, "--prefix", prefix)
    user = build / "user"
    configure(options, "find_package", user, f"-Dorla_DIR={prefix / 'lib32/cmake/orla'}")
    run("cmake", "--build", user)
    run_examples(user)


@case
def uninstall(options):
    try:
        uninstall_all_but_files_of_others(options)
    finally:
        move_manifests(Paths(options).manifests_aside, options.build)


def uninstall_all_but_files_of_others(options):
    paths = Paths(options)
    kept = paths.prefix / "include/orla/of_another_product.h"
    kept.touch()
    # As another version puts it over ours.
    changed = paths.prefix / "include/orla/orla.h"
    changed.write_text("#include <orla/of_another_product.h>\n", encoding="ascii")
    run("cmake", "--build", options.build, "--target", "uninstall")
    left = files_of(paths.prefix)
    check(left == {f"include/orla/{path.name}" for path in (kept, changed)},
          f"left behind: {sorted(left)}")
    kept.unlink()
    changed.unlink()
    kept.parent.rmdir()
    folders = [path for path in paths.prefix.rglob("*") if path.name == "orla"]
    check(not folders, f"empty folders of ours left behind: {folders}")
    said = run("cmake", "--build", options.build, "--target", "uninstall", status=1)
    check("Nothing was installed" in said, "a second time is not told from the first")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("case", choices=CASES)
    for name in ("--source", "--build", "--scratch"):
        parser.add_argument(name, type=pathlib.Path, required=True)
    for name in ("--libdir", "--generator", "--cc", "--cflags", "--cxx", "--cxxflags"):
        parser.add_argument(name, required=True)
    # A value like "-m32" is no option of ours.
    arguments = sys.argv[1:]
    joined = [f"{key}={value}" for key, value in zip(arguments[1::2], arguments[2::2])]
    options = parser.parse_args([arguments[0], *joined])
    CASES[options.case](options)


if __name__ == "__main__":
    main()
