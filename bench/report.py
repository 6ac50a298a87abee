#!/usr/bin/env python3
"""Runs the benchmarks and shows what they say: a table, JSON, a page, a picture.

usage: report.py [OPTION]... BIN [NAME...]

BIN is the directory of the programs; NAME a part of the names of those to run.

  --json FILE     also write the rows there
  --page FILE     also write the table into FILE, between its two marks
  --svg FILE      also draw the rows beside their limits
  --against BIN   run the programs of another build in turns with these, and fail when a row is
                  slower by more than 5 %
  --quick         a moment each
"""

import argparse
import datetime
import html
import json
import os
import platform
import re
import shlex
import statistics
import subprocess
import sys

# A row a program: its name, its arguments, those of a moment.
PROGRAMS = [
    ("bus_round_trip", [], ["--rounds", "200"]),
    ("whole_way_bench", [], ["--rounds", "200"]),
    ("udp_service_bench", [], ["--rounds", "200"]),
    ("start_bench", [], ["--rounds", "20"]),
    ("bus_growth_bench", [], ["--rounds", "200"]),
    ("micro_bench", ["--benchmark_min_time=0.05"], ["--benchmark_min_time=0.001"]),
    ("time_report_bench", [], ["--runs", "1"]),
]
MICRO = ["--benchmark_format=json", "--benchmark_repetitions=9",
         "--benchmark_enable_random_interleaving=true"]
ROW = re.compile(r"^(\S+) +(us|ns|KiB) +([0-9.]+) +([0-9.]+) +([0-9.]+) +(\S+) +[0-9.]+$")
MOST_LOSS = 1.05  # a row may be slower by that much than that of another revision
TURNS = 9         # of each build, in a comparison


def rows_of_contest(text):
    """The rows that a contest has printed."""
    for line in text.splitlines():
        if match := ROW.match(line):
            name, unit, low, median, p99, limit = match.groups()
            yield {"name": name, "unit": unit, "min": float(low), "median": float(median),
                   "p99": float(p99), "limit": limit}


def rows_of_micro(text):
    """The same of Google Benchmark's output: quantiles of the repetitions."""
    samples = {}
    for run in json.loads(text)["benchmarks"]:
        if run.get("run_type") == "iteration":
            samples.setdefault(run["name"].replace("/", "_"), []).append(run["cpu_time"])
    for name, times in samples.items():
        limit = name if not name.startswith("crc_") else "crc_bitwise_" + name.rsplit("_", 1)[1]
        yield {"name": name, "unit": "ns", "min": min(times), "median": statistics.median(times),
               "p99": max(times), "limit": limit}


def run_program(directory, name, arguments):
    """The rows of one run."""
    micro = name == "micro_bench"
    command = [os.path.join(directory, name)] + arguments + (MICRO if micro else [])
    done = subprocess.run(command, stdout=subprocess.PIPE, text=True, check=False)
    if done.returncode != 0:
        sys.exit(f"report.py: {name} ended with {done.returncode}")
    return list((rows_of_micro if micro else rows_of_contest)(done.stdout))


def wanted(args):
    """The programs to run, with their arguments."""
    for name, whole, moment in PROGRAMS:
        if args.names and not any(part in name for part in args.names):
            continue
        if os.path.exists(os.path.join(args.bin, name)):
            yield name, moment if args.quick else whole


def ratio_of(row, rows):
    """A row's median beside that of its limit; None for a row that is its own."""
    limit = next((other for other in rows if other["name"] == row["limit"]), None)
    return None if limit is None or limit is row else row["median"] / limit["median"]


def table(rows):
    """The lines of the table, in Markdown."""
    lines = ["| row | unit | min | median | p99 | limit | median ÷ limit | p99 ÷ median |",
             "|---|---|--:|--:|--:|---|--:|--:|"]
    for row in rows:
        ratio = ratio_of(row, rows)
        lines.append(
            f"| {row['name']} | {row['unit']} | {row['min']:.2f} | {row['median']:.2f} | "
            f"{row['p99']:.2f} | {row['limit'] if ratio else ''} | "
            f"{f'{ratio:.2f}' if ratio else ''} | {row['p99'] / row['median']:.2f} |")
    return lines


def processor():
    """The processor's name, as the system has it."""
    with open("/proc/cpuinfo", encoding="utf-8") as info:
        names = re.findall(r"^model name\s*: (.*)$", info.read(), re.MULTILINE)
    return names[0] if names else platform.machine()


