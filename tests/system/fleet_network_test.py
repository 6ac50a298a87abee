#!/usr/bin/env python3
"""A broker and those who ask on one machine, a camera with its bridge, and one who asks, on another; and
the network between the two is cut, both ways, for a moment, for some seconds, and for long.

usage: fleet_network_test.py BIN_DIRECTORY

The machines are network namespaces on a switch, from which a cable is pulled: nobody is told. Exits with
77 where this user may make no network namespace, or no switch.
"""
import contextlib
import json
import os
import subprocess
import sys
import tempfile
import threading
import time
from collections import Counter

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "soak"))

import camera_log  # noqa: E402
from broker import Broker  # noqa: E402
from clients import TIMEOUT, Console  # noqa: E402
from commands import Command  # noqa: E402
from programs import Program, Stuck, await_line, wait  # noqa: E402

SKIPPED = 77
LIMIT = 60  # seconds; a busy machine is slow
LOOK_EVERY = 0.05  # seconds
FAR, NEAR = "10.9.3.1", "10.9.3.2"
PORT = 1883  # in a network in which nobody else is

OFFLINE_LIMIT = 20  # seconds after the cut
ONLINE_LIMIT = 15  # seconds after its end
MOMENT = 1.5  # seconds; the network's retries bridge it
SOME = 5  # seconds; longer than a request is worth doing, too short for broker and bridge to notice

STATUS = Command(6)  # half a second is waited for the answer
MODE, PHOTO, EV, TIME_LEFT = (Command(code) for code in (1, 3, 9, 29))


def ip(*words):
    subprocess.run(["ip", *words], check=True)


