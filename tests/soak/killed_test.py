#!/usr/bin/env python3
"""Camera, console and UDP service die at random moments, and a subscriber of the bus stands still.

usage: killed_test.py BIN_DIRECTORY ROUNDS [--seed N]

Each round asks through console or service, kills one of the three at some moment within 20 ms and starts
it again, or kills a vlmctl that asks: whoever lives on ends what it was asked, and all three work
together as before. What the dead leave in the bus directory is removed. In the end the console is stopped
until the camera finds that it takes no more; the service is answered all the while, and the console
again when it goes on.
"""
import argparse
import os
import random
import signal
import sys
import tempfile
import threading

from clients import HEARD, TIMEOUT, Console, Service
from commands import COMMANDS, STATUS
from programs import Program, Stuck, await_line

LIMIT = 60  # seconds; a busy machine is slow
LONGEST_LIFE = 0.02
MOST_IN_QUEUE = 5000  # packets; far more than a socket takes

COMMAND = {"console": next(each for each in COMMANDS if each.code == STATUS),
           "service": next(each for each in COMMANDS if each.code == 1)}


class Cast:
    """The three, on a bus of their own."""

    def __init__(self, programs):
        self._programs = programs
        self._directory = tempfile.TemporaryDirectory(prefix="vlm_killed.")
        self.bus = os.path.join(self._directory.name, "bus")
        self._environment = dict(os.environ, VLM_BUS_DIR=self.bus)
        self.camera = self.console = self.service = None
        for role in ("camera", "console", "service"):
            self.start(role)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for role in ("console", "service", "camera"):
            self.program(role).end()
        self._directory.cleanup()

    def start(self, role):
        if role == "camera":
            self.camera = self.run("camera_sim")
            await_line(self.camera, "camera_sim: ready")
        elif role == "console":
            self.console = Console(self._programs, self._environment)
        else:
            self.service = Service(self.run("vlm_udp_service", "--port", "0", "--sdcard",
                                            self._directory.name))

    def run(self, name, *options):
        return Program(os.path.join(self._programs, name), *options, environment=self._environment,
                       tally=HEARD)

    def program(self, role):
        return self.camera if role == "camera" else getattr(self, role).program

    def bury(self, role):
        status = self.program(role).end()
        if status != -signal.SIGKILL:
            raise Stuck(f"the {role} ended with {status}: {self.program(role).all_errors()}")

    def tell(self, role):
        """Makes it ask, without waiting for the answer."""
        if role == "console":
            self.console.program.say(str(STATUS))
        else:
            self.service.send(COMMAND[role])

    def asks(self, role):
        """The result that it is answered with."""
        return getattr(self, role).ask(COMMAND[role], LIMIT, self.camera).error

    def work_together(self):
        """The first requests may fail: a listener subscribes after the prompt has come, and a camera that
        died takes a reply along."""
        for role in COMMAND:
            if all(self.asks(role) != 0 for _ in range(20)):
                raise Stuck(f"the {role} is not answered any more")


def play_round(cast, chance):
    victim = chance.choice(["camera", "console", "service", "vlmctl"])
    life = chance.uniform(0, LONGEST_LIFE)
    if victim == "vlmctl":
        kill_vlmctl(cast, life)
    else:
        kill_one_of_three(cast, chance.choice(["console", "service"]), victim, life)
    cast.work_together()


def kill_vlmctl(cast, life):
    program = cast.run("vlmctl", "send", str(COMMAND["service"].code))
    death = threading.Timer(life, program.process.kill)
    death.start()
    death.join()
    status = program.end()
    if status not in (0, -signal.SIGKILL):
        raise Stuck(f"vlmctl ended with {status}: {program.all_errors()}")


def kill_one_of_three(cast, asker, victim, life):
    death = threading.Timer(life, cast.program(victim).process.kill)
    if victim == asker:
        cast.tell(asker)
        death.start()
    else:
        death.start()
        error = cast.asks(asker)
        if error not in (0, TIMEOUT):
            raise Stuck(f"the {asker} says {error}")
    death.join()
    cast.bury(victim)
    cast.start(victim)


def stop_the_console(cast):
    console = cast.program("console")
    console.process.send_signal(signal.SIGSTOP)
    asked = 0
    while "does not take its packets" not in cast.camera.all_errors():
        if cast.asks("service") != 0 or asked == MOST_IN_QUEUE:
            raise Stuck(f"a stopped console disturbs the service after {asked} requests")
        asked += 1
    console.process.send_signal(signal.SIGCONT)
    cast.work_together()
    return asked


def main():
    parser = argparse.ArgumentParser(usage="see the head of this file")
    parser.add_argument("programs")
    parser.add_argument("rounds", type=int)
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 30))
    options = parser.parse_args()
    print("seed", options.seed)
    chance = random.Random(options.seed)
    with Cast(options.programs) as cast:
        cast.work_together()
        for number in range(options.rounds):
            try:
                play_round(cast, chance)
            except Stuck as stuck:
                sys.exit(f"round {number}: {stuck}")
        left = os.listdir(cast.bus)
        if len(left) > 12:
            sys.exit(f"the dead left {left}")
        asked = stop_the_console(cast)
    print(f"{options.rounds} killed; a console stood still for {asked} requests of the service")


if __name__ == "__main__":
    main()
