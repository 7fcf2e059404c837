"""The small changes that a source file can be given, one at a time.

    find(file, text, reached)  yields the mutants of a source, in the order of the text

`reached` names the library's own functions that it reaches by their exported names. A call of one
that is bound inside the library goes to an alias of the function, which bound_aliases() adds to its
source. Only what the i386 build compiles is changed: of the branches of a preprocessor condition
the first. Comments, strings, directives and static assertions stay as they are.
"""

import collections
import dataclasses
import re

SWAPPED = {
    " < ": " <= ", " <= ": " < ", " > ": " >= ", " >= ": " > ", " == ": " != ", " != ": " == ",
    " + ": " - ", " - ": " + ", " * ": " / ", " / ": " * ", " % ": " / ",
    " << ": " >> ", " >> ": " << ", " & ": " | ", " | ": " & ", " ^ ": " & ",
    " && ": " || ", " || ": " && ",
    " += ": " -= ", " -= ": " += ", " |= ": " &= ",
    "++": "--", "--": "++",
    "true": "false", "false": "true",
}
OPERATOR = re.compile(
    r" (?:<<|>>|<=|>=|==|!=|&&|\|\||\+=|-=|\|=|[-+*/%<>&|^]) |\+\+|--|\b(?:true|false)\b")
NUMBER = re.compile(r"(?<![\w.'])(0[xX][0-9a-fA-F]+|\d+)([uUlL]*)(?![\w.'])")
CHARACTER = re.compile(r"'(.)'")
CONDITION = re.compile(r"\b(?:if|while) \(")
STATEMENT = re.compile(
    r"^\s*(?:if \(.*\) )?(?P<whole>(?:[\w:.\[\]]|->|\*)+(?: [-+|]?= .*|\(.*\));)$")
JUMP = re.compile(r"^\s*(?:if \(.*\) )?(?P<whole>(?:break|continue);)$")
# A local that is filled later: shared by all threads when it is static.
LOCAL = re.compile(r"^ {2,}(?!return |using |goto |static |extern |typename )"
                   r"(?P<whole>(?:struct )?[A-Za-z_][\w:]* \*?\w+(?:\[.*\])?(?: = \{\})?;)$")
# Calls whose order shows: what they ask or change is outside of the function.
ASKING = frozenset("""
    close closedir copy_file count_physical_proc dlclose dlerror dlopen dlsym exit fclose fgets
    flock fopen fputs freeifaddrs fstat ftruncate ftruncate64 get_nprocs_conf getenv secure_getenv
    getgid getgrgid getifaddrs getpid getpwuid gettimeofday getuid gmtime HTSupported ht_os_cpus
    ioctl klogctl localtime lseek mkstemp mktime open perror printf puts read rename setvbuf
    snprintf swap sysinfo TavTrace time tzset umask uname unlink write orla_uuid_gen
    orla_slnk_free_library orla_slnk_free_library_id orla_slnk_load_library configured_processors
    """.split())
CALL = re.compile(r"(?<![\w.>:])(?:std::|::)?(\w+)\(")
NEVER_CHANGED = re.compile(r"^\s*(?:#|static_assert|namespace|using|template)")


STATIC = "static local"  # only threads notice some of these


@dataclasses.dataclass(frozen=True)
class Mutant:
    file: str
    number: int  # of the line, from 1
    line: str  # without its indentation
    change: str  # such as: < -> <=, or 1 -> 0 (number 2)
    text: str  # the whole file, changed

    @property
    def key(self):
        """Identifies the mutant, wherever the line is in its file."""
        return self.file, self.line, self.change


def find(file, text, reached=()):
    code_lines = blank_what_is_not_code(text).split("\n")
    lines = text.split("\n")
    compiled = compiled_lines(lines)
    times_seen = collections.Counter()
    for index, code in enumerate(code_lines):
        if not compiled[index] or NEVER_CHANGED.match(code):
            continue
        times_seen[lines[index].strip()] += 1
        again = times_seen[lines[index].strip()]
        kind = f" (line {again} of its kind)" if again > 1 else ""

        def mutant(change, changed, count=1, first=()):
            text = "\n".join([*first, *lines[:index], *changed, *lines[index + count:]])
            return Mutant(file, index + 1, lines[index].strip(), change + kind, text)

        for start, end, replacement, change in changes(code, lines[index]):
            yield mutant(change, [lines[index][:start] + replacement + lines[index][end:]])
        for match in CALL.finditer(code):
            if match[1] in reached and code.startswith(" "):
                bound = lines[index][:match.start(1)] + alias(match[1]) + lines[index][match.end(1):]
                yield mutant(f"{match[1]} bound inside the library", [bound],
                             first=includes_and_alias(lines, match[1]))
        if ask_the_system(code_lines[index:index + 2]):
            yield mutant("swapped with the next line", lines[index:index + 2][::-1], count=2)


