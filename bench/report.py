#!/usr/bin/env python3
"""Runs the measuring programs and reports what they say, table by table.

    report.py --google PROGRAM... --plain PROGRAM... [--json FILE] [--markdown FILE] [--plot FOLDER]
              [--filter REGEX]

Measures the tables whose titles match REGEX. Programs behind --google measure x86-64, with the peers; those
behind --plain i386. Every figure is a median of fifteen repetitions, in nanoseconds; against the goals the
fastest repetitions stand beside the medians. A table whose rows have sizes is reported as growth: time by size,
and the exponent of the power law that fits best. --markdown replaces what stands behind the mark in FILE, or
writes a new one.
"""

import argparse
import datetime
import json
import math
import pathlib
import platform
import re
import statistics
import subprocess
import sys

REPETITIONS = 15
GROWTH = "Growth: "
# What we aim at: nanoseconds, or how often a floor that is named.
GOALS = {
    "UUID: generate": (1.3, "gettimeofday"),
    "UUID: encode": (3, None),
    "UUID: decode": (5, None),
    "UUID: compare": (2, None),
    "UUID: hash": (1.5, None),
    "Date number to text": (5, None),
    "Text to date number": (6, None),
    "Fields from a date number": (3, None),
    "Date number from fields": (2, None),
    "Traced line, TZ set": (1.25, "write + fstat"),
    "Traced line, TZ not set": (1.25, "write + fstat"),
    "Untraced service: memory": (1.02, "sysinfo"),
    "Profile: a key near the end of 10,000": (3, "read, one memmem"),
    "Profile: a key of 20 lines": (1.3, "open, read, close"),
    "Profile: rewrite one key of 10,000": (2, "write a copy, rename"),
    "Profile: rewrite one key of 20 lines": (1.5, "write a copy, rename"),
    "Token out of a line": (1.2, "strchr, twice, and a copy"),
    "Symbol lookup": (1.1, "dlsym"),
    "Processor count": (1.1, "get_nprocs_conf, cpuid twice"),
    "Load of the library": (1.2, "an empty library"),
}
# Rows of orla.hpp, which calls nothing, and what they are to cost against the best that is inline too.
HEADER = "orla.hpp"
HEADER_GOALS = [
    ("UUID: compare", "orla.hpp: <, inline", 1.1, "Boost.UUID, inline"),
    ("UUID: hash", "orla.hpp: 101 buckets, inline", 1.1, "Abseil, 101 buckets, inline"),
    ("UUID: hash", "orla.hpp: std::hash, inline", 1.1, "Abseil, inline"),
    ("Date number from fields", "orla.hpp, inline", 1.1, "std::chrono with ok(), inline"),
]
MARK = "<!-- Behind this mark stands what scripts/bench --markdown wrote. -->\n"


def titles_of(program):
    """Titles of the tables of a program that measures by Google Benchmark."""
    answer = subprocess.run([program, "--benchmark_list_tests=true"], stdout=subprocess.PIPE, check=True, text=True)
    return list(dict.fromkeys(line.partition("|")[0] for line in answer.stdout.splitlines()))


def any_of(titles):
    """An expression, in the simplest syntax, for what begins with one of the titles."""
    return "^(" + "|".join(re.sub("[^A-Za-z0-9 :,]", ".", title) for title in titles) + ")"


def google_rows(program, titles):
    """Rows of a program that measures by Google Benchmark."""
    command = [program, f"--benchmark_repetitions={REPETITIONS}", "--benchmark_min_time=0.05",
               "--benchmark_enable_random_interleaving=true", "--benchmark_format=json",
               f"--benchmark_filter={any_of(titles)}[|]"]
    answer = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True)
    times = {}
    for run in json.loads(answer.stdout)["benchmarks"]:
        if run["run_type"] == "iteration":
            times.setdefault(run["run_name"], []).append(run["real_time"])
    for name, values in times.items():
        table, role, row, size = name.split("|")
        yield {"table": table, "role": role, "name": row, "size": int(size),
               "nanoseconds": round(statistics.median(values), 3), "fastest": round(min(values), 3)}


def plain_rows(program, titles):
    """Rows of a program that measures by itself."""
    answer = subprocess.run([program, any_of(titles) + "$"], stdout=subprocess.PIPE, check=True)
    return json.loads(answer.stdout)


