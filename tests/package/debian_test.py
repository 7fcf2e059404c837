#!/usr/bin/env python3
"""Makes the Debian packages of one build folder, and tries those of any folder.

    debian_test.py make BUILD_FOLDER      packs into BUILD_FOLDER/packages, twice, to the same bytes
    debian_test.py lintian FOLDER         the packages there have neither errors nor warnings
    debian_test.py symbols FOLDER         the symbols file is what the packaged library exports
    debian_test.py fresh_root FOLDER      the packages install into an empty system, and run there
"""

import contextlib
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

from command import check, run

PACKAGES = {"liborla1", "liborla-dev", "orla-tools"}  # of each architecture
TRIPLETS = {"i386": "i386-linux-gnu", "amd64": "x86_64-linux-gnu"}
WORD_SIZE = {"i386": "-m32", "amd64": "-m64"}
# The package that has the library on a machine of the architecture, and the one that this machine,
# which builds for both, has it from.
HOST_PACKAGES = {
    "i386": {"libc6": "libc6-i386", "libgcc-s1": "lib32gcc-s1", "libstdc++6": "lib32stdc++6"},
    "amd64": {"libc6": "libc6", "libgcc-s1": "libgcc-s1", "libstdc++6": "libstdc++6"},
}
FIRST_PROGRAM = """
#include <orla/orla.h>
#include <stdio.h>

int main(void) {
  char node[ORLA_NODE_NAME_SIZE];
  char date[ORLA_DATE_TEXT_SIZE];
  orla_get_node_name(node);
  date_to_string(date, 7673);
  printf("%s %s\\n", node, date);
  return 0;
}
"""


# Where administrators' commands are is in nobody's PATH but theirs.
ADMINISTRATOR = {"PATH": f"{os.environ['PATH']}:/usr/sbin:/sbin", "LC_ALL": "C"}


def field(package, name):
    return run("dpkg-deb", "--field", package, name).strip()


def packages_of(folder):
    """Architecture to its packages by name; each architecture has them all."""
    found = {}
    for path in sorted(folder.glob("*.deb")):
        found.setdefault(field(path, "Architecture"), {})[field(path, "Package")] = path
    check(set(found.pop("all", {})) == {"python3-orla"}, f"python3-orla is not in {folder}")
    check(found, f"no packages in {folder}")
    for architecture, packages in found.items():
        check(set(packages) == PACKAGES, f"{architecture} has only {sorted(packages)}")
    return found


def native_architecture():
    return run("dpkg", "--print-architecture").strip()


def sys_python(expression):
    """What an expression is in the system's Python."""
    return run("/usr/bin/python3", "-c", f"import sys, _ctypes; print({expression})").strip()


def python_package(folder):
    return next(folder.glob("python3-orla_*_all.deb"))


def make(build):
    def pack():
        for old in (build / "packages").glob("*.deb"):
            old.unlink()
        run("cpack", cwd=build)
        return {path.name: hashlib.sha256(path.read_bytes()).hexdigest()
                for path in (build / "packages").glob("*.deb")}

    check(pack() == pack(), "packing the same build again gives other packages")
    packages_of(build / "packages")


def lintian(folder):
    packages = [path for names in packages_of(folder).values() for path in names.values()]
    run("lintian", "--allow-root", "--fail-on", "error,warning", "--tag-display-limit", "0",
        *packages, python_package(folder))


def symbols(folder):
    """What dpkg finds in the library stands in the symbols file, and the other way round."""
    for packages in packages_of(folder).values():
        with tempfile.TemporaryDirectory(prefix="orla-test-") as name:
            scratch = pathlib.Path(name)
            run("dpkg-deb", "--raw-extract", packages["liborla1"], scratch / "liborla1")
            (scratch / "debian").mkdir()
            (scratch / "debian/control").write_text(
                "Source: orla\n\nPackage: liborla1\nArchitecture: any\n", encoding="ascii")
            library = next(scratch.glob("liborla1/usr/lib/*/liborla.so.1.*"))
            run("dpkg-gensymbols", "-pliborla1", "-v1.0", "-c4", f"-e{library}",
                f"-I{scratch / 'liborla1/DEBIAN/symbols'}", f"-O{scratch / 'found'}", cwd=scratch)


