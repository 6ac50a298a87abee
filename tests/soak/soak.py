#!/usr/bin/env python3
"""Keeps console, UDP service and vlmctl at work on faulty cameras for a long time.

usage: soak.py BIN_DIRECTORY MINUTES [--faults P] [--seed N] [--lanes N] [--every S] [--picture FILE]

P percent of the replies suffer from each of the camera's faults. Each lane is a camera and its clients
on a bus of its own. A line each minute (or S seconds) says what happened and what the programs take of
the machine; a picture shows latency and memory over time. The verdict is the last line. Exits with 1
when an outcome was wrong, something was stuck, or memory, descriptors or threads grew.
"""
import argparse
import random
import sys
import threading
import time

from lane import Lane
from programs import Stuck
from soak_picture import draw

# What a program's memory may grow by once it has served for a while; its descriptors and its threads may
# not.
GROWTH_KIB = 512
# That while ends with this share of the run.
WARM = 0.2


def faults(percent):
    share = str(percent / 100)
    probable = ("drop", "stray", "truncate", "extend", "corrupt", "duplicate", "reorder")
    return [(name, share) for name in probable] + [
        ("latency", "0ms..20ms"), ("latency", "6=400ms..650ms"),  # clients wait 500 ms for 6
        ("restart-every", "100" if percent else "0")]


def grown(before, after):
    """What programs have open that they had not; both are [(name, descriptors)]."""
    return [f"descriptors of {name} grew by {dict(now - then)}"
            for (name, then), (_, now) in zip(before, after) if now - then]


class Worker(threading.Thread):
    """Keeps one lane busy for `seconds`; notes its open descriptors once it has served for a while."""

    def __init__(self, lane, seconds):
        super().__init__(daemon=True)
        self.lane = lane
        self.descriptors = None
        self._began = time.monotonic()
        self._seconds = seconds
        self.start()

    def run(self):
        self._work_until(self._seconds * WARM)
        self.descriptors = self.lane.descriptors_at_rest()
        self._work_until(self._seconds)

    def _work_until(self, seconds):
        while time.monotonic() < self._began + seconds:
            self.lane.step()

    def grown_descriptors(self):
        """What the lane has open now and had not then."""
        return grown(self.descriptors, self.lane.descriptors_at_rest())


def sample(lanes, began):
    """The sums of all lanes, now."""
    usage = [program.usage() for lane in lanes for program in lane.programs]
    counts = {name: sum(lane.counts[name] for lane in lanes) for name in lanes[0].counts}
    memory, descriptors, threads = (sum(column) for column in zip(*usage))
    return {"seconds": time.monotonic() - began, **counts, "KiB": memory, "descriptors": descriptors,
            "threads": threads, "usage": usage}


def say(now):
    names = [name for name in now if name not in ("seconds", "usage")]
    print(f"{now['seconds']:6.0f} s ", "  ".join(f"{now[name]} {name}" for name in names), flush=True)


def watch(lanes, began, seconds, every):
    """A sample each `every` seconds."""
    samples = [sample(lanes, began)]
    while time.monotonic() < began + seconds:
        time.sleep(max(0, min(every, began + seconds - time.monotonic())))
        samples.append(sample(lanes, began))
        say(samples[-1])
    return samples


def growth(samples, seconds):
    """What grew of what: from when the programs had served for a while to the end."""
    warm = next(each for each in samples if each["seconds"] >= seconds * WARM)
    grown = []
    for before, after in zip(warm["usage"], samples[-1]["usage"]):
        if after[0] > before[0] + GROWTH_KIB:
            grown.append(f"memory of a program grew from {before[0]} to {after[0]} KiB")
        if after[2] > before[2]:
            grown.append(f"threads of a program grew from {before[2]} to {after[2]}")
    return grown


def run(options):
    camera_options = faults(options.faults)
    lanes = [Lane(options.programs, camera_options, options.seed + number, options.margin)
             for number in range(options.lanes)]
    try:
        return work(lanes, camera_options, options)
    except Stuck:
        for lane in lanes:
            lane.end()
        raise


def work(lanes, camera_options, options):
    began = time.monotonic()
    seconds = options.minutes * 60
    workers = [Worker(lane, seconds) for lane in lanes]
    samples = watch(lanes, began, seconds, options.every)
    for worker in workers:
        worker.join()
    trouble = growth(samples, seconds)
    for worker in workers:
        lane = worker.lane
        lane.heal(camera_options)
        trouble += worker.grown_descriptors()
        lane.end()
        trouble += lane.complaints
    latencies = sorted((when - began, took) for lane in lanes for when, took in lane.latencies)
    draw(options.picture, samples, latencies)
    return samples[-1], trouble


def main():
    parser = argparse.ArgumentParser(usage="see the head of this file")
    parser.add_argument("programs")
    parser.add_argument("minutes", type=float)
    parser.add_argument("--faults", type=float, default=5, help="percent")
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 30))
    parser.add_argument("--lanes", type=int, default=4)
    parser.add_argument("--every", type=float, default=60)
    parser.add_argument("--margin", type=float, default=30)
    parser.add_argument("--picture", default="soak.svg")
    options = parser.parse_args()
    print(f"seed {options.seed}, {options.lanes} lanes, {options.faults:g} % of each fault")
    try:
        last, trouble = run(options)
    except Stuck as stuck:
        sys.exit(f"FAILED: {stuck}")
    print(*trouble, sep="\n", end="\n" if trouble else "")
    verdict = "FAILED" if trouble else "passed"
    print(f"{verdict}: {last['requests']} requests, {last['faults']} faults, "
          f"{len(trouble)} complaints; picture in {options.picture}")
    sys.exit(bool(trouble))


if __name__ == "__main__":
    main()
