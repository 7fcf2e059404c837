#!/usr/bin/env python3
"""Runs the measuring programs and reports what they say: first the goals, met or missed.

    report.py --google PROGRAM... --plain PROGRAM... [--json FILE] [--markdown FILE]
              [--plot FOLDER] [--filter REGEX]

Programs after --google measure x86-64, with the peers; as many after --plain, in the same order,
measure i386. Measures the tables whose titles match REGEX, one after the other and in rounds. A
round measures all rows of one table, and an empty call; most take a tenth of a second. It is
repeated when that call took over a tenth longer than in the quickest round of its program, until
there are enough quiet ones or the time for it is over: so quiet seconds are used even where others
share the processor. Figures are medians over the rounds, in nanoseconds. A table whose rows have
sizes is reported as growth: time by size, and the exponent of the power law that fits best.
--markdown replaces what follows the mark in FILE, or writes a new one. --plot draws charts.
"""

import argparse
import datetime
import html
import json
import math
import pathlib
import platform
import re
import statistics
import subprocess
import sys
import time

# Quiet rounds that are wanted of each table, and the seconds after which no further one begins.
ROUNDS, GROWTH_ROUNDS, SECONDS = 15, 3, 240
DISTURBED = 1.10  # times the quickest empty call

X86_64, I386 = "x86-64", "i386"
GROWTH = "Growth: "
REFERENCE = "An empty call"  # its table, and the row of that name in others
CALL = ["an empty call"]
LINE = ["write + fstat + getpid"]
COPY = ["write a copy, rename"]
# The goals: how many times the most expensive floor, on x86-64 and on i386. Ours are the rows of
# the exported functions.
GOALS = [
    ("UUID: compare", 1.9, 2, CALL),
    ("UUID: hash", 1.4, 1.4, CALL),
    ("Date number from fields", 1.7, 2.2, CALL),
    ("UUID: encode", 2, 2, ["copy of 37 bytes", "an empty call"]),
    ("UUID: decode", 4, 4, CALL),
    ("Date number to text", 2, 3, CALL),
    ("Text to date number", 3.6, 6, CALL),
    ("UUID: generate", 1.25, 1.25, ["gettimeofday"]),
    ("Traced line, TZ set", 1.25, 1.25, LINE),
    ("Traced line, TZ not set", 1.25, 1.25, LINE),
    ("Profile: a key near the end of 10,000", 1.1, 1.3, ["read, one memmem"]),
    ("Profile: a key of 20 lines", 1.15, 1.15, ["open, read, close"]),
    ("Profile: rewrite one key of 20 lines", 0.7, 0.7, COPY),
    ("Profile: rewrite one key of 10,000", 0.8, 0.8, COPY),
    ("Token out of a line", 1.2, 1.2, ["strchr, strnlen, memchr and a copy"]),
    ("Symbol lookup", 1.1, 1.1, ["dlsym"]),
    ("Untraced service: memory", 1.03, 1.03, ["sysinfo"]),
    ("Processor count", 1.1, 1.1, ["get_nprocs_conf, cpuid twice"]),
    ("Load of the library", 1.2, 1.2, ["a library with our imports alone"]),
]
# Rows of orla.hpp, which calls nothing, and their goals against the best inline peer.
HEADER = "orla.hpp"
HEADER_GOALS = [
    ("UUID: compare", "orla.hpp: <, inline", 1.1, "Boost.UUID, inline"),
    ("UUID: hash", "orla.hpp: 101 buckets, inline", 1.1, "Abseil, 101 buckets, inline"),
    ("UUID: hash", "orla.hpp: std::hash, inline", 1.1, "Abseil, inline"),
    ("Date number from fields", "orla.hpp, inline", 1.1, "std::chrono with ok(), inline"),
]
# Each file with a chart: its title and its tables.
CHARTS = {
    "uuid": ("UUIDs", ["UUID: generate", "UUID: encode", "UUID: decode", "UUID: compare", "UUID: hash"]),
    "text": ("Dates and tokens", ["Date number to text", "Text to date number", "Date number from fields",
                                  "Token out of a line"]),
    "profile": ("Profiles", ["Profile: a key of 20 lines", "Profile: a key near the end of 10,000",
                             "Profile: rewrite one key of 20 lines", "Profile: rewrite one key of 10,000"]),
    "trace": ("Trace", ["Traced line, TZ set", "Traced line, TZ not set", "Untraced service: memory"]),
    "system": ("Libraries and processors", ["Symbol lookup", "Load of the library", "Processor count"]),
}
ROLES = ["floor", "ours", "peer"]
COLOURS = {"floor": "#999", "ours": "#17b", "peer": "#e94"}
MARK = "<!-- What follows was written by scripts/bench --markdown. -->\n"


