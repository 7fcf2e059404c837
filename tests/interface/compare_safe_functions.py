#!/usr/bin/env python3
"""Checks that every function that the headers call safe for threads is called by a test of threads.

A function's comment says "Threads: safe", with or without a condition after it, or "as" another
function.
"""

import argparse
import re
import sys
from pathlib import Path

# Declared by <arpa/inet.h>; orla_byteorder(3) calls them safe.
CONVERTERS = {"htonl", "htons", "ntohl", "ntohs"}

COMMENT_AND_NAME = re.compile(r"/\*\*((?:(?!\*/).)*)\*/\s*ORLA_EXPORT\s+(?!extern)[^;(]*?(\w+)\(", re.DOTALL)


def said_of_threads(comment):
    words = re.sub(r"\s*\n \*\s*", " ", comment)
    said = re.search(r"Threads: (.*?)(?:\. |\.?\s*$)", words)
    return said.group(1) if said else ""


def safe_functions(headers):
    said = {name: said_of_threads(comment)
            for header in headers for comment, name in COMMENT_AND_NAME.findall(header.read_text("utf-8"))}
    silent = sorted(name for name, words in said.items() if not words)
    if silent:
        raise SystemExit(f"nothing is said of threads: {', '.join(silent)}")

    def is_safe(name):
        as_another = re.match(r"as (\w+)\(\)", said.get(name, ""))
        return is_safe(as_another.group(1)) if as_another else "safe" in said.get(name, "")

    return {name for name in said if is_safe(name)} | CONVERTERS


def called_in(tests):
    text = "".join(re.sub(r"//.*", "", test.read_text("utf-8")) for test in tests)
    bodies = text.partition("namespace {")[2]
    return set(re.findall(r"\b(\w+)\(", bodies))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--headers", type=Path, required=True)
    parser.add_argument("--tests", type=Path, required=True)
    options = parser.parse_args()
    safe = safe_functions(sorted(options.headers.glob("*.h")))
    missing = sorted(safe - called_in(sorted(options.tests.glob("*_threads_test.cpp"))))
    for name in missing:
        print(f"said to be safe for threads, called by no test of threads: {name}")
    print(f"{len(safe)} functions are said to be safe for threads")
    return 1 if missing or len(safe) <= len(CONVERTERS) else 0


if __name__ == "__main__":
    sys.exit(main())