def processor():
    for line in pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.processor() or "unknown"


def compiler():
    answer = subprocess.run(["c++", "--version"], capture_output=True, text=True, check=True)
    return answer.stdout.splitlines()[0]


def by_table(rows):
    tables = {}
    for row in rows:
        tables.setdefault(row["table"], []).append(row)
    return tables


def nanoseconds(value):
    return f"{value:,.1f}" if value < 1000 else f"{value:,.0f}"


def exported(rows):
    """Our rows that call the library."""
    return [r for r in rows if r["role"] == "ours" and not r["name"].startswith(HEADER)]


class Ratios:
    """What one architecture's rows of a table say of ours."""

    def __init__(self, rows):
        self.ours = min(r["nanoseconds"] for r in exported(rows))
        self.floors = [r for r in rows if r["role"] == "floor"]
        self.peer = min((r for r in rows if r["role"] == "peer"), default=None,
                        key=lambda r: r["nanoseconds"])

    def sentence(self):
        floors = sorted(self.floors, key=lambda r: -r["nanoseconds"])
        parts = [f"ours / floor {self.ours / floor['nanoseconds']:.2f} ({floor['name']})"
                 for floor in floors]
        if self.peer:
            parts.append(f"best peer / ours {self.peer['nanoseconds'] / self.ours:.2f} ({self.peer['name']})")
        return ", ".join(parts)


def in_unit_of_goal(rows, floor, statistic):
    """What our slowest row took, in nanoseconds or as a multiple of the floor."""
    measured = max(r[statistic] for r in exported(rows))
    return measured / next(r[statistic] for r in rows if r["name"] == floor) if floor else measured


def against_goal(rows, limit, floor):
    """Median and fastest repetition, of ours and of the floor; in bold what is above the goal."""
    values = [in_unit_of_goal(rows, floor, statistic) for statistic in ("nanoseconds", "fastest")]
    texts = [f"{value:.2f}" if floor else f"{value:.1f} ns" for value in values]
    median, fastest = (text if value <= limit else f"**{text}**" for value, text in zip(values, texts))
    return f"{median} ({fastest})"


def header_against_goal(rows, row, limit, peer):
    """The row as a multiple of the peer, where both were measured: against_goal() over these two."""
    pair = [r | {"name": "row"} for r in rows if r["name"] == row] + [r for r in rows if r["name"] == peer]
    return against_goal(pair, limit, peer) if len(pair) == 2 else ""


def goals_table(measured):
    lines = ["### Goals", "", "| | goal | " + " | ".join(measured) + " |", "|---|---|" + "---:|" * len(measured)]
    for title, (limit, floor) in GOALS.items():
        cells = [against_goal(tables[title], limit, floor) if title in tables else "" for tables in measured.values()]
        goal = f"{limit} x {floor}" if floor else f"{limit} ns"
        if any(cells):
            lines.append(f"| {title} | {goal} | " + " | ".join(cells) + " |")
    for title, row, limit, peer in HEADER_GOALS:
        cells = [header_against_goal(tables.get(title, []), row, limit, peer) for tables in measured.values()]
        if any(cells):
            lines.append(f"| {title}, {row} | {limit} x {peer} | " + " | ".join(cells) + " |")
    return "\n".join(lines) + "\n"


def exponent(rows):
    """Slope of the straight line through log(size), log(time)."""
    points = [(math.log(r["size"]), math.log(r["nanoseconds"])) for r in rows]
    mean_x = statistics.mean(x for x, _ in points)
    mean_y = statistics.mean(y for _, y in points)
    spread = sum((x - mean_x) ** 2 for x, _ in points)
    return sum((x - mean_x) * (y - mean_y) for x, y in points) / spread


def growth_sentence(rows):
    rows = sorted(rows, key=lambda r: r["size"])
    return f"exponent {exponent(rows):.2f}, between the two largest {exponent(rows[-2:]):.2f}"


