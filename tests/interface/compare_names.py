#!/usr/bin/env python3
"""Checks that four sets of names are equal: the version script, the dynamic symbols, the headers'
declarations, the manual pages.

The version script lists the names header by header, each group under a comment that ends in the
header's name; each group is compared with what that header declares, and with what the pages
document that include it. The declarations that a page shows are compared with the header's.
"""

import argparse
import re
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "man"))
from page import pages  # noqa: E402

# Defined under the platform's own names, which <arpa/inet.h> declares: no header of ours may.
DECLARED_BY_THE_PLATFORM = {"htonl", "htons", "ntohl", "ntohs"}


def groups_of_map(path):
    """Header to the names listed under it."""
    with open(path, encoding="utf-8") as file:
        exported = file.read().partition("global:")[2].partition("local:")[0]
    parts = re.split(r"#.*?(orla/\w+\.h).*\n", exported)
    return {header: set(re.findall(r"(\w+);", names))
            for header, names in zip(parts[1::2], parts[2::2])}


def names_of_library(nm, path):
    listing = subprocess.run([nm, "-D", "--defined-only", path], check=True, text=True,
                             capture_output=True).stdout
    symbols = [line.split() for line in listing.splitlines()]
    return {fields[-1].partition("@")[0] for fields in symbols if fields[-2] != "A"}


def preprocess(compiler, flags, includes, source):
    command = [compiler, *flags.split(), "-E", "-P", "-x", "c", "-"]
    for folder in includes:
        command += ["-I", folder]
    return subprocess.run(command, input=source, check=True, text=True, capture_output=True).stdout


def declarations_of(text):
    """Name to declaration, for every one that a preprocessed text marks, without needless spaces."""
    parts = [part.partition(";")[0] for part in text.split("@exported@")[1:]]
    declarations = (re.sub(r"\s*([*(),\[\]])\s*", r"\1", " ".join(part.split())) for part in parts)
    return {name_of_declaration(each): each for each in declarations}


def marked_header(header):
    return "#include <orla/base.h>\n#undef ORLA_EXPORT\n#define ORLA_EXPORT @exported@\n" \
           f"#include <{header}>\n"


def name_of_declaration(text):
    pointer_to_function = re.search(r"\(\s*\*\s*(\w+)\s*\)\s*\(", text)
    if text.startswith("extern") and pointer_to_function:
        return pointer_to_function.group(1)
    return re.search(r"(\w+)\s*(?:\(|\[|$)", text).group(1)


def complain(title, names):
    for name in sorted(names):
        print(f"{title}: {name}")
    return bool(names)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--nm", required=True)
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--flags", default="")
    parser.add_argument("--include", action="append", default=[])
    parser.add_argument("--map", required=True)
    parser.add_argument("--man", required=True)
    parser.add_argument("library")
    options = parser.parse_args()

    def declared_by(source):
        return declarations_of(preprocess(options.compiler, options.flags, options.include, source))

    def names_of(header):
        return set(declared_by(marked_header(header)))

    # The shown declarations go through the preprocessor too, as they contain macros.
    def shown_by(page):
        shown = "".join(f"@exported@ {each};\n" for each in page.prototypes)
        return declared_by("".join(f"#include <{each}>\n" for each in page.headers) + shown)

    manual = pages(options.man, 3)
    declared = declared_by(marked_header("orla/orla.h"))
    groups = groups_of_map(options.map)
    script = set().union(*groups.values())
    library = names_of_library(options.nm, options.library)
    headers = set(declared)
    platform = DECLARED_BY_THE_PLATFORM & script

    wrong = [complain(f"not as {header} declares", names - platform ^ names_of(header))
             for header, names in groups.items()]
    wrong += [complain("in the version script, not exported", script - library),
             complain("exported, not in the version script", library - script),
             complain("exported, not declared in a header", library - headers - platform),
             complain("declared in a header, not exported", headers - library),
             complain("declared by the platform and by a header", headers & DECLARED_BY_THE_PLATFORM)]
    for header, names in groups.items():
        documented = [name for page in manual if header in page.headers for name in page.names]
        wrong += [complain(f"of {header}, not documented once", names ^ set(documented)),
                  complain(f"of {header}, documented twice",
                           {name for name in documented if documented.count(name) > 1})]
    for page in manual:
        shown = shown_by(page)
        wrong += [complain(f"in NAME or in SYNOPSIS of {page.name} alone", page.names ^ set(shown)),
                  complain(f"in {page.name}, not as declared",
                           {text for name, text in shown.items()
                            if name not in DECLARED_BY_THE_PLATFORM and text != declared.get(name)})]
    documented = set().union(*(page.names for page in manual))
    wrong.append(complain("documented, not exported", documented - library))
    print(f"{len(library)} names exported, {len(headers)} declared, {len(documented)} documented")
    return 1 if any(wrong) or not library else 0


if __name__ == "__main__":
    sys.exit(main())