def changes(code, line):
    """Start, end, replacement and description of each change of a line, from left to right."""
    found = []
    for match in OPERATOR.finditer(code):
        found.append((*match.span(), SWAPPED[match[0]], match[0].strip()))
    for match in NUMBER.finditer(code):
        for number in neighbours(match[1]):
            found.append((*match.span(), number + match[2], match[0]))
    for match in CHARACTER.finditer(code):
        start, end = match.span(1)
        found.append((start, end, chr(ord(line[start]) ^ 1), line[start]))
    for match in CONDITION.finditer(code):
        start = match.end()
        end = after_matching_parenthesis(code, start)
        if end is not None:
            found.append((start, end, f"!({line[start:end]})", "condition"))
    for match in filter(None, (STATEMENT.match(code), JUMP.match(code))):
        found.append((*match.span("whole"), ";", "statement"))
    for match in filter(None, [LOCAL.match(code)]):
        start = match.start("whole")
        found.append((start, start, "static ", "local"))
    found.sort(key=lambda change: change[:2])
    return [(start, end, replacement, describe(found, i, replacement))
            for i, (start, end, replacement, _) in enumerate(found)]


def neighbours(number):
    """One more and one less, in the notation of the number, without negative ones."""
    if number.lower().startswith("0x"):
        base, form = 16, "0x{:X}"
    elif number.startswith("0") and number != "0":
        base, form = 8, "0{:o}"
    else:
        base, form = 10, "{}"
    value = int(number, base)
    return [form.format(other) for other in (value + 1, value - 1) if other >= 0]


def describe(found, index, replacement):
    start, _, _, what = found[index]
    if what == "statement":
        return "statement removed"
    if what == "local":
        return STATIC
    if what == "condition":
        return "condition negated" + ordinal(found, index)
    return f"{what} -> {replacement.strip()}{ordinal(found, index)}"


def ordinal(found, index):
    """Distinguishes equal things on one line: empty for the first of them."""
    start, _, _, what = found[index]
    place = len({other[0] for other in found[:index] if other[3] == what and other[0] != start})
    return f" (number {place + 1})" if place else ""


def alias(name):
    return f"orla_bound_{name}"


def includes_and_alias(lines, name):
    """What a source needs before its first line to call the alias of a function."""
    return [*(line for line in lines if line.startswith("#include <orla/")),
            f'extern "C" [[gnu::visibility("hidden")]] decltype({name}) {alias(name)};']


def bound_aliases(text, reached):
    """Hidden aliases of those functions that a source defines, to be added at its end."""
    return "".join(f'extern "C" [[gnu::alias("{name}"), gnu::visibility("hidden")]] '
                   f"decltype({name}) {alias(name)};\n"
                   for name in reached
                   if re.search(rf"^\w[^;{{}}]*\b{name}\([^;{{}}]*\) noexcept {{", text, re.MULTILINE))


def ask_the_system(lines):
    """Whether both of two lines are statements that call a function that has an effect or asks for one."""
    return len(lines) == 2 and all(
        re.match(r"^ +[^ ].*;$", line) and any(match[1] in ASKING for match in CALL.finditer(line))
        for line in lines)


def after_matching_parenthesis(code, start):
    depth = 1
    for at in range(start, len(code)):
        depth += {"(": 1, ")": -1}.get(code[at], 0)
        if depth == 0:
            return at
    return None


def blank_what_is_not_code(text):
    """The text with comments and the inside of strings as spaces, at the same places. A character literal
    stays where it is one plain character."""
    pattern = re.compile(r"""//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|'\\.[^']*'|\[\[[^\]]*\]\]""", re.DOTALL)
    return pattern.sub(lambda match: re.sub(r"[^\n]", " ", match[0]), text)


def compiled_lines(lines):
    """For each line, whether it is outside of conditions or in first branches only."""
    compiled = []
    branches = []
    for line in lines:
        directive = line.lstrip()
        if directive.startswith("#if"):
            branches.append(True)
        elif directive.startswith(("#elif", "#else")):
            branches[-1] = False
        elif directive.startswith("#endif"):
            branches.pop()
        compiled.append(all(branches))
    return compiled
