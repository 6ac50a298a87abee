#!/usr/bin/env python3
"""Commands through console, UDP service and vlmctl under each fault of the simulated camera, and under
all of them; what they say must agree with what the camera did.

usage: fault_matrix.py BIN_DIRECTORY [--seconds S] [--seed N] [--margin S]

Each fault has a camera and clients of its own, all at once, for that many seconds. A line for each
fault tells how often it was asked, and how it ended. The seed decides what is asked and what goes
wrong; how far it gets depends on the machine. Exits with 1 when an outcome was wrong.
"""
import argparse
import random
import sys
import threading
import time

from lane import Lane

FAULTS = {
    "none": [],
    "drop": [("drop", "0.05")],
    "stray": [("stray", "0.5")],
    "truncate": [("truncate", "0.2")],
    "extend": [("extend", "0.5")],
    "corrupt": [("corrupt", "0.5")],
    "duplicate": [("duplicate", "0.5")],
    "reorder": [("reorder", "0.3")],
    "latency": [("latency", "0ms..40ms")],
    "late status": [("latency", "6=400ms..650ms")],
    "restart": [("restart-every", "25")],
    "mute": [("mute", "6")],
    "fail": [("fail", "18=9")],
}
FAULTS["all"] = [("latency", "0ms..20ms"), ("latency", "6=400ms..650ms"), ("drop", "0.02"),
                 ("stray", "0.1"), ("truncate", "0.05"), ("extend", "0.1"), ("corrupt", "0.1"),
                 ("duplicate", "0.1"), ("reorder", "0.1"), ("restart-every", "60")]


class Run(threading.Thread):
    """One fault's commands."""

    def __init__(self, name, options, seed):
        super().__init__(name=name)
        self._options = options
        self._seed = seed
        self.lane = None
        self.fault = None
        self.start()

    def run(self):
        try:
            self._run()
        except Exception as fault:  # to be told by the main thread
            self.fault = fault

    def _run(self):
        camera_options = FAULTS[self.name]
        self.lane = Lane(self._options.programs, camera_options, self._seed, self._options.margin)
        try:
            end = time.monotonic() + self._options.seconds
            while time.monotonic() < end:
                self.lane.step()
            self.lane.heal(camera_options)
        finally:
            self.lane.end()


def main():
    parser = argparse.ArgumentParser(usage="see the head of this file")
    parser.add_argument("programs")
    parser.add_argument("--seconds", type=float, default=5)
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 30))
    parser.add_argument("--margin", type=float, default=30)
    options = parser.parse_args()
    print("seed", options.seed)
    runs = [Run(name, options, options.seed + number) for number, name in enumerate(FAULTS)]
    healthy = True
    total = 0
    for run in runs:
        run.join()
        if run.fault is not None:
            print(f"{run.name}: {run.fault!r}")
            healthy = False
            continue
        counts = run.lane.counts
        print(f"{run.name:12}", "  ".join(f"{count:6} {name}" for name, count in counts.items()))
        print(*run.lane.complaints, sep="\n", end="\n" if run.lane.complaints else "")
        total += counts["requests"]
        healthy = healthy and counts["wrong"] == 0 and counts["requests"] > 0
    print(total, "requests")
    sys.exit(not healthy)


if __name__ == "__main__":
    main()