class FreshRoot:
    """A system that holds the C and C++ libraries of this one, and a package database that says
    so."""

    def __init__(self, folder, architectures):
        self.folder = folder
        self.database = folder / "var/lib/dpkg"
        for part in ("info", "triggers", "updates"):
            (self.database / part).mkdir(parents=True)
        (self.database / "arch").write_text("".join(f"{name}\n" for name in architectures),
                                            encoding="ascii")
        self.list_host_packages(architectures)
        (folder / "etc").mkdir()
        (folder / "etc/ld.so.conf").write_text(
            "".join(f"/lib/{TRIPLETS[name]}\n/usr/lib/{TRIPLETS[name]}\n" for name in architectures),
            encoding="ascii")
        # Only root may change its root; anyone may be root in a user namespace of their own.
        self.as_root = [] if os.geteuid() == 0 else ["unshare", "--map-root-user"]

    def list_host_packages(self, architectures, versions=None):
        version = run("dpkg-query", "--show", "--showformat=${Version}", "python3-minimal")
        entries = [self.entry("python3", native_architecture(), version, "allowed")]
        for architecture in architectures:
            for name, here in HOST_PACKAGES[architecture].items():
                version = (versions or {}).get(name) or run(
                    "dpkg-query", "--show", "--showformat=${Version}", here)
                entries.append(self.entry(name, architecture, version, "same"))
                (self.database / f"info/{name}:{architecture}.list").touch()
        (self.database / "info/python3.list").touch()
        (self.database / "status").write_text("\n".join(entries), encoding="ascii")

    @staticmethod
    def entry(name, architecture, version, multi_arch):
        return (f"Package: {name}\nStatus: install ok installed\nArchitecture: {architecture}\n"
                f"Multi-Arch: {multi_arch}\nVersion: {version}\n"
                "Maintainer: nobody <nobody@example.invalid>\nDescription: stands in\n")

    def dpkg(self, *arguments, **options):
        # This machine's settings may leave out documents or name its own log.
        return run(*self.as_root, "dpkg", f"--root={self.folder}", f"--log={self.folder / 'dpkg.log'}",
                   "--path-include=/usr/share/*", *arguments, env=ADMINISTRATOR, **options)

    def copy_libraries(self, program, architecture):
        """The loader to where the program asks for it, the libraries to where packages have
        them."""
        said = run("ldd", program)
        loader = re.search(r"^\s(/\S+) \(0x", said, re.MULTILINE)[1]
        copies = [(loader, loader)]
        for name, path in re.findall(r"^\s(\S+) => (\S+)", said, re.MULTILINE):
            if not path.startswith(str(self.folder)):
                copies.append((path, f"/lib/{TRIPLETS[architecture]}/{name}"))
        for source, target in copies:
            target = self.folder / target[1:]
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, target)

    def copy_file(self, path):
        target = self.folder / path[1:]
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(path, target, follow_symlinks=False)

    def copy_python(self):
        """This system's Python, and what py3compile asks for the files of a package."""
        version = f"{sys_python('sys.version_info[0]')}.{sys_python('sys.version_info[1]')}"
        packages = ["python3-minimal", f"python{version}-minimal", f"libpython{version}-minimal",
                    f"libpython{version}-stdlib"]
        listing = subprocess.run(["dpkg-query", "--listfiles", *packages], check=True, text=True,
                                 stdout=subprocess.PIPE).stdout
        for path in listing.splitlines():
            if os.path.islink(path) or os.path.isfile(path):
                self.copy_file(path)
        programs = ["/usr/bin/dpkg", "/usr/bin/dpkg-query"]
        for program in programs:
            self.copy_file(program)
        (self.folder / "bin").mkdir(exist_ok=True)  # /bin/sh is a link, or in /usr, on this system
        shutil.copy("/bin/sh", self.folder / "bin/sh")
        for program in (*programs, "/bin/sh", "/usr/bin/python3", sys_python("_ctypes.__file__")):
            self.copy_libraries(program, native_architecture())
        (self.folder / "dev").mkdir()
        (self.folder / "dev/null").touch()

    def run(self, *command):
        return run(*self.as_root, "chroot", self.folder, *command, env=ADMINISTRATOR)


def try_tool(root):
    check(re.search(r"\d+\.\d+", root.run("/usr/bin/orla", "--version")), "the tool has no version")
    names = json.loads(root.run("/usr/bin/orla", "names", "--json"))
    check(os.uname().nodename in names.values(), "the companion does not give the node's name")
    check("7673" in root.run("/usr/bin/orla", "date", "parse", "12/31/2007"),
          "12/31/2007 is not day 7673")


