#!/usr/bin/env python3
"""Holds three sets of names equal: the version script, the dynamic symbols, the headers' declarations.

The version script lists the names header by header, each group under a comment that ends in the header's
name; each group is compared with what that header declares.
"""

import argparse
import re
import subprocess
import sys

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


def names_of_header(compiler, flags, includes, header):
    command = [compiler, *flags.split(), "-E", "-P", "-x", "c", "-"]
    for folder in includes:
        command += ["-I", folder]
    source = "#include <orla/export.h>\n#undef ORLA_EXPORT\n#define ORLA_EXPORT @exported@\n" \
             f"#include <{header}>\n"
    text = subprocess.run(command, input=source, check=True, text=True, capture_output=True).stdout
    declarations = [part.partition(";")[0] for part in text.split("@exported@")[1:]]
    return {name_of_declaration(" ".join(part.split())) for part in declarations}


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
    parser.add_argument("library")
    options = parser.parse_args()

    def names_of(header):
        return names_of_header(options.compiler, options.flags, options.include, header)

    groups = groups_of_map(options.map)
    script = set().union(*groups.values())
    library = names_of_library(options.nm, options.library)
    headers = names_of("orla/orla.h")
    platform = DECLARED_BY_THE_PLATFORM & script

    wrong = [complain(f"not as {header} declares", names - platform ^ names_of(header))
             for header, names in groups.items()]
    wrong += [complain("in the version script, not exported", script - library),
             complain("exported, not in the version script", library - script),
             complain("exported, not declared in a header", library - headers - platform),
             complain("declared in a header, not exported", headers - library),
             complain("declared by the platform and by a header", headers & DECLARED_BY_THE_PLATFORM)]
    print(f"{len(library)} names exported, {len(headers)} declared")
    return 1 if any(wrong) or not library else 0


if __name__ == "__main__":
    sys.exit(main())