# ---- Measuring -----------------------------------------------------------------------------------


def titles_of(program):
    """Titles of the tables of a program that measures by Google Benchmark."""
    answer = subprocess.run([program, "--benchmark_list_tests=true"], stdout=subprocess.PIPE, check=True, text=True)
    return list(dict.fromkeys(line.partition("|")[0] for line in answer.stdout.splitlines()))


def any_of(titles):
    """An expression, in the simplest syntax, for what begins with one of the titles."""
    return "^(" + "|".join(re.sub("[^A-Za-z0-9 :,]", ".", title) for title in titles) + ")"


def google_rows(program, titles):
    """Rows of a program that measures by Google Benchmark: medians of twelve repetitions."""
    command = [program, "--benchmark_repetitions=12", "--benchmark_min_time=0.0005",
               "--benchmark_enable_random_interleaving=true", "--benchmark_format=json",
               f"--benchmark_filter={any_of(titles)}[|]"]
    answer = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True)
    rows = []
    for run in json.loads(answer.stdout)["benchmarks"]:
        if run.get("aggregate_name") == "median":
            table, role, name, size = run["run_name"].split("|")
            rows.append({"table": table, "role": role, "name": name, "size": int(size),
                         "nanoseconds": run["real_time"]})
    return rows


def plain_rows(program, titles):
    """Rows of a program that measures by itself."""
    answer = subprocess.run([program, any_of(titles) + "$"], stdout=subprocess.PIPE, check=True)
    return json.loads(answer.stdout)


class Subject:
    """A table as one program measures it."""

    def __init__(self, architecture, title, program, rows_of):
        self.architecture = architecture
        self.title = title
        self.wanted = GROWTH_ROUNDS if title.startswith(GROWTH) else ROUNDS
        self.program = program
        self.rows_of = rows_of
        self.rounds = []  # of each, the empty call and the rows

    def run(self):
        rows = self.rows_of(self.program, [self.title, REFERENCE])
        call = next(row["nanoseconds"] for row in rows if row["table"] == REFERENCE)
        of_table = [row for row in rows if row["table"] == self.title]
        self.rounds.append((call, sorted(of_table, key=lambda row: (row["name"], row["size"]))))

    def is_done(self, least):
        return sum(call <= DISTURBED * least for call, _ in self.rounds) >= self.wanted

    def kept(self):
        """The rounds that count: those with the quickest empty calls."""
        return sorted(self.rounds, key=lambda each: each[0])[:self.wanted]

    def rows(self):
        """Role, name, size, times of the rounds and their median of each row."""
        for of_row in zip(*(rows for _, rows in self.kept()), strict=True):
            times = [row["nanoseconds"] for row in of_row]
            about = {name: of_row[0][name] for name in ("role", "name", "size")}
            yield about | {"times": times, "nanoseconds": statistics.median(times)}


def subjects(asked):
    """What the programs have of the tables that are asked for."""
    for google, plain in zip(asked.google, asked.plain):
        for title in titles_of(google):
            if title != REFERENCE and re.search(asked.filter, title):
                yield Subject(X86_64, title, google, google_rows)
                yield Subject(I386, title, plain, plain_rows)


def quickest_calls(every):
    """Program to its quickest empty call."""
    least = {}
    for each in every:
        for call, _ in each.rounds:
            least[each.program] = min(call, least.get(each.program, call))
    return least


def measure(every):
    """Measures each until it has enough quiet rounds, or the time is over; in words how quiet it was."""
    end = time.monotonic() + SECONDS
    waiting = every
    while waiting:
        for each in waiting:
            if len(each.rounds) < 2 or time.monotonic() < end:
                each.run()
        least = quickest_calls(every)
        waiting = [each for each in every if not each.is_done(least[each.program])]
        print(f"\r{len(every) - len(waiting)} of {len(every)} tables measured ", end="", file=sys.stderr, flush=True)
        if time.monotonic() >= end and all(len(each.rounds) >= 2 for each in every):
            break
    print(file=sys.stderr)
    return quietness(every, waiting, least)


def quietness(every, disturbed, least):
    if not disturbed:
        repeated = sum(len(each.rounds) - each.wanted for each in every)
        return f"{ROUNDS} quiet ones of each table, {GROWTH_ROUNDS} of growth; {repeated} were disturbed, and repeated"
    slow = max(each.kept()[-1][0] / least[each.program] for each in disturbed)
    return (f"the machine was not quiet for long enough: {len(every) - len(disturbed)} of {len(every)} tables, those "
            "of both architectures counted, have enough quiet ones; of the others those with the quickest empty calls "
            f"count, which took up to {slow:.2f} times the least")