def machine():
    """What the figures hold for."""
    return f"{processor()}, {os.cpu_count()} cores, Linux {platform.release()}"


def write_page(path, rows, quick):
    """Puts the table between the two marks of the page."""
    begin, end = "<!-- figures -->", "<!-- end of figures -->"
    with open(path, encoding="utf-8") as page:
        text = page.read()
    head, rest = text.split(begin, 1)
    tail = rest.split(end, 1)[1]
    command = "./dev bench --page" + (" --quick" if quick else "")
    today = datetime.date.today().isoformat()
    figures = [begin, "", f"`{command}` on {today}, on {machine()}:", "", *table(rows), "", end]
    with open(path, "w", encoding="utf-8") as page:
        page.write(head + "\n".join(figures) + tail)


def bar(top, row, ratio):
    """A row of the picture."""
    name = html.escape(row["name"])
    width = min(ratio, 4.0) * 150
    return (f'<text x="190" y="{top + 12}" text-anchor="end">{name}</text>'
            f'<rect x="200" y="{top}" width="{width:.0f}" height="15" class="bar"/>'
            f'<text x="{206 + width:.0f}" y="{top + 12}">{ratio:.2f} × {html.escape(row["limit"])}'
            f'</text>')


def write_svg(path, rows):
    """Draws each row as a bar beside its limit, which is the line at 1."""
    shown = [(row, ratio) for row in rows if (ratio := ratio_of(row, rows))]
    height = 40 + 20 * len(shown)
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="960" height="{height}" '
             f'viewBox="0 0 960 {height}" font-family="sans-serif" font-size="12">',
             '<style>svg{background:#fff}text{fill:#222}.bar{fill:#4a7fb5}'
             '.limit{stroke:#c33;stroke-dasharray:4 3}</style>',
             '<title>Medians beside their limits; shorter is better</title>',
             '<text x="350" y="18" text-anchor="middle">the limit</text>']
    parts += [bar(28 + 20 * number, row, ratio) for number, (row, ratio) in enumerate(shown)]
    parts += [f'<line class="limit" x1="350" y1="24" x2="350" y2="{height - 8}"/>', "</svg>"]
    with open(path, "w", encoding="utf-8") as picture:
        picture.write("\n".join(parts) + "\n")


def in_turns(args):
    """Runs both builds in turns. True when no row has lost more than it may."""
    kept = True
    for name, arguments in wanted(args):
        if not os.path.exists(os.path.join(args.against, name)):
            continue
        ours, theirs = {}, {}
        for _ in range(1 if args.quick else TURNS):
            for directory, figures in ((args.against, theirs), (args.bin, ours)):
                for row in run_program(directory, name, arguments):
                    figures.setdefault(row["name"], []).append(row["median"])
        for row in (row for row in ours if row in theirs):
            before, now = statistics.median(theirs[row]), statistics.median(ours[row])
            lost = now > before * MOST_LOSS
            kept = kept and not lost
            print(f"{row:<24} {before:10.3f} {now:10.3f} {now / before:6.3f}"
                  f"{'  LOSS' if lost else ''}", flush=True)
    return kept


def main():
    """Does what the arguments say."""
    parser = argparse.ArgumentParser(add_help=False)
    parser.add_argument("--json")
    parser.add_argument("--page")
    parser.add_argument("--svg")
    parser.add_argument("--against")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--help", action="store_true")
    parser.add_argument("bin", nargs="?")
    parser.add_argument("names", nargs="*")
    args = parser.parse_args()
    if args.help or args.bin is None:
        print(__doc__.strip())
        sys.exit(0 if args.help else 2)
    if args.names and not any(True for _ in wanted(args)):
        sys.exit("report.py: no benchmark has such a name: " + " ".join(args.names))
    if args.against:
        print(f"{'':<24} {'before':>10} {'now':>10} {'ratio':>6}")
        sys.exit(0 if in_turns(args) else 1)
    rows = []
    for name, arguments in wanted(args):
        own = run_program(args.bin, name, arguments)
        print(f"== {name}", *table(own), "", sep="\n", flush=True)
        rows += own
    if args.json:
        with open(args.json, "w", encoding="utf-8") as out:
            json.dump({"machine": machine(), "date": datetime.datetime.now().isoformat("T", "seconds"),
                       "command": shlex.join(sys.argv), "rows": rows}, out, indent=1)
            out.write("\n")
    if args.page:
        write_page(args.page, rows, args.quick)
    if args.svg:
        write_svg(args.svg, rows)


if __name__ == "__main__":
    main()
