#!/usr/bin/env python3
"""Two consoles and a script at one camera through a broker, and a console on the camera's own bus, beside
the bridge.

usage: fleet_load.py BIN_DIRECTORY [--seconds S] [--seed N]

Each asks as fast as it is answered. Told in the end: what each asked and how that ended, and what the
camera saw. Exits with 1 when somebody was not answered, read of a command that it had not sent, read a
value that another one had set, or when the camera executed something else than what was asked, each
request once.
"""
import argparse
import contextlib
import os
import random
import re
import subprocess
import sys
import tempfile
import threading
import time
from collections import Counter

import camera_log
from broker import Broker
from clients import BUSY, TIMEOUT, Console, OneCommand, Vlmctl
from commands import COMMANDS, Command
from programs import Program, Stuck, await_line, wait

MARGIN = 30  # seconds that a command may take beyond its limit
SETTLED = 10  # seconds; the last replies are on their way for milliseconds
LATENCY = "0ms..5ms"  # of the camera; requests meet each other in it

CONSOLES = 0.05  # of what the script runs: the console takes half a second for one command

GET_VERSION, GET_PROPERTY, SET_PROPERTY = 31, 84, 85
# How these end hangs on their parameters, or on what was asked before. The camera's records carry no
# identity: who asks the same at the same time on the camera's own bus may take the other's answer, which
# nobody can tell apart. So that its outcome is true nevertheless, a console there asks others.
MANY_OUTCOMES = {2, 3, 14, 18, 26, 37, 47}

SENT = re.compile(r"^Send (.*)$")
TOOK = re.compile(r"^LCM request (.*) took: ")
ABOUT = (SENT, TOOK, re.compile(r"^finish waiting for cmd (.*) response\."),
         re.compile(r"^Recv (.*) Ack OK$"), re.compile(r"^LCM request (.*) failed with: "),
         re.compile(r"^error: LCM request (.*) timeout waiting for answer$"))
UNASKED = "not waiting on answer"


def foreign_lines(lines):
    """Those of an engine's transcript that are about another command than the one that it sent, and what
    it heard beside its one reply."""
    sent = None
    taken = 0
    foreign = []
    for _, line in lines:
        name = next((found[1] for each in ABOUT if (found := each.search(line))), None)
        if sent is None and SENT.search(line):
            sent = name
        taken += bool(TOOK.search(line))
        if UNASKED in line or name not in (None, sent) or (taken > 1 and TOOK.search(line)):
            foreign.append(line)
    return foreign


class Asker(threading.Thread):
    """One of those who ask; `offers` tells which commands, `alone` whether all replies that it hears are
    its own."""

    def __init__(self, name, client, commands, seed, alone=True):
        super().__init__(name=name, daemon=True)
        self.asked = Counter()  # (code, payload)
        self.outcomes = Counter()  # (code, result)
        self.complaints = []
        self.foreign = 0  # answers that were another one's
        self.longest = (0, 0)  # seconds that one took, and when it began
        self.seconds = 0
        self._client = client
        self._commands = commands
        self._random = random.Random(seed)
        self._alone = alone
        self._property = f"load-{seed}"
        self._value = None  # of the property; not known before it is set

    def run(self):
        end = time.monotonic() + self.seconds
        while time.monotonic() < end:
            command = self._random.choice(self._commands)
            try:
                self._ask(self._in_my_words(command))
            except Stuck as stuck:
                self.complaints.append(f"{self.name}, {command}: {stuck}")
                return

    def count(self, result):
        return sum(count for (_, each), count in self.outcomes.items() if each == result)

    def answered(self):
        return self.outcomes.total() - self.count(TIMEOUT) - self.count(BUSY)

    def end(self):
        if self._client.program is not None:
            self._client.program.end()

    def _in_my_words(self, command):
        """Properties are each asker's own, so that their values tell whose answer it is."""
        if command.code == SET_PROPERTY:
            self._value = str(self._random.randrange(1 << 30))
            return Command(command.code, words=f" {self._property}={self._value}")
        if command.code == GET_PROPERTY:
            return Command(command.code, words=f" {self._property}")
        return command

    def _ask(self, command):
        self.asked[command.code, command.payload.rstrip(b"\0")] += 1
        began = time.monotonic()
        outcome = self._client.ask(command, command.limit() + MARGIN)
        self.longest = max(self.longest, (time.monotonic() - began, began))
        self.outcomes[command.code, outcome.error] += 1
        if outcome.error in (TIMEOUT, BUSY):
            self.complaints.append(f"{self.name}, {command} ended with {outcome}")
        if self._client.program is not None:
            self._judge_transcript(command, outcome, self._client.program.lines)

    def _judge_transcript(self, command, outcome, lines):
        if self._alone and (foreign := foreign_lines(lines)):
            self._complain_of_foreign(command, f"{foreign} in {lines}")
        told = [line for _, line in lines if line.startswith("property: ")]
        if command.code == GET_PROPERTY and outcome.error == 0 and \
                told != [f"property: {self._value}"]:
            self._complain_of_foreign(command, f"{told}, not {self._value}")

    def _complain_of_foreign(self, command, what):
        self.foreign += 1
        self.complaints.append(f"{self.name}, {command}: foreign: {what}")


class Script:
    """Asks through a program of its own each time: the console, or vlmctl."""

    def __init__(self, programs, environment, seed):
        self.program = None  # of the last one; none: it prints no transcript
        self._console = OneCommand(programs, environment)
        self._vlmctl = Vlmctl(programs, environment)
        self._random = random.Random(seed)

    def ask(self, command, seconds):
        text = command.code in (GET_PROPERTY, SET_PROPERTY)
        if text or not self._vlmctl.offers(command) or self._random.random() < CONSOLES:
            outcome = self._console.ask(command, seconds)
            self.program = self._console.program
        else:
            outcome = self._vlmctl.ask(command, seconds)
            self.program = None
        return outcome


