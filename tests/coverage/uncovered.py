#!/usr/bin/env python3
"""The lines of the product that no test has executed.

usage: uncovered.py BUILD_DIRECTORY EXPLAINED

Prints those that EXPLAINED does not name, and the entries of EXPLAINED whose lines were executed or are
gone; exits with 1 when there is one of either. An entry is a file, the text of a line in it, and why no
test can execute it, with " | " between them; empty lines and those that begin with # are none.
"""
import json
import pathlib
import subprocess
import sys
from collections import defaultdict

ROOT = pathlib.Path(__file__).resolve().parents[2]
# What stands there alone runs only when an exception passes, or behind what never ends.
BRACES = ("}", "};")
COUNTED = ("camera_repeater/velmar_udp", "service", "client")


def counts_of(build):
    """{file: {line: how often it was executed}}, of all objects; lines of templates and headers count
    where they were executed in one of them."""
    counts = defaultdict(lambda: defaultdict(int))
    for part in COUNTED:
        for notes in sorted((build / part).rglob("*.gcno")):
            text = subprocess.run(["gcov", "--json-format", "--stdout", notes.name], cwd=notes.parent,
                                  stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout
            for report in map(json.loads, filter(None, text.splitlines())):
                base = pathlib.Path(report["current_working_directory"])
                for file in report["files"]:
                    path = (base / file["file"]).resolve()
                    if path.is_relative_to(ROOT) and str(path.relative_to(ROOT)).startswith(COUNTED):
                        for line in file["lines"]:
                            counts[str(path.relative_to(ROOT))][line["line_number"]] += line["count"]
    return counts


def explained_by(path):
    """{(file, text of the line)}"""
    entries = set()
    for line in path.read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            file, text, why = line.split(" | ")
            assert why, line
            entries.add((file, text))
    return entries


def main():
    build, explanations = map(pathlib.Path, sys.argv[1:])
    counts = counts_of(build.resolve())
    explained = explained_by(explanations)
    used = set()
    lines = open_lines = 0
    for file in sorted(counts):
        source = (ROOT / file).read_text(encoding="utf-8").splitlines()
        for number, count in sorted(counts[file].items()):
            lines += 1
            entry = (file, source[number - 1].strip())
            if count == 0 and entry[1] in BRACES:
                continue
            if count == 0 and entry in explained:
                used.add(entry)
            elif count == 0:
                open_lines += 1
                print(f"{file}:{number}: {entry[1]}")
    for file, text in sorted(explained - used):
        print(f"{file}: explained, but executed or gone: {text}")
    print(f"{lines} lines: {open_lines} not executed, {len(used)} explained")
    sys.exit(open_lines > 0 or explained != used)


if __name__ == "__main__":
    main()