def markdown_table(title, measured):
    """`measured` maps an architecture to the table's rows."""
    architectures = list(measured)
    growth = title.startswith(GROWTH)
    first = {}  # what each row took on the first architecture that measured it
    for rows in measured.values():
        for r in rows:
            first.setdefault((r["name"], r["role"], r["size"]), r["nanoseconds"])
    names = sorted(first, key=lambda key: (["floor", "ours", "peer"].index(key[1]), key[2], first[key]))
    lines = [f"### {title}", "", "| | " + " | ".join(f"{a}, ns" for a in architectures) + " |",
             "|---|" + "---:|" * len(architectures)]
    for name, role, size in names:
        cells = []
        for architecture in architectures:
            found = [r for r in measured[architecture] if (r["name"], r["size"]) == (name, size)]
            cells.append(nanoseconds(found[0]["nanoseconds"]) if found else "")
        label = f"{size:,}" if growth else {"ours": f"**{name}**", "floor": f"floor: {name}"}.get(role, name)
        lines.append(f"| {label} | " + " | ".join(cells) + " |")
    lines.append("")
    for architecture in architectures:
        rows = measured[architecture]
        text = growth_sentence(rows) if growth else Ratios(rows).sentence()
        if text:
            lines.append(f"- {architecture}: {text}")
    return "\n".join(lines) + "\n"


def write_markdown(path, text):
    before = path.read_text(encoding="utf-8").partition(MARK)[0] if path.exists() else ""
    path.write_text(before + MARK + "\n" + text, encoding="utf-8")


def plot(folder, title, rows):
    """One SVG bar chart, by gnuplot, on a logarithmic scale."""
    name = re.sub(r"[^a-z0-9]+", "-", title.lower()).strip("-")
    data = "\n".join(f'"{r["name"]}" {r["nanoseconds"]} {["floor", "ours", "peer"].index(r["role"])}'
                     for r in sorted(rows, key=lambda r: r["nanoseconds"]))
    script = f"""
set terminal svg size 800,{120 + 40 * len(rows)} background "white" font "sans,12"
set output "{folder}/{name}.svg"
set title "{title}: nanoseconds per call, x86-64"
set logscale x
set style fill solid 0.8
set key off
set yrange [-0.6:{len(rows)}.0]
set bmargin 3
$data << END
{data}
END
set palette defined (0 "#999999", 1 "#1f77b4", 2 "#e0a040")
unset colorbox
set cbrange [0:2]
set xrange [{min(r["nanoseconds"] for r in rows) / 3}:{max(r["nanoseconds"] for r in rows) * 3}]
plot $data using ($2/2):0:($2/2):(0.35):3:ytic(1) with boxxyerror palette, \\
     $data using 2:0:(sprintf("  %.1f", $2)) with labels left
"""
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def arguments():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--google", nargs="*", default=[])
    parser.add_argument("--plain", nargs="*", default=[])
    parser.add_argument("--json")
    parser.add_argument("--markdown")
    parser.add_argument("--plot")
    parser.add_argument("--filter", default=".")
    return parser.parse_args()


def main():
    asked = arguments()
    titles = {program: [title for title in titles_of(program) if re.search(asked.filter, title)]
              for program in asked.google}
    every = [title for of_program in titles.values() for title in of_program]
    if not every:
        raise SystemExit(f"no table matches {asked.filter}")
    measured = {
        "x86-64": [row for program in asked.google if titles[program]
                   for row in google_rows(program, titles[program])],
        "i386": [row for program in asked.plain for row in plain_rows(program, every)],
    }
    measured = {architecture: by_table(rows) for architecture, rows in measured.items() if rows}
    context = {"date": datetime.date.today().isoformat(), "processor": processor(), "compiler": compiler()}
    texts = [goals_table(measured)]
    texts += [markdown_table(title, {a: tables[title] for a, tables in measured.items() if title in tables})
             for title in sorted(every, key=lambda title: (title.startswith(GROWTH), title))]
    print("\n".join(texts))
    if asked.json:
        pathlib.Path(asked.json).write_text(json.dumps(context | {"measured": measured}, indent=1) + "\n",
                                            encoding="utf-8")
    if asked.markdown:
        head = "".join(f"- {key}: {value}\n" for key, value in context.items())
        write_markdown(pathlib.Path(asked.markdown), head + "\n" + "\n".join(texts))
    if asked.plot:
        pathlib.Path(asked.plot).mkdir(parents=True, exist_ok=True)
        for title, rows in measured.get("x86-64", {}).items():
            if not title.startswith(GROWTH):
                plot(asked.plot, title, rows)
    return 0


if __name__ == "__main__":
    sys.exit(main())