def by_table(every):
    """Architecture, then title, to rows."""
    tables = {}
    for each in every:
        rows = list(each.rows())
        if rows:
            tables.setdefault(each.architecture, {})[each.title] = rows
    for architecture, of_architecture in tables.items():
        times = [call for each in every if each.architecture == architecture for call, _ in each.kept()]
        of_architecture[REFERENCE] = [{"role": "floor", "name": CALL[0], "size": 0, "times": times,
                                       "nanoseconds": statistics.median(times)}]
    return tables


def processor():
    for line in pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.processor() or "unknown"


def compiler():
    answer = subprocess.run(["c++", "--version"], capture_output=True, text=True, check=True)
    return answer.stdout.splitlines()[0]


# ---- Goals ---------------------------------------------------------------------------------------


def slowest(rows):
    return max(rows, key=lambda row: row["nanoseconds"], default=None)


def goal_lines():
    """Label, table, test for our rows, limit by architecture, and names of the floors."""
    for title, limit, limit_i386, floors in GOALS:
        yield (title, title, lambda row: row["role"] == "ours" and not row["name"].startswith(HEADER),
               {X86_64: limit, I386: limit_i386}, floors)
    for title, name, limit, peer in HEADER_GOALS:
        yield (f"{title}, {name}", title, lambda row, name=name: row["name"] == name,
               {X86_64: limit, I386: limit}, [peer])


def verdict(rows, is_ours, limit, floors):
    """The median of the rounds' ratios, those that half of the rounds lie between, and "met" or not.

    Empty where a row is missing.
    """
    ours = slowest(row for row in rows if is_ours(row))
    floor = slowest(row for row in rows if row["name"] in floors)
    if ours is None or floor is None:
        return ""
    each = [a / b for a, b in zip(ours["times"], floor["times"])]
    low, ratio, high = statistics.quantiles(each, n=4, method="inclusive")
    return f"{ratio:.2f} ({low:.2f}–{high:.2f}) " + ("met" if ratio <= limit else "**missed**")


def goals_table(measured):
    lines, cells = [], {architecture: [] for architecture in measured}
    for label, title, is_ours, limits, floors in goal_lines():
        for architecture, tables in measured.items():
            cells[architecture].append(verdict(tables.get(title, []), is_ours, limits[architecture], floors))
        line = [cells[architecture][-1] for architecture in measured]
        limit = " / ".join(f"{value}x" for value in dict.fromkeys(limits[a] for a in measured))
        if any(line):
            lines.append(f"| {label} | {limit} {' or '.join(floors)} | " + " | ".join(line) + " |")
    counts = [f"{architecture} meets {sum(cell.endswith(' met') for cell in results)} of {sum(map(bool, results))}"
              for architecture, results in cells.items()]
    head = ["### Goals", "", "; ".join(counts) + ".", "", "| | at most | " + " | ".join(measured) + " |",
            "|---|---|" + "---|" * len(measured)]
    return "\n".join(head + lines) + "\n" if lines else ""


# ---- All figures ---------------------------------------------------------------------------------


def nanoseconds(value):
    return f"{value:,.1f}" if value < 1000 else f"{value:,.0f}"


def ordered(rows):
    return sorted(rows, key=lambda row: (ROLES.index(row["role"]), row["size"], row["nanoseconds"]))


def lines_of(measured, title, label):
    """A line for each row that any architecture has, in the order of the first."""
    found = {}
    for architecture, tables in measured.items():
        for row in ordered(tables.get(title, [])):
            found.setdefault((row["name"], row["size"]), {"any": row})[architecture] = nanoseconds(row["nanoseconds"])
    ranked = sorted(found.values(), key=lambda cells: ROLES.index(cells["any"]["role"]))
    return [f"| {label(cells['any'])} | " + " | ".join(cells.get(a, "") for a in measured) + " |" for cells in ranked]


def row_label(row):
    return {"ours": f"**{row['name']}**", "floor": f"floor: {row['name']}"}.get(row["role"], row["name"])


def table_head(measured):
    return ["| | " + " | ".join(f"{a}, ns" for a in measured) + " |", "|---|" + "---:|" * len(measured)]


def figures_table(measured, titles):
    lines = ["### All figures", ""] + table_head(measured)
    for title in titles:
        lines.append(f"| *{title}* |" + " |" * len(measured))
        lines += lines_of(measured, title, row_label)
    return "\n".join(lines) + "\n" if titles else ""