def try_development(root, architecture):
    """A program built from what liborla-dev installed runs where liborla1 is."""
    usr = root.folder / "usr"
    libraries = usr / "lib" / TRIPLETS[architecture]
    flags = run("pkg-config", "--cflags", "--libs", "orla",
                env={**os.environ, "PKG_CONFIG_LIBDIR": str(libraries / "pkgconfig"),
                     "PKG_CONFIG_SYSTEM_LIBRARY_PATH": f"/usr/lib/{TRIPLETS[architecture]}"})
    check(flags.strip() == "-lorla", "pkg-config names more than the library")
    program = root.folder / "first"
    source = root.folder / "first.c"
    source.write_text(FIRST_PROGRAM, encoding="ascii")
    run("cc", WORD_SIZE[architecture], source, f"-I{usr / 'include'}", f"-L{libraries}", "-lorla",
        "-o", program)
    said = root.run("/first")
    check(said == f"{os.uname().nodename} 12/31/2007\n", "the program says something else")
    check((usr / "share/doc/liborla-dev/examples/host_report.c").exists(), "no examples")
    for document in ("liborla-dev/guide.md", "liborla-dev/quirks.md", "orla-tools/json.md"):
        check((usr / "share/doc" / document).exists(), f"no {document}")


def try_python(root):
    """The package finds the library, is of its version, and was compiled when it was installed."""
    modules = root.folder / "usr/lib/python3/dist-packages/orla"
    check(any(modules.glob("__pycache__/_date.*.pyc")), "the modules are not compiled")
    said = root.run("/usr/bin/python3", "-c", "import importlib.metadata, orla; "
                    "print(orla.Date.parse('12/31/2007').number, orla.__version__, "
                    "importlib.metadata.version('orla'))")
    number, version, installed = said.split()
    check(number == "7673", "12/31/2007 is not day 7673")
    check(version == installed, "the package is installed as another version")


def fresh_root(folder):
    found = packages_of(folder)
    # Only one of several architectures has the tool; libraries and headers stand side by side.
    tool_of = next(iter(found))
    chosen = [path for architecture, packages in found.items() for name, path in packages.items()
              if name != "orla-tools" or architecture == tool_of]
    # Debian's Python has one architecture, and the package needs the library of that one.
    with_python = native_architecture() in found
    if with_python:
        chosen.append(python_package(folder))
    names = [f"{field(path, 'Package')}:{field(path, 'Architecture')}" for path in chosen]
    for architecture in found:
        check(field(found[architecture]["liborla1"], "Multi-Arch") == "same",
              "two architectures of liborla1 exclude each other")

    with contextlib.ExitStack() as stack:
        scratch = pathlib.Path(stack.enter_context(
            tempfile.TemporaryDirectory(prefix="orla-test-", ignore_cleanup_errors=True)))
        root = FreshRoot(scratch, list(found))
        # On a system that is too old they do not install.
        root.list_host_packages(found, {"libc6": "2.33-1"})
        said = root.dpkg("--install", *chosen, status=1)
        check("liborla1 depends on libc6 (>= 2.34)" in re.sub(r":\w+ depends", " depends", said),
              "installs beside a C library that is too old")
        root.dpkg("--purge", *names)

        root.list_host_packages(found)
        if with_python:
            root.copy_python()
        root.dpkg("--install", *chosen)
        check(not root.dpkg("--verify"), "files are not as their packages' md5sums say")
        for architecture in found:
            root.copy_libraries(next(scratch.glob(
                f"usr/lib/{TRIPLETS[architecture]}/liborla.so.1")), architecture)
        root.copy_libraries(scratch / "usr/bin/orla", tool_of)
        for architecture in found:
            triggers = next(root.database.glob(f"info/liborla1:{architecture}.triggers"))
            check(triggers.read_text(encoding="ascii") == "activate-noawait ldconfig\n",
                  "the linker's cache is not renewed")
        # What that trigger does on a whole system.
        run(*root.as_root, "ldconfig", "-r", scratch, env=ADMINISTRATOR)
        try_tool(root)
        if with_python:
            try_python(root)
        for architecture in found:
            try_development(root, architecture)

        root.dpkg("--purge", *names)
        left = [path for path in scratch.glob("usr/**/*") if "orla" in path.name]
        check(not left, f"left behind: {left}")


def main():
    cases = {"make": make, "lintian": lintian, "symbols": symbols, "fresh_root": fresh_root}
    if len(sys.argv) != 3 or sys.argv[1] not in cases:
        sys.exit(__doc__)
    cases[sys.argv[1]](pathlib.Path(sys.argv[2]).resolve())


if __name__ == "__main__":
    main()
