#!/usr/bin/env python3
"""Checks the pages of a man folder: every name leads to the page that documents it, every reference to
a page of ours is to one that exists, and no page lacks a section that callers look for.

    aliases.py FOLDER       a folder with man1, man3 and man5
"""

import re
import subprocess
import sys
from pathlib import Path

from page import Page

# The system has pages of these names.
PREFIXED = {"htonl", "htons", "ntohl", "ntohs"}

# By section of the manual; the overview says what applies to all.
SECTIONS = {
    ".1": ("SYNOPSIS", "DESCRIPTION", "EXIT STATUS", "EXAMPLES", "SEE ALSO"),
    ".3": ("LIBRARY", "SYNOPSIS", "DESCRIPTION", "RETURN VALUES", "EXAMPLES", "ERRORS", "THREADS",
           "SEE ALSO", "CAVEATS"),
    ".5": ("DESCRIPTION", "FILES", "EXAMPLES", "SEE ALSO", "CAVEATS"),
}
NOT_IN_THE_OVERVIEW = {"RETURN VALUES", "ERRORS"}


def main():
    folder = Path(sys.argv[1])
    files = {f"{path.stem}({path.suffix[1:]})": path for path in sorted(folder.glob("man?/*"))}
    aliases = {}
    documents = {}
    wrong = []
    for title, path in files.items():
        first = path.read_text(encoding="utf-8").splitlines()[0]
        if first.startswith(".so "):
            aliases[path.stem] = Path(first[4:]).stem
            if not (folder / first[4:]).is_file():
                wrong.append(f"{title} leads to {first[4:]}, which is not there")
            continue
        page = Page(path)
        if path.suffix == ".3":
            documents |= {("orla_" if name in PREFIXED else "") + name: page.name
                          for name in page.names}
        wrong += [f"{title} has no section {each}" for each in SECTIONS[path.suffix]
                  if not page.section(each)
                  and not (title == "orla(3)" and each in NOT_IN_THE_OVERVIEW)]
        for line in page.lines:
            reference = re.match(r"\.Xr (orla\S*) (\d)", line)
            if reference and "{}({})".format(*reference.groups()) not in files:
                wrong.append(f"{title} refers to {reference.group(1)}({reference.group(2)})")
    wrong += [f"alias {name}: {aliases.get(name)}, documented in {documents.get(name)}"
              for name in sorted(aliases.keys() | documents.keys())
              if aliases.get(name) != documents.get(name)]
    shown = subprocess.run(["man", "-M", folder, "-w", "tavGetDisks"], text=True,
                           capture_output=True, check=False).stdout
    if not shown.endswith("man3/orla_inventory.3\n"):
        wrong.append(f"man tavGetDisks shows {shown!r}")
    print("\n".join(wrong) or f"{len(files)} files, {len(aliases)} aliases")
    return 1 if wrong or not aliases else 0


if __name__ == "__main__":
    sys.exit(main())
