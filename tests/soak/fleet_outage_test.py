#!/usr/bin/env python3
"""A broker is killed under load and started again: its fleet is back in time, nothing was sent twice, and
every command ended with an outcome that is true.

usage: fleet_outage_test.py BIN_DIRECTORY [--cameras N]

Consoles and vlmctl ask the cameras all the while, each time of the test another command, so that the
cameras' log tells which request was of when.
"""
import argparse
import contextlib
import json
import os
import subprocess
import sys
import tempfile
import threading
import time
from collections import Counter
from dataclasses import dataclass

import camera_log
from broker import Broker
from clients import TIMEOUT, Console
from commands import Command
from programs import Program, Stuck, await_line, wait

BACK_LIMIT = 15  # seconds from the start of the broker until all cameras are present
LIMIT = 60  # seconds of anything else; a busy machine is slow
LOOK_EVERY = 0.1  # seconds
REST = 0.3  # seconds that vlmctl rests between runs that find no camera, or few
LATENCY = "20ms..80ms"  # of the cameras: some are always busy
CONSOLES = 6
LEAST = 2  # requests of each who asks, at each time

# How vlmctl ends.
DONE, SILENT, UNSENT = 0, 3, 7


@dataclass(frozen=True)
class Time:
    """What is asked then."""
    command: Command  # by the consoles
    setting: str  # by vlmctl
    code: int  # of it


BEFORE = Time(Command(1), "exposure.ev", 9)
AWAY = Time(Command(6), "lens.zoom", 82)
AFTER = Time(Command(13), "exposure.mode", 7)


class Stage:
    """Which time it is, and how many commands of each are under way."""

    def __init__(self):
        self._changed = threading.Condition()
        self._now = BEFORE
        self._over = False
        self._under_way = Counter()

    def begin(self):
        """The time of a command that begins now; none: no more is asked."""
        with self._changed:
            self._changed.wait_for(lambda: self._over or self._now is not None)
            if self._over:
                return None
            self._under_way[self._now] += 1
            return self._now

    def done(self, then):
        with self._changed:
            self._under_way[then] -= 1
            self._changed.notify_all()

    def enter(self, now):
        with self._changed:
            self._now = now
            self._changed.notify_all()

    def leave(self):
        """Returns once all commands of this time have ended."""
        with self._changed:
            then, self._now = self._now, None
            if not self._changed.wait_for(lambda: self._under_way[then] == 0, LIMIT):
                raise Stuck("a command does not end")

    def close(self):
        with self._changed:
            self._over = True
            self._changed.notify_all()


class Asker(threading.Thread):
    """Asks as fast as it is answered; `counts` tells how often (camera, code) ended in which way."""

    def __init__(self, stage):
        super().__init__(daemon=True)
        self.counts = Counter()
        self.asked = Counter()  # by their time
        self.complaints = []
        self._stage = stage

    def run(self):
        while then := self._stage.begin():
            try:
                self.ask(then)
            except Stuck as stuck:
                self.complaints.append(f"{self.name}: {stuck}")
                return
            finally:
                self.asked[then] += 1
                self._stage.done(then)

    def count(self, camera, code, status):
        self.counts[camera, code, status] += 1
        if status not in (DONE, SILENT, UNSENT):
            self.complaints.append(f"{self.name}: {code} of {camera} ended with {status}")


class ConsoleAsker(Asker):
    def __init__(self, stage, programs, broker, camera):
        super().__init__(stage)
        self.name = f"console of {camera}"
        self._camera = camera
        self.console = Console(programs, dict(os.environ, VLM_BUS=f"{broker.site()}/{camera}"))

    def ask(self, then):
        error = self.console.ask(then.command, LIMIT).error
        self.count(self._camera, then.command.code, {0: DONE, TIMEOUT: SILENT}.get(error, error))
        return error


class SiteAsker(Asker):
    """vlmctl with all cameras of the site."""

    def __init__(self, stage, programs, broker):
        super().__init__(stage)
        self.name = "vlmctl"
        self._words = [os.path.join(programs, "vlmctl"), "--site", broker.site(), "--json"]

    def run_vlmctl(self, *words):
        """Its exit status and its lines."""
        run = subprocess.run([*self._words, *words], capture_output=True, text=True, check=False,
                             timeout=LIMIT)
        return run.returncode, [json.loads(line) for line in run.stdout.splitlines()]

    def ask(self, then):
        if then is not BEFORE:
            time.sleep(REST)
        status, lines = self.run_vlmctl("--all-cameras", "get", then.setting)
        for line in lines:
            if "camera" in line:
                self.count(line["camera"], then.code, line["status"])
            elif status != UNSENT:
                self.complaints.append(f"{self.name} ended with {status}: {line}")
        return status

    def present(self):
        """How many cameras are."""
        status, lines = self.run_vlmctl("list", "--cameras")
        return sum(line["presence"] == "online" for line in lines) if status == DONE else 0