class Machine:
    """A network namespace with one cable to the switch."""

    def __init__(self, name, address, switch, ends):
        self._switch = switch
        self._port = f"{name}-port"  # an interface's name has at most 15 letters
        self._holder = subprocess.Popen(["unshare", "--net", "sh", "-c", "echo; exec cat"],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        ends.callback(self._end)
        self._holder.stdout.read(1)
        self.inside = ("nsenter", f"--net=/proc/{self._holder.pid}/ns/net")
        ip("link", "add", self._port, "type", "veth", "peer", "name", "cable",
           "netns", str(self._holder.pid))
        subprocess.run([*self.inside, "sh", "-c",
                        f"ip address add {address}/24 dev cable && ip link set cable up && "
                        "ip link set lo up"], check=True)
        ip("link", "set", self._port, "up")
        self.plug()

    def plug(self):
        ip("link", "set", self._port, "master", self._switch)

    def pull(self):
        ip("link", "set", self._port, "nomaster")

    def _end(self):
        self._holder.communicate()


class Network:
    """FAR has the broker, NEAR the camera and its bridge, and each somebody who asks."""

    def __init__(self, name, programs, ends):
        self._programs = programs
        self._ends = ends
        self.asked = Counter()  # by code
        folder = ends.enter_context(tempfile.TemporaryDirectory(prefix="vlm_network."))
        ip("link", "add", name, "type", "bridge")
        ip("link", "set", name, "up")
        self._far = Machine(f"{name}-f", FAR, name, ends)
        self.near = Machine(f"{name}-n", NEAR, name, ends)
        broker = Broker(folder, FAR, PORT, self._far.inside)
        ends.callback(broker.end)
        self._site = broker.site()
        self._address = f"{self._site}/cam"
        local = f"unix:{folder}/bus"
        self.camera = self._start(self.near, local, "camera_sim", "--verbose")
        await_line(self.camera, "camera_sim: ready")
        self.bridge = self._start(self.near, local, "vlm_bus_bridge", "--broker", self._address)
        await_line(self.bridge, "serves ")
        self.await_presence("online")
        self.far_console = self._console(self._far)
        self.near_console = self._console(self.near)
        for console in (self.far_console, self.near_console):
            self.ask_until_answered(console, MODE)  # it connects

    def _start(self, machine, bus, name, *options):
        program = Program(*machine.inside, os.path.join(self._programs, name), *options,
                          environment=dict(os.environ, VLM_BUS=bus))
        self._ends.callback(program.end)
        return program

    def _console(self, machine):
        console = Console(self._programs, dict(os.environ, VLM_BUS=self._address), machine.inside)
        self._ends.callback(console.program.end)
        return console

    def vlmctl(self, *words):
        """Its exit status and what it prints, from the broker's machine."""
        run = subprocess.run([*self._far.inside, os.path.join(self._programs, "vlmctl"), *words],
                             capture_output=True, text=True, timeout=LIMIT, check=False)
        return run.returncode, run.stdout

    def get_ev(self):
        """The exit status of vlmctl."""
        self.asked[EV.code] += 1
        return self.vlmctl("--camera", self._address, "get", "exposure.ev")[0]

    def presence(self):
        status, lines = self.vlmctl("--site", self._site, "--json", "list", "--cameras")
        return json.loads(lines)["presence"] if status == 0 else None

    def await_presence(self, wanted):
        """When it was seen."""
        deadline = time.monotonic() + LIMIT
        while self.presence() != wanted:
            if time.monotonic() > deadline:
                raise Stuck(f"the camera does not become {wanted}: {self.bridge.lines}")
            time.sleep(LOOK_EVERY)
        return time.monotonic()

    def ask(self, console, command):
        """The result, as the console tells it."""
        self.asked[command.code] += 1
        return console.ask(command, LIMIT).error

    def ask_until_answered(self, console, command):
        deadline = time.monotonic() + LIMIT
        while self.ask(console, command) != 0:
            if time.monotonic() > deadline:
                raise Stuck(f"no answer after the cut: {console.program.all_errors()}")

    def executed(self, command):
        """How often, until now."""
        return self.all_executed()[command.code]

    def all_executed(self):
        self.camera.drain()
        return Counter(request.code for request in camera_log.read(self.camera.lines).requests)


def moment(network, expect):
    """Nobody is lost."""
    network.near.pull()
    pulled = time.monotonic()
    error = network.ask(network.far_console, STATUS)  # shorter than the cut
    expect("an answer through the cut", error, TIMEOUT)
    waiting = threading.Thread(target=network.get_ev)
    waiting.start()
    time.sleep(max(0, pulled + MOMENT - time.monotonic()))  # the length of the cut is what is tested
    network.near.plug()
    waiting.join()
    for console in (network.far_console, network.near_console):
        network.ask_until_answered(console, MODE)
    expect("the bridge complains", network.bridge.printed("no connection"), None)
    expect("presence", network.presence(), "online")


def seconds(network, expect):
    """What is asked meanwhile is not done when the network is back."""
    network.near.pull()
    pulled = time.monotonic()
    asking = [threading.Thread(target=network.ask, args=each)
              for each in ((network.far_console, PHOTO), (network.near_console, TIME_LEFT))]
    for each in asking:
        each.start()
    for each in asking:
        each.join()
    time.sleep(max(0, pulled + SOME - time.monotonic()))  # the length of the cut is what is tested
    network.near.plug()
    # Behind what was under way.
    for console in (network.far_console, network.near_console):
        network.ask_until_answered(console, MODE)
    network.await_presence("online")
    expect("executed late, from the broker's side", network.executed(PHOTO), 0)
    expect("executed late, from the camera's side", network.executed(TIME_LEFT), 0)


def long(network, expect):
    """Broker and bridge notice; the camera is shown as offline, and is back soon after the cut."""
    network.near.pull()
    pulled = time.monotonic()
    expect("an answer through the cut", network.ask(network.far_console, STATUS), TIMEOUT)
    expect("an answer through the cut", network.ask(network.near_console, TIME_LEFT), TIMEOUT)
    expect("vlmctl through the cut", network.get_ev(), 3)
    offline = network.await_presence("offline") - pulled
    expect(f"offline after {offline:.1f} s", offline <= OFFLINE_LIMIT, True)
    await_line(network.bridge, "no connection", LIMIT)
    expect("vlmctl without the camera", network.get_ev(), 7)
    network.near.plug()
    plugged = time.monotonic()
    online = network.await_presence("online") - plugged
    expect(f"online after {online:.1f} s", online <= ONLINE_LIMIT, True)
    for console in (network.far_console, network.near_console):
        network.ask_until_answered(console, MODE)
    for command in (STATUS, TIME_LEFT, EV):
        expect(f"executed late: {command.code}", network.executed(command), 0)
    return f"offline {offline:.1f} s after the cut, online {online:.1f} s after its end"


class Scenario(threading.Thread):
    def __init__(self, play, programs):
        super().__init__(name=play.__name__)
        self.complaints = []
        self._play = play
        self._programs = programs
        self.start()

    def run(self):
        try:
            with contextlib.ExitStack() as ends:
                network = Network(self.name, self._programs, ends)
                told = self._play(network, self._expect)
                done = network.all_executed()
                twice = [code for code, count in network.asked.items() if done[code] > count]
                self._expect("executed twice", twice, [])
            print(f"{self.name}: {told or 'done'}", flush=True)
        except Exception as fault:  # to be told by the main thread
            self.complaints.append(repr(fault))

    def _expect(self, what, found, due):
        if found != due:
            self.complaints.append(f"{what}: {found}, not {due}")


def play_all(programs):
    healthy = True
    for scenario in [Scenario(play, programs) for play in (moment, seconds, long)]:
        scenario.join()
        for complaint in scenario.complaints:
            print(f"{scenario.name}: {complaint}")
            healthy = False
    return healthy


def in_a_network_of_its_own(*command):
    """Runs it in a new network namespace; None where that, or a switch in it, is not permitted."""
    unshare = ["unshare", "--map-root-user", "--net"]
    switch = ["ip", "link", "add", "switch", "type", "bridge"]
    if subprocess.run([*unshare, *switch], stderr=subprocess.DEVNULL, check=False).returncode != 0:
        return None
    return subprocess.run([*unshare, *command], check=False).returncode


if __name__ == "__main__":
    if sys.argv[1:2] == ["--inside"]:
        sys.exit(not play_all(sys.argv[2]))
    status = in_a_network_of_its_own(sys.executable, __file__, "--inside", *sys.argv[1:])
    if status is None:
        print("left out: no network namespace may be made here")
        status = SKIPPED
    sys.exit(status)
