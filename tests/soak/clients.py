"""The ways to the camera: each asks one command and tells how it ended, as the camera's result code,
with TIMEOUT where there was no answer, and the data of the reply where the way tells them. What other
programs print meanwhile is read, too."""
import json
import os
import re
import socket
from dataclasses import dataclass

from commands import STATUS
from programs import Program, Stuck, await_line, wait

TIMEOUT = 26
BUSY = 2
NOT_SENT = -1  # the client found no bus that delivers within its own time: a machine that stood still
PROMPT = "Please input cmd below:[cmd_type] [param0] [param1] ..."

# What none of them may ever say.
BROKEN = re.compile(r"already pending|CRITICAL|Sanitizer|terminate called|buffer overflow")

# What an engine says of each reply that reaches it: a line of its own, or on the console the rest of one
# that has no end yet, such as "zoom = 5.5".
NAMELESS = "Unknown lcm cmd"  # a command without a name of its own
HEARD = r"LCM request .* took: |not waiting on answer$"


@dataclass(frozen=True)
class Outcome:
    error: int
    data: bytes = None
    heard: bool = None  # whether the reply reached the client before it ended; None: it does not tell


def heard_its_reply(text):
    """Whether the engine that printed this took a reply to its last command while it waited."""
    _, send, waiting = ("\n" + text).rpartition("\nSend ")
    name = waiting.split("\n")[0]
    return bool(send) and name != NAMELESS and f"\nLCM request {name} took: " in waiting


def engine_outcome(lines):
    """How the engine says that its request ended; raises Stuck when it does not, or says two things."""
    text = "\n".join(line for _, line in lines)
    if broken := BROKEN.search(text):
        raise Stuck(f"{broken[0]!r} in:\n{text}")
    finished = re.findall(r"^finish waiting for cmd .* response\. error code: (\d+)$", text, re.M)
    late = re.findall(r"^error: LCM request .* timeout waiting for answer$", text, re.M)
    acknowledged = re.findall(r"^Recv .* Ack OK$", text, re.M)
    failed = re.findall(r"^LCM request .* failed with: ", text, re.M)
    if len(finished) + len(late) != 1 or len(acknowledged) + len(failed) != 1:
        raise Stuck("not one outcome in:\n" + text)
    error = TIMEOUT if late else int(finished[0])
    if (error == 0) != bool(acknowledged):
        raise Stuck("two outcomes in:\n" + text)
    return Outcome(error, heard=heard_its_reply(text))


class Console:
    """`vlm_test` at its prompt; behind the words `prefix`, such as those that put it into another
    network."""

    def __init__(self, programs, environment, prefix=()):
        self.program = Program(*prefix, os.path.join(programs, "vlm_test"), environment=environment,
                               tally=HEARD)
        await_line(self.program, re.escape(PROMPT))

    def offers(self, _):
        return True

    def ask(self, command, seconds, *others):
        self.program.drain()
        self.program.lines.clear()
        self.program.say(f"{command.code}{command.words}")
        if not wait(lambda: self.program.printed(re.escape(PROMPT)), seconds, self.program, *others):
            raise Stuck(f"the prompt did not come back: {self.program.lines}")
        return engine_outcome(self.program.lines)


class OneCommand:
    """`vlm_test` with the command as its arguments, once for each."""

    def __init__(self, programs, environment):
        self._path = os.path.join(programs, "vlm_test")
        self._environment = environment
        self.program = None  # the last one

    def offers(self, _):
        return True

    def ask(self, command, seconds, *others):
        words = f"{command.code}{command.words}".split()
        program = self.program = Program(self._path, *words, environment=self._environment)
        try:
            if not wait(lambda: program.ended, seconds, program, *others):
                raise Stuck(f"vlm_test {words} did not end: {program.lines}")
            return engine_outcome(program.lines)
        finally:
            program.end()


def crc_of(data):
    """CRC-16/MCRF4XX."""
    crc = 0xFFFF
    for byte in data:
        crc ^= byte
        for _ in range(8):
            crc = crc >> 1 ^ 0x8408 if crc & 1 else crc >> 1
    return crc


def packet_of(option, data):
    head = bytes([0, len(data) + 2, 0, 0, 0, 0]) + option.to_bytes(2, "big") + data
    return head + crc_of(head[1:]).to_bytes(2, "big")


class Service:
    """`vlm_udp_service` and an application that sends to it."""

    def __init__(self, program):
        self.program = program
        port = int(await_line(self.program, r"serving port (\d+)$")[1])
        self._socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self._socket.connect(("127.0.0.1", port))
        self._socket.setblocking(False)

    def offers(self, command):
        return command.option is not None

    def ask(self, command, seconds, *others):
        self.program.drain()
        self.program.lines.clear()
        while self._take([]):  # the reply to one that was given up
            pass
        reply = []
        self.send(command)
        if not wait(lambda: self._take(reply), seconds, self._socket, self.program, *others):
            raise Stuck(f"no reply to option {command.option}: {self.program.lines}")
        # Printed before the reply goes out, but taken from it by another thread.
        wait(lambda: self.program.printed("^To send msg:"), seconds, self.program, *others)
        if broken := self.program.printed(BROKEN.pattern):
            raise Stuck(f"{broken[0]!r} in {self.program.lines}")
        return self._read(command, reply[0])

    def send(self, command):
        self._socket.send(packet_of(command.option, command.data))

    def _take(self, reply):
        try:
            reply.append(self._socket.recv(264))
        except BlockingIOError:
            return False
        return True

    def _read(self, command, reply):
        size = reply[1] - 2
        sound = len(reply) == size + 10 and \
            reply[-2:] == crc_of(reply[1:-2]).to_bytes(2, "big")
        if not sound or int.from_bytes(reply[6:8], "big") != command.option:
            raise Stuck(f"not the reply to option {command.option}: {reply.hex()}")
        error = int.from_bytes(reply[4:6], "big")
        if error != 0 and size != 0:
            raise Stuck(f"data with error {error}: {reply.hex()}")
        return Outcome(error, reply[8:8 + size],
                       heard_its_reply("\n".join(line for _, line in self.program.lines)))


class Vlmctl:
    """`vlmctl send`, once for each command."""

    START = 8  # seconds that it may take until it sends

    def __init__(self, programs, environment):
        self._path = os.path.join(programs, "vlmctl")
        self._environment = environment

    def offers(self, command):
        return command.code != STATUS  # its time-out is too short to tell whose fault it is

    def ask(self, command, seconds, *others):
        words = ["--json", "send", str(command.code)] + [command.payload.hex()] * bool(command.payload)
        program = Program(self._path, *words, environment=self._environment)
        try:
            if not wait(lambda: program.ended, seconds + self.START, program, *others):
                raise Stuck(f"vlmctl {words} did not end")
            text = "\n".join(line for _, line in program.lines)
        finally:
            status = program.end()
        return Outcome(self._error_of(status, text, program.name))

    @staticmethod
    def _error_of(status, text, name):
        if status == 0:
            return 0
        if status == 3:
            return TIMEOUT
        if status == 4:
            return BUSY
        if status == 7 and "the bus does not deliver" in text:
            return NOT_SENT
        answer = json.loads(text.splitlines()[0]) if text else {}
        if status != 1 or "code" not in answer.get("error", {}):
            raise Stuck(f"{name} ended with {status}: {text}")
        return answer["error"]["code"]
