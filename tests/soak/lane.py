"""A bus of its own with a simulated camera and its clients, which ask it one command after another.

Each outcome is held against what the camera got and sent: a request arrives once, as it was asked; a
success or an error came in a reply to that command while it was waited for; where time ran out, no
such reply had reached the client."""
import os
import random
import re
import tempfile
import time
from collections import Counter

import camera_log
from clients import HEARD, NOT_SENT, TIMEOUT, Console, OneCommand, Service, Vlmctl
from commands import COMMANDS, STATUS
from programs import Program, Stuck, await_line, wait

# Of a client that does not tell when a reply reached it: one that the camera sends in the last two
# thirds of the wait may be too late for it on a busy processor.
SURELY_IN_TIME = 1 / 3


class Lane:
    def __init__(self, programs, camera_options, seed, margin):
        self.margin = margin  # seconds that a command may take beyond its limit
        self.counts = {"requests": 0, "faults": 0, "time-outs": 0, "late": 0, "foreign": 0, "wrong": 0}
        self.complaints = []
        self.latencies = []  # (when it ended, seconds), of what was answered
        self._random = random.Random(seed)
        self._directory = tempfile.TemporaryDirectory(prefix="vlm_soak.")
        environment = dict(os.environ, VLM_BUS_DIR=os.path.join(self._directory.name, "bus"))
        self.camera = Program(os.path.join(programs, "camera_sim"), "--verbose", "--seed", str(seed),
                              environment=environment)
        await_line(self.camera, "camera_sim: ready")
        self._console = Console(programs, environment)
        self._service = Service(Program(os.path.join(programs, "vlm_udp_service"), "--port", "0",
                                        "--sdcard", self._directory.name, environment=environment,
                                        tally=HEARD))
        self._clients = [self._console, self._service, Vlmctl(programs, environment),
                         OneCommand(programs, environment)]
        self._weights = [45, 45, 8, 2]
        self._engines = [self._console.program, self._service.program]
        self.programs = [self.camera, *self._engines]
        self._heard = 0  # replies that each engine had heard when it caught up
        self._owed = Counter()  # replies that may still come, by their code
        self._unread = None  # the last request, when the camera had not seen it at its time-out
        self._meet()
        for name, value in camera_options:
            self.camera.say(f"{name} {value}")

    def _meet(self):
        """The console's listener may subscribe after its prompt has come."""
        command = next(each for each in COMMANDS if each.code == STATUS)
        for _ in range(20):
            if self._console.ask(command, 60, self.camera).error == 0:
                break
        else:
            raise Stuck("the console's listener does not serve")
        self._await_success(self._service)  # its way to the camera opens with its first request
        # Behind this packet comes nothing of what was before.
        self._notify()
        for engine in self._engines:
            engine.tally = 0
        self.camera.drain()
        self.camera.lines.clear()

    def _notify(self):
        """Lets the camera publish something that both engines hear, unless it is starting again."""
        for engine in self._engines:
            engine.drain()
            engine.lines.clear()
        for _ in range(20):
            self.camera.say("notify 8")
            if all([wait(lambda: engine.printed("received imageCaptured ack"), 3, engine, self.camera)
                    for engine in self._engines]):
                return
        raise Stuck("a notification is not heard")

    def descriptors_at_rest(self):
        """What each program has open when no client is there but those that stay. Who publishes keeps the
        connection to one that has gone until it publishes the next time."""
        try:
            before = self._catch_up()
            self.counts["late"] += len(before.replies)
            self._forget_unread(before)
            self._notify()
        except Stuck as stuck:
            self._complain(f"at rest: {stuck}")
        return [(program.name, program.descriptors()) for program in self.programs]

    def step(self):
        """Asks one command of one client."""
        client = self._random.choices(self._clients, self._weights)[0]
        command = self._random.choice([each for each in COMMANDS if client.offers(each)])
        try:
            self._ask(client, command)
        except Stuck as stuck:
            self._complain(f"{type(client).__name__} {command}: {stuck}")

    def _ask(self, client, command):
        before = self._catch_up()
        self.counts["late"] += len(before.replies)
        self._forget_unread(before)
        began = time.monotonic()
        outcome = client.ask(command, command.limit() + self.margin, self.camera)
        ended = time.monotonic()
        log = self._catch_up()
        self._forget_unread(log)
        self._count(command, log)
        if outcome.error == TIMEOUT:
            self.counts["time-outs"] += 1
            self._owed[command.code] += 1
            if not log.requests:
                self._unread = command.code, command.payload.rstrip(b"\0")
        elif outcome.error != NOT_SENT:
            self.latencies.append((ended, ended - began))
        if objection := judge(command, outcome, began, log):
            self._complain(f"{type(client).__name__} {command} ended with {outcome}, but {objection}: "
                           f"{log}")

    def _forget_unread(self, log):
        """Takes the request that the camera had not seen in time out of the log; it comes first."""
        if self._unread is None or not log.requests:
            return
        first = log.requests.pop(0)
        if (first.code, first.payload) != self._unread:
            self._complain(f"a request got lost: {self._unread}; the camera has seen {first}")
        self._unread = None

    def _catch_up(self):
        """What the camera has got and sent since the last time. When it returns, both engines have
        heard all of it, each reply once: what still lay in a socket would answer the next request."""
        caught_up = wait(lambda: {engine.tally for engine in self._engines} == {self._to_be_heard()},
                         self.margin, self.camera, *self._engines)
        sent = self._to_be_heard()
        log = camera_log.read(self.camera.lines)
        self.camera.lines.clear()
        heard = [engine.tally for engine in self._engines]
        self._heard = sent
        for engine in self._engines:
            engine.tally = sent
        if not caught_up:
            raise Stuck(f"{sent} replies were sent, but console and service heard {heard}")
        return log

    def _to_be_heard(self):
        replies = camera_log.read(self.camera.lines).replies
        return self._heard + sum(reply.kind == camera_log.CAMERA_MESSAGE for reply in replies)

    def _count(self, command, log):
        self.counts["requests"] += 1
        # What was lost or damaged, and what came beside the one reply.
        self.counts["faults"] += (log.silent + max(len(log.replies) - 1, 0) +
                                  sum(reply.damaged for reply in log.replies))
        for reply in log.replies:
            early = log.requests and reply.when < log.requests[0].when
            if not early and reply.answers(command.code):
                continue
            late = early or self._owed[reply.code] > 0
            self._owed[reply.code] -= late
            self.counts["late" if late else "foreign"] += 1

    def _complain(self, text):
        self.counts["wrong"] += 1
        self.complaints.append(text)

    def heal(self, camera_options):
        """Ends the faults; what is asked then has to be answered, so the engines are idle."""
        for name, value in camera_options:
            self.camera.say(remedy(name, value))
        for client in self._clients:
            try:
                self._await_success(client)
            except Stuck as stuck:
                self._complain(f"{type(client).__name__} with a healthy camera: {stuck}")

    def _await_success(self, client):
        """The camera may be starting again, which takes a second."""
        command = next(each for each in COMMANDS if each.code == 1)
        deadline = time.monotonic() + 60
        while client.ask(command, command.limit() + self.margin, self.camera).error != 0:
            if time.monotonic() > deadline:
                raise Stuck("it is not answered")

    def end(self):
        for program in self.programs:
            status = program.end()
            if status not in (0, -15):
                self._complain(f"{program.name} ended with {status}: {program.all_errors()}")
            elif re.search("Sanitizer|runtime error", program.all_errors()):
                self._complain(program.all_errors())
        self._directory.cleanup()


