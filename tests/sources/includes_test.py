#!/usr/bin/env python3
"""Holds the includes of every source against the rows of the house.

A file includes from its own row and from the rows that its row stands on, and from nothing else.
Standard headers are free, but the product's folder takes only those of the C++ library and of POSIX.
"""
import re
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PRODUCT = "camera_repeater/velmar_udp"

# Row: its files, and the rows that it stands on. The first pattern that fits a file decides.
ROWS = {
    "support": (rf"{PRODUCT}/(time_helper|velmar_log|velmar_mutex|velmar_output|velmar_table)\.(h|cpp)", []),
    "protocol": (rf"{PRODUCT}/(vlm_userlcm_control_camera|vlm_camera_codes|vlm_camera_payloads"
                 r"|vlm_udp_camctrl_defines|velmar_cmd|velmar_err"
                 r"|velmar_udp_master_k720_crc|velmar_udp_master_k720_print)\.(h|cpp)",
                 ["support"]),
    "engine": (rf"{PRODUCT}/(velmar_flag_cond|lcm_request|lcm_request_data|lcm_request_rtsp)\.(h|cpp)",
               ["protocol"]),
    "operations": (rf"{PRODUCT}/(lcm_request_\w+|velmar_log_time|time_helper_clock)\.(h|cpp)",
                   ["engine"]),
    "listener": (rf"{PRODUCT}/vlm_test_listener\.(h|cpp)", ["engine"]),
    "udp service": (rf"{PRODUCT}/velmar_udp_master_k720\w*\.(h|cpp)", ["operations"]),
    "console": (rf"{PRODUCT}/vlm_test\w*\.(h|cpp)", ["operations", "listener"]),
    "host": (r"host/.*", ["protocol"]),
    "bus": (r"bus/.*", ["protocol", "host"]),
    "catalogue": (r"catalogue/.*", ["protocol"]),
    "client": (r"client/.*", ["catalogue", "bus"]),
    "fleet": (r"fleet/.*", ["client"]),
    "simulator": (r"camera_sim/.*", ["fleet"]),
    "service host": (r"service/.*", ["udp service", "listener", "bus"]),
    "tools": (r"tools/.*", ["client", "support"]),
    "packaging": (r"packaging/.*", ["console"]),
}

# What the product may take from outside its folder.
STANDARD = set("""
    algorithm array atomic cerrno chrono climits condition_variable csignal cstdarg cstddef cstdint
    cstdio cstdlib cstring ctime functional initializer_list iterator limits memory mutex new optional
    string string_view system_error thread tuple type_traits utility variant vector
    dirent.h fcntl.h netinet/in.h poll.h pthread.h sys/socket.h sys/stat.h sys/time.h sys/types.h
    sys/wait.h time.h unistd.h""".split())

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)


def row_of(path):
    for row, (pattern, _) in ROWS.items():
        if re.fullmatch(pattern, path):
            return row
    return None


def stands_on(row):
    """The row and all below it."""
    rows = {row}
    for lower in ROWS[row][1]:
        rows |= stands_on(lower)
    return rows


def sources():
    """All sources of the programs, by their paths in the repository."""
    folders = [PRODUCT, "host", "bus", "catalogue", "fleet", "client", "camera_sim", "service", "tools",
               "packaging"]
    return {str(path.relative_to(ROOT)): path.read_text()
            for folder in folders for path in (ROOT / folder).rglob("*")
            if path.suffix in (".h", ".cpp")}


def places_of(name, includer, known):
    """The files that an include may mean: the one beside the includer, else any of that name."""
    beside = str(Path(includer).parent / name)
    if beside in known:
        return [beside]
    return [path for path in known if path == name or path.endswith("/" + name)]


def faults(known):
    """A line for each include that its file's row does not allow."""
    found = []
    for path, text in sorted(known.items()):
        row = row_of(path)
        if row is None:
            found.append(f"{path}: no row of the house has this file")
            continue
        for kind, name in INCLUDE.findall(text):
            if kind == "<":
                if path.startswith(PRODUCT) and name not in STANDARD:
                    found.append(f"{path}: <{name}> is neither C++ nor POSIX")
                continue
            places = places_of(name, path, known)
            if len(places) != 1:
                found.append(f"{path}: \"{name}\" is {len(places)} files of the programs")
            elif row_of(places[0]) not in stands_on(row):
                found.append(f"{path} ({row}) includes {places[0]} ({row_of(places[0])})")
    return found


class Includes(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.known = sources()

    def test_point_one_way(self):
        self.assertEqual(faults(self.known), [])

    def test_that_point_up_or_out_are_found(self):
        for name, line, fault in [
                ("lcm_request.cpp", '#include "lcm_request_pattern.h"', "(engine) includes"),
                ("vlm_test_udp.cpp", '#include "velmar_udp_master_k720.h"', "(console) includes"),
                ("velmar_log.cpp", "#include <gtest/gtest.h>", "neither C++ nor POSIX"),
                ("velmar_err.cpp", '#include "catalogue.h"', "(protocol) includes"),
                ("stray.cpp", "", "no row of the house")]:
            path = f"{PRODUCT}/{name}"
            known = {**self.known, path: self.known.get(path, "") + "\n" + line + "\n"}
            self.assertIn(fault, " ".join(faults(known)), name)


if __name__ == "__main__":
    sys.exit(unittest.main())
