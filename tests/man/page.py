"""Reads the manual pages (mdoc) for their tests: sections, literal blocks, prototypes."""

import re
import shlex
from pathlib import Path

ESCAPES = {r"\e": "\\", r"\-": "-", r"\&": "", r"\(aq": "'", r"\(ha": "^", r"\(ti": "~"}


def unescape(text):
    return re.sub(r"\\(?:\(..|.)", lambda match: ESCAPES[match.group()], text)


class Page:
    def __init__(self, path):
        self.path = Path(path)
        self.lines = self.path.read_text(encoding="utf-8").splitlines()

    @property
    def name(self):
        return self.path.stem

    def section(self, title):
        """The lines of a section, or none."""
        lines = iter(self.lines)
        for line in lines:
            if line == f".Sh {title}":
                break
        found = []
        for line in lines:
            if line.startswith(".Sh "):
                break
            found.append(line)
        return found

    @property
    def names(self):
        """What the page documents, by its section NAME, the page itself left out."""
        words = (line.split()[1] for line in self.section("NAME") if line.startswith(".Nm "))
        return {word for word in words if word != self.name}

    @property
    def headers(self):
        return [line.split()[1] for line in self.section("SYNOPSIS") if line.startswith(".In ")]

    @property
    def prototypes(self):
        """Declarations of the section SYNOPSIS, as C has them."""
        found = []
        result = arguments = None
        for line in self.section("SYNOPSIS"):
            macro, *words = shlex.split(line.replace("\\", "\\\\")) or [""]
            if macro == ".Vt":
                found.append(" ".join(words).removesuffix(";").strip())
            elif macro == ".Ft":
                result = words[0]
            elif macro == ".Fn":
                found.append(f"{result} {words[0]}({', '.join(words[1:])})")
            elif macro == ".Fo":
                arguments = [words[0]]
            elif macro == ".Fa":
                arguments.append(words[0])
            elif macro == ".Fc":
                found.append(f"{result} {arguments[0]}({', '.join(arguments[1:])})")
        return found

    @property
    def blocks(self):
        """Literal blocks of the section EXAMPLES."""
        found = []
        block = None
        for line in self.section("EXAMPLES"):
            if line.startswith(".Bd -literal"):
                block = []
            elif line == ".Ed":
                found.append("".join(unescape(text) + "\n" for text in block))
                block = None
            elif block is not None:
                block.append(line)
        return found


def pages(folder, section):
    found = [Page(path) for path in sorted(Path(folder).glob(f"*.{section}"))]
    assert found, f"no page of section {section} in {folder}"
    return found
