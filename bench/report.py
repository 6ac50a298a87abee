#!/usr/bin/env python3
"""Runs the benchmarks and shows what they say: a table, JSON, a page, a picture.

usage: report.py [OPTION]... BIN [NAME...]

BIN is the directory of the programs; NAME a part of the names of those to run.

  --json FILE     also write the rows there
  --page FILE     also write the table into FILE, between its two marks
  --svg FILE      also draw the rows beside their limits
  --against BIN   run the programs of another build in turns with these, and fail when a row of
                  ours is slower by more than 5 %
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

# A row a program: its name, and its arguments for a measurement, a turn of a comparison, and a moment;
# a comparison leaves the peers out.
PROGRAMS = [
    ("bus_round_trip", [], ["--rounds", "4000"], ["--rounds", "200"]),
    ("peer_bench", [], None, ["--rounds", "200"]),
    ("whole_way_bench", [], ["--rounds", "5000"], ["--rounds", "200"]),
    ("udp_service_bench", [], ["--rounds", "5000"], ["--rounds", "200"]),
    ("broker_bench", [], ["--rounds", "4000"], ["--rounds", "200"]),
    ("start_bench", [], ["--rounds", "60"], ["--rounds", "20"]),
    ("vlmctl_bench", [], ["--rounds", "40"], ["--rounds", "20"]),
    ("bus_growth_bench", [], ["--rounds", "1500"], ["--rounds", "200"]),
    ("micro_bench", ["--benchmark_min_time=0.05"], ["--benchmark_min_time=0.005"],
     ["--benchmark_min_time=0.001"]),
    ("time_report_bench", [], ["--runs", "1"], ["--runs", "1"]),
    ("bus_capture_bench", [], ["--rounds", "20000"], ["--rounds", "4000"]),
]
MICRO = ["--benchmark_format=json", "--benchmark_repetitions=9",
         "--benchmark_enable_random_interleaving=true"]
ROW = re.compile(r"^(\S+) +(us|ns|KiB) +([0-9.]+) +([0-9.]+) +([0-9.]+) +(\S+) +[0-9.]+$")
MOST_LOSS = 1.05  # a row may be slower by that much than that of another revision
TURNS = 9         # of each build, in a comparison
BAR = 120         # length of a limit's bar in the picture

PEERS = ["cyclone_dds", "cyclone_dds_waitset", "mqtt", "sd_bus", "zeromq"]
# Rows that have nothing of ours in them.
FOREIGN = re.compile("|".join(PEERS) + "|.*bare|chain|echo_.*|.*_trivial|copied|time_read_.*|"
                     "crc_(bitwise|slicing).*|.*_(ready|flags|calls)(_[0-9]+)?")
# What rows of the one process are beside.
MICRO_LIMITS = {"crc": "crc_bitwise", "hex_dump": "hex_dump_ready", "service_line":
                "service_line_ready", "trace_log": "trace_log_calls", "trace_log_off":
                "trace_log_flags"}

# What is aimed at: the text, the figure and what it is divided by, goal and ambition. More is better
# where the ambition is more than the goal.
GOALS = [
    ("request, to /dev/null ÷ `bare`", "request_null", "bare", 1.35, 1.25),
    ("request, to a regular file ÷ `bare`", "request_file", "bare", 1.45, 1.35),
    ("request ÷ best peer", "peers_request", "best peer", 0.47, 0.42),
    ("request ÷ Cyclone DDS by wait sets", "peers_request", "cyclone_dds_waitset", 0.47, 0.42),
    ("app to camera and back ÷ `chain`", "way", "chain", 1.20, 1.10),
    ("`echo` ÷ service, 1 under way, 10 bytes", "echo_1_10", "service_1_10", 0.85, 0.95),
    ("`echo` ÷ service, 1 under way, 264 bytes", "echo_1_264", "service_1_264", 0.85, 0.95),
    ("`echo` ÷ service, 32 under way, 10 bytes", "echo_32_10", "service_32_10", 0.80, 0.90),
    ("`echo` ÷ service, 32 under way, 264 bytes", "echo_32_264", "service_32_264", 0.80, 0.90),
    ("p99 ÷ median of a request", "request_null p99", "request_null", 1.25, 1.15),
    ("start ÷ trivial program", "start_linked", "start_trivial", 1.0, 0.8),
    ("memory ÷ trivial program", "memory_linked", "memory_trivial", 1.0, 0.7),
]
# Likewise what a figure is more than others together, in its own unit.
ADDITIONS = [
    ("us that the bridge adds: `broker_bridge` − `broker_camera`", "broker_bridge",
     ["broker_camera"], 15, 10),
    ("us that it adds beside the bus: the same − `broker_bus`", "broker_bridge",
     ["broker_camera", "broker_bus"], 15, 5),
    ("us of `vlmctl get`, from start to end", "vlmctl_get", [], 10000, 5000),
    ("us of `vlmctl get --all`, from start to end", "vlmctl_get_all", [], 500000, 50000),
]


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
    for name, times in sorted(samples.items()):
        stem, size = re.fullmatch(r"(.*?)(?:_([0-9]+))?", name).groups()
        beside = MICRO_LIMITS.get("crc" if stem.startswith("crc_") else stem, stem)
        limit = f"{beside}_{size}" if size else beside
        yield {"name": name, "unit": "ns", "min": min(times), "median": statistics.median(times),
               "p99": max(times), "limit": limit}


def run_program(directory, name, arguments):
    """The rows of one run."""
    micro = name == "micro_bench"
    command = [os.path.join(directory, name)] + arguments + (MICRO if micro else [])
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        sys.exit(f"{done.stderr}report.py: {name} ended with {done.returncode}")
    return list((rows_of_micro if micro else rows_of_contest)(done.stdout))


def wanted(args):
    """The programs to run, with their arguments."""
    for name, whole, turn, moment in PROGRAMS:
        arguments = moment if args.quick else turn if args.against else whole
        if args.names and not any(part in name for part in args.names):
            continue
        if os.path.exists(os.path.join(args.bin, name)) and not (args.against and turn is None):
            yield name, arguments


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


def goals_table(rows):
    """The goals whose rows are there, beside what they came to."""
    figures = {row["name"]: row["median"] for row in rows}
    figures.update({row["name"] + " p99": row["p99"] for row in rows})
    figures["best peer"] = min((figures[peer] for peer in PEERS if peer in figures), default=0)
    now = [(text, figures[over] / figures[under], goal, ambition)
           for text, over, under, goal, ambition in GOALS
           if figures.get(over) and figures.get(under)]
    now += [(text, figures[whole] - sum(figures[part] for part in parts), goal, ambition)
            for text, whole, parts, goal, ambition in ADDITIONS
            if all(name in figures for name in [whole, *parts])]
    lines = ["| | now | goal | ambition | |", "|---|--:|--:|--:|---|"]
    for text, figure, goal, ambition in now:
        sign = -1 if ambition > goal else 1
        verdict = next((word for most, word in ((ambition, "ambition"), (goal, "goal"))
                        if sign * round(figure, 2) <= sign * most), "missed")
        lines.append(f"| {text} | {figure:.2f} | {goal:.2f} | {ambition:.2f} | {verdict} |")
    return lines if now else []


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
    figures = [begin, "", f"`{command}` on {today}, on {machine()}:", "", *goals_table(rows), "",
               *table(rows), "", end]
    with open(path, "w", encoding="utf-8") as page:
        page.write(head + "\n".join(figures) + tail)


def kind_of(row):
    """Whose the bar of a row is."""
    return "peer" if row["name"] in PEERS else "bare" if FOREIGN.fullmatch(row["name"]) else "ours"


def bar(top, row, ratio):
    """A row of the picture."""
    name = html.escape(row["name"])
    width = min(ratio, 5.0) * BAR
    figure = f"{row['median']:.4g} {row['unit']}"
    text = f"{figure}, {ratio:.2f} × {row['limit']}" if ratio != 1 else f"{figure}, the limit"
    return (f'<text x="190" y="{top + 12}" text-anchor="end">{name}</text>'
            f'<rect x="200" y="{top}" width="{width:.0f}" height="15" class="{kind_of(row)}"/>'
            f'<text x="{206 + width:.0f}" y="{top + 12}">{html.escape(text)}</text>')


def write_svg(path, rows):
    """Draws each row as a bar beside that of its limit, whose length is 1."""
    names = {row["name"] for row in rows}
    limits = {row["limit"] for row in rows if row["limit"] != row["name"]}
    shown = [(row, ratio_of(row, rows) or 1) for row in rows
             if row["limit"] in names and (row["limit"] != row["name"] or row["name"] in limits)]
    height = 60 + 20 * len(shown)
    legend = (("bare", "limits"), ("ours", "ours"), ("peer", "other message systems"))
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="1060" height="{height}" '
             f'viewBox="0 0 1060 {height}" font-family="sans-serif" font-size="12">',
             '<style>svg{background:#fff}text{fill:#222}.ours{fill:#4a7fb5}.bare{fill:#bbb}'
             '.peer{fill:#d9893b}.limit{stroke:#c33;stroke-dasharray:4 3}</style>',
             '<title>Medians beside their limits; shorter is better</title>']
    for number, (kind, text) in enumerate(legend):
        left = 200 + 100 * number
        parts.append(f'<rect x="{left}" y="8" width="15" height="15" class="{kind}"/>'
                     f'<text x="{left + 21}" y="20">{text}</text>')
    parts += [bar(48 + 20 * number, row, ratio) for number, (row, ratio) in enumerate(shown)]
    parts += [f'<line class="limit" x1="{200 + BAR}" y1="40" x2="{200 + BAR}" y2="{height - 8}"/>', "</svg>"]
    with open(path, "w", encoding="utf-8") as picture:
        picture.write("\n".join(parts) + "\n")


def run_pairs(args, name, arguments, pairs):
    """Runs both builds of a program once and adds each row's medians, theirs and ours, to `pairs`."""
    figures = [{row["name"]: row["median"] for row in run_program(directory, name, arguments)}
               for directory in (args.against, args.bin)]
    for row in figures[1]:
        if row in figures[0] and not FOREIGN.fullmatch(row):
            pairs.setdefault(row, []).append((figures[0][row], figures[1][row]))


def lost(pairs):
    """True when half of the pairs say that a row has lost more than it may."""
    return statistics.median(now / before for before, now in pairs) > MOST_LOSS


def in_turns(args):
    """Runs both builds in turns. True when no row has lost more than it may."""
    kept = True
    for name, arguments in wanted(args):
        if not os.path.exists(os.path.join(args.against, name)):
            continue
        pairs = {}
        # A row that seems to have lost is looked at again, as often as before.
        for _ in range(2):
            for _ in range(1 if args.quick else TURNS):
                run_pairs(args, name, arguments, pairs)
            if not any(lost(row) for row in pairs.values()):
                break
        for row, figures in pairs.items():
            before, now = (statistics.median(side) for side in zip(*figures))
            ratio = statistics.median(ours / theirs for theirs, ours in figures)
            print(f"{row:<24} {before:10.3f} {now:10.3f} {ratio:6.3f}"
                  f"{'  LOSS' if lost(figures) else ''}", flush=True)
            kept = kept and not lost(figures)
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
    print(*goals_table(rows), sep="\n")
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