def exponent(rows):
    """Slope of the straight line through log(size), log(time)."""
    points = [(math.log(row["size"]), math.log(row["nanoseconds"])) for row in rows]
    mean_x = statistics.mean(x for x, _ in points)
    mean_y = statistics.mean(y for _, y in points)
    spread = sum((x - mean_x) ** 2 for x, _ in points)
    return sum((x - mean_x) * (y - mean_y) for x, y in points) / spread


def growth_table(measured, title):
    lines = [f"### {title}", ""] + table_head(measured)
    lines += lines_of(measured, title, lambda row: f"{row['size']:,}")
    for label, pick in ("exponent", lambda rows: rows), ("exponent between the two largest", lambda rows: rows[-2:]):
        slopes = [exponent(pick(ordered(tables[title]))) for tables in measured.values()]
        lines.append(f"| {label} | " + " | ".join(f"{slope:.2f}" for slope in slopes) + " |")
    return "\n".join(lines) + "\n"


# ---- Charts --------------------------------------------------------------------------------------


def chart(title, tables, titles):
    """An SVG of horizontal bars, grouped by table, on a logarithmic scale."""
    times = [row["nanoseconds"] for name in titles for row in tables[name]]
    low, high = math.log(min(times) / 2), math.log(max(times))
    parts, y = [], 44

    def text(x, content, more=""):
        parts.append(f'<text x="{x}" y="{y}"{more}>{html.escape(content)}</text>')

    for name in titles:
        y += 10
        text(8, name, ' font-weight="bold"')
        for row in ordered(tables[name]):
            y += 17
            width = round(400 * (math.log(row["nanoseconds"]) - low) / (high - low))
            text(282, row["name"], ' text-anchor="end"')
            parts.append(f'<path fill="{COLOURS[row["role"]]}" d="M288 {y - 10}h{width}v12h-{width}z"/>')
            text(292 + width, nanoseconds(row["nanoseconds"]))
        y += 20
    legend = " ".join(f'<tspan fill="{colour}">■</tspan> {role}' for role, colour in COLOURS.items())
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="760" height="{y}" font-family="sans-serif" font-size="12">'
            f'<path fill="#fff" d="M0 0h760v{y}H0z"/>\n<text x="8" y="22" font-size="15">{title}: nanoseconds a call, '
            f'x86-64, logarithmic. {legend}</text>\n' + "\n".join(parts) + "\n</svg>\n")


def plot(folder, tables):
    """Draws the charts whose tables were all measured."""
    folder.mkdir(parents=True, exist_ok=True)
    for file, (title, titles) in CHARTS.items():
        if all(name in tables for name in titles):
            (folder / f"{file}.svg").write_text(chart(title, tables, titles), encoding="utf-8")


# ---- The program ---------------------------------------------------------------------------------


def write_markdown(path, text):
    before = path.read_text(encoding="utf-8").partition(MARK)[0] if path.exists() else ""
    path.write_text(before + MARK + "\n" + text, encoding="utf-8")


def arguments():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--google", nargs="*", default=[])
    parser.add_argument("--plain", nargs="*", default=[])
    parser.add_argument("--json", type=pathlib.Path)
    parser.add_argument("--markdown", type=pathlib.Path)
    parser.add_argument("--plot", type=pathlib.Path)
    parser.add_argument("--filter", default=".")
    asked = parser.parse_args()
    if len(asked.google) != len(asked.plain):
        parser.error("as many programs after --plain as after --google")
    return asked


def report_text(context, measured):
    titles = sorted({title for tables in measured.values() for title in tables} - {REFERENCE})
    growth = [title for title in titles if title.startswith(GROWTH)]
    tables = [title for title in titles if title not in growth]
    parts = [goals_table(measured), figures_table(measured, [REFERENCE] + tables)]
    parts += [growth_table(measured, title) for title in growth]
    return "".join(f"- {key}: {value}\n" for key, value in context.items()) + "\n" + "\n".join(filter(None, parts))


def write_files(asked, context, measured, text):
    if asked.json:
        asked.json.write_text(json.dumps(context | {"measured": measured}, indent=1) + "\n", encoding="utf-8")
    if asked.markdown:
        write_markdown(asked.markdown, text)
    if asked.plot:
        plot(asked.plot, measured[X86_64])


def main():
    asked = arguments()
    every = list(subjects(asked))
    if not every:
        raise SystemExit(f"no table matches {asked.filter}")
    context = {"date": datetime.date.today().isoformat(), "processor": processor(), "compiler": compiler(),
               "rounds": measure(every)}
    measured = by_table(every)
    text = report_text(context, measured)
    print(text)
    write_files(asked, context, measured, text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