class Cast:
    """A broker, a camera on a bus of its own, and a bridge between the two."""

    def __init__(self, programs, seed):
        self._programs = programs
        self._ends = contextlib.ExitStack()
        folder = self._ends.enter_context(tempfile.TemporaryDirectory(prefix="vlm_fleet."))
        self.local = dict(os.environ, VLM_BUS=f"unix:{folder}/bus")
        with self._ends:  # of what was started before something did not start
            broker = Broker(folder)
            self._ends.callback(broker.end)
            address = broker.site() + "/cam"
            self.remote = dict(os.environ, VLM_BUS=address)
            self._camera = self._start("camera_sim", "--verbose", "--seed", str(seed), "--latency",
                                       LATENCY)
            await_line(self._camera, "camera_sim: ready")
            self._bridge = self._start("vlm_bus_bridge", "--broker", address)
            await_line(self._bridge, "serves ")
            self._await_presence()
            self._ends = self._ends.pop_all()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._ends.close()

    def _start(self, name, *options):
        program = Program(os.path.join(self._programs, name), *options, environment=self.local)
        self._ends.callback(program.end)
        return program

    def _await_presence(self):
        probe = [os.path.join(self._programs, "vlm_bus_probe"), "velmar_repeater_udp", "--wait", "20000"]
        if subprocess.run(probe, env=self.remote, check=False).returncode != 0:
            raise Stuck(f"the camera is not online: {self._bridge.lines}")

    def askers(self, seed):
        programs = self._programs
        every = COMMANDS + [Command(GET_PROPERTY), Command(SET_PROPERTY)]
        unambiguous = [each for each in COMMANDS if each.code not in MANY_OUTCOMES]
        askers = [
            Asker("console 1 through the broker", Console(programs, self.remote), every, seed),
            Asker("console 2 through the broker", Console(programs, self.remote), every, seed + 1),
            Asker("script through the broker", Script(programs, self.remote, seed), every, seed + 2),
            Asker("console beside the bridge", Console(programs, self.local), unambiguous, seed + 3,
                  alone=False)]
        for asker in askers:
            self._ends.callback(asker.end)
        return askers

    def watch(self, askers):
        """What the camera got and sent until they had ended, and each request had its reply."""
        wait(lambda: not any(asker.is_alive() for asker in askers), float("inf"), self._camera)
        wait(lambda: len(self._read_log().requests) == len(self._read_log().replies), SETTLED,
             self._camera)
        return self._read_log()

    def _read_log(self):
        return camera_log.read(self._camera.lines)

    def end_bridge(self):
        """What it says that it has done."""
        self._bridge.process.terminate()
        return await_line(self._bridge, r"vlm_bus_bridge: (asked .*)$")[1]


def differences(what, asked, seen):
    return [f"{what} of {each}: {asked[each]} by those who asked, {seen[each]} at the camera"
            for each in asked.keys() | seen.keys() if asked[each] != seen[each]]


def compare(askers, log):
    """What the askers and the camera do not agree in. The bridge has two questions of its own; the other
    one is asked by nobody else."""
    asked = sum((asker.asked for asker in askers), Counter({(GET_VERSION, b""): 1}))
    outcomes = sum((asker.outcomes for asker in askers), Counter({(GET_VERSION, 0): 1}))
    codes = {code for code, _ in asked}
    requests = Counter((each.code, each.payload) for each in log.requests if each.code in codes)
    replies = Counter((each.code, each.error) for each in log.replies if each.code in codes)
    return differences("requests", asked, requests) + differences("results", outcomes, replies)


def judge_bridge(told, through_it, beside_it):
    """What is wrong with the counts of the bridge."""
    counts = {name: int(count) for name, count in re.findall(r"(\D+) (\d+)(?:, |$)", told)}
    due = {"answered": through_it, "not answered": 0, "refused": 0, "dropped": 0, "stray": beside_it}
    return [f"the bridge: {name} {counts[name]}, not {count}" for name, count in due.items()
            if counts[name] != count]


def load(options):
    """What went wrong."""
    with Cast(options.programs, options.seed) as cast:
        askers = cast.askers(options.seed)
        began = time.monotonic()
        for asker in askers:
            asker.seconds = options.seconds
            asker.start()
        log = cast.watch(askers)
        told = cast.end_bridge()
    for asker in askers:
        print(f"{asker.name:29}{asker.asked.total():7} asked{asker.answered():7} answered"
              f"{asker.count(TIMEOUT):4} time-outs{asker.count(BUSY):4} busy{asker.foreign:4} foreign, "
              f"the longest took {asker.longest[0]:.3f} s, {asker.longest[1] - began:.1f} s on")
    print(f"the camera executed {len(log.requests)} requests; the bridge: {told}")
    beside = askers[-1].asked.total()
    through = sum(asker.asked.total() for asker in askers) - beside
    return [complaint for asker in askers for complaint in asker.complaints] + \
        compare(askers, log) + judge_bridge(told, through, beside)


def main():
    parser = argparse.ArgumentParser(usage="see the head of this file")
    parser.add_argument("programs")
    parser.add_argument("--seconds", type=float, default=600)
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 30))
    options = parser.parse_args()
    print("seed", options.seed, flush=True)
    complaints = load(options)
    print(*complaints, sep="\n", end="\n" if complaints else "")
    print("FAILED" if complaints else "passed", f"{len(complaints)} complaints", sep=": ")
    sys.exit(bool(complaints))


if __name__ == "__main__":
    main()