def remedy(name, value):
    """What the camera's operator types to end a fault."""
    subject = value.split("=")[0]
    if name == "latency":
        return f"latency {subject}=0ms" if "=" in value else "latency 0ms"
    return f"{name} {subject} off" if name in ("fail", "mute") else f"{name} 0"


def judge(command, outcome, began, log):
    """What is wrong with that outcome, or None."""
    requests = log.requests
    if not requests and outcome.error in (TIMEOUT, NOT_SENT) and not outcome.heard:
        return None  # the camera's turn on a busy processor has not come
    if len(requests) != 1 or requests[0].code != command.code or \
            requests[0].payload != command.payload.rstrip(b"\0"):
        return "the camera was asked " + str(requests)
    own = [reply for reply in log.replies if reply.answers(command.code)]
    if outcome.error == TIMEOUT and not any(reply.error == TIMEOUT for reply in own):
        if outcome.heard is None:
            limit = began + command.limit() * SURELY_IN_TIME
            in_time = any(requests[0].when <= reply.when < limit for reply in own)
        else:
            in_time = outcome.heard
        return "its reply came in time" if in_time else None
    own = [reply for reply in own if reply.error == outcome.error]
    if not own:
        return "the camera sent no such reply"
    if outcome.error == 0 and command.one_byte and outcome.data is not None and \
            outcome.data not in [reply.payload[:1] for reply in own]:
        return "the camera sent other data"
    return None