def executed(lines):
    """How often each camera of the fleet executed each code, from the fleet's log; and what it complains
    of: requests without their reply."""
    logs = {}
    for when, line in lines:
        camera, _, rest = line.partition(" ")
        logs.setdefault(camera, []).append((when, rest))
    counts, unanswered = Counter(), []
    for camera, own in logs.items():
        log = camera_log.read(own)
        counts.update((camera, request.code) for request in log.requests)
        if Counter(each.code for each in log.requests) != Counter(each.code for each in log.replies):
            unanswered.append(f"{camera}: {len(log.requests)} requests, {len(log.replies)} replies")
    return counts, unanswered


def judge(counts, done):
    """What is untrue among the outcomes `counts`, when the cameras did `done`."""
    complaints = []
    codes = {each for then in (BEFORE, AWAY, AFTER) for each in (then.command.code, then.code)}
    cameras = {camera for camera, _, _ in counts} | {camera for camera, _ in done}
    for camera in cameras:
        for code in codes:
            answered, silent = (counts[camera, code, status] for status in (DONE, SILENT))
            away = code in (AWAY.command.code, AWAY.code)
            most = 0 if away else answered + silent
            if not answered <= done[camera, code] <= most:
                complaints.append(f"{camera} executed {code} {done[camera, code]} times: {answered} were "
                                  f"answered, {silent} not{', the broker was away' * away}")
    return complaints


class Test:
    def __init__(self, programs, cameras, ends):
        folder = ends.enter_context(tempfile.TemporaryDirectory(prefix="vlm_outage."))
        self._cameras = cameras
        self._broker = Broker(folder)
        ends.callback(self._broker.end)
        self._fleet = Program(os.path.join(programs, "camera_sim"), "--fleet", str(cameras),
                              "--camera-prefix", "lab-", "--verbose", "--latency", LATENCY,
                              environment=dict(os.environ, VLM_BUS=self._broker.site()))
        ends.callback(self._fleet.end)
        await_line(self._fleet, "camera_sim: ready")
        self._stage = Stage()
        self._site = SiteAsker(self._stage, programs, self._broker)
        self._consoles = []
        for number in range(1, CONSOLES + 1):
            self._consoles.append(ConsoleAsker(self._stage, programs, self._broker, f"lab-{number}"))
            ends.callback(self._consoles[-1].console.program.end)
        self._askers = [self._site, *self._consoles]

    def _wait(self, condition, what):
        if not wait(condition, LIMIT, self._fleet):
            raise Stuck(what)

    def _await_requests(self, then):
        self._wait(lambda: all(asker.asked[then] >= LEAST or asker.complaints
                               for asker in self._askers), "commands do not end")

    def _await_cameras(self, began):
        """Seconds until all are present."""
        while self._site.present() < self._cameras:
            if time.monotonic() - began > LIMIT:
                raise Stuck("the fleet does not come back")
            self._fleet.drain()
            time.sleep(LOOK_EVERY)
        return time.monotonic() - began

    def _ask_all_once_more(self):
        """With a healthy broker everybody is answered."""
        if status := self._site.ask(AFTER):
            self._site.complaints.append(f"in the end vlmctl ends with {status}")
        for asker in self._consoles:
            deadline = time.monotonic() + LIMIT
            while asker.ask(AFTER) != 0 and time.monotonic() < deadline:
                self._fleet.drain()
            if time.monotonic() >= deadline:
                asker.complaints.append(f"in the end the {asker.name} is not answered")

    def run(self):
        """What went wrong."""
        for asker in self._askers:
            asker.start()
        self._await_requests(BEFORE)
        self._broker.kill()
        self._stage.enter(AWAY)
        self._await_requests(AWAY)
        self._stage.leave()
        began = time.monotonic()
        self._broker.start_again()
        self._stage.enter(AFTER)
        back = self._await_cameras(began)
        self._stage.close()
        for asker in self._askers:
            self._wait(lambda: not asker.is_alive(), f"{asker.name} does not end")
        self._ask_all_once_more()
        self._fleet.process.terminate()
        self._wait(lambda: self._fleet.ended, "the fleet does not end")
        return self._verdict(back)

    def _verdict(self, back):
        counts = sum((asker.counts for asker in self._askers), Counter())
        done, complaints = executed(self._fleet.lines)
        ways = Counter()
        for (_, _, status), count in counts.items():
            ways[status] += count
        print(f"{self._cameras} cameras were back after {back:.1f} s; {counts.total()} commands: "
              f"{ways[DONE]} answered, {ways[SILENT]} timed out, {ways[UNSENT]} not sent")
        if back > BACK_LIMIT:
            complaints.append(f"that is more than {BACK_LIMIT} s")
        return complaints + judge(counts, done) + \
            [complaint for asker in self._askers for complaint in asker.complaints]


def main():
    parser = argparse.ArgumentParser(usage="see the head of this file")
    parser.add_argument("programs")
    parser.add_argument("--cameras", type=int, default=100)
    options = parser.parse_args()
    with contextlib.ExitStack() as ends:
        complaints = Test(options.programs, options.cameras, ends).run()
    print(*complaints, sep="\n", end="\n" if complaints else "")
    sys.exit(bool(complaints))


if __name__ == "__main__":
    main()
