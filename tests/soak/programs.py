"""The programs under test as children: what they print, and what they take of the machine."""
import os
import re
import select
import subprocess
import tempfile
import time
from collections import Counter

START_LIMIT = 30  # seconds; far more than any of them takes


class Stuck(Exception):
    """Something did not happen in its time."""


class Program:
    """A child whose output is read without ever waiting for it: after `drain`, all that it printed
    before is in `lines`."""

    def __init__(self, path, *options, environment, tally="$^"):
        self.name = os.path.basename(path)
        self.tally = 0  # lines so far in which the pattern `tally` is found
        self.errors = tempfile.TemporaryFile("w+")
        self.process = subprocess.Popen([path, *options], env=environment, stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=self.errors)
        os.set_blocking(self.process.stdout.fileno(), False)
        self.lines = []  # (when it was read, text)
        self.ended = False  # it prints no more
        self._rest = b""
        self._tallied = re.compile(tally)

    def fileno(self):
        return self.process.stdout.fileno()

    def drain(self):
        while not self.ended:
            try:
                data = os.read(self.fileno(), 65536)
            except BlockingIOError:
                return
            now = time.monotonic()
            self.ended = not data
            *whole, self._rest = (self._rest + data).split(b"\n")
            for line in whole:
                text = line.decode(errors="replace")
                self.lines.append((now, text))
                self.tally += bool(self._tallied.search(text))

    def say(self, line):
        self.process.stdin.write(line.encode() + b"\n")
        self.process.stdin.flush()

    def printed(self, pattern):
        """The last line that matches, or None."""
        for _, line in reversed(self.lines):
            if found := re.search(pattern, line):
                return found
        return None

    def all_errors(self):
        self.errors.seek(0)
        return self.errors.read()

    def end(self):
        """Ends it and returns its status; killed when SIGTERM does not end it."""
        if self.process.poll() is None:
            self.process.terminate()
        try:
            self.process.wait(START_LIMIT)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()
        return self.process.returncode

    def usage(self):
        """Its resident memory in KiB, its open descriptors, its threads; raises Stuck when it has ended."""
        if self.process.poll() is not None:
            raise Stuck(f"{self.name} has ended with {self.process.returncode}: {self.all_errors()}")
        place = f"/proc/{self.process.pid}"
        with open(place + "/status", encoding="ascii") as status:
            numbers = dict(re.findall(r"^(VmRSS|Threads):\s*(\d+)", status.read(), re.M))
        return int(numbers["VmRSS"]), len(os.listdir(place + "/fd")), int(numbers["Threads"])

    def descriptors(self):
        """How many it has open of each kind, or file."""
        place = f"/proc/{self.process.pid}/fd"
        return Counter(re.sub(r"\[\d+\]", "", os.readlink(f"{place}/{each}"))
                       for each in os.listdir(place))


def wait(condition, seconds, *readable):
    """Reads `readable` (programs, sockets) until `condition()` holds; True when it did in time."""
    deadline = time.monotonic() + seconds
    while True:
        for each in readable:
            if isinstance(each, Program):
                each.drain()
        if condition():
            return True
        left = deadline - time.monotonic()
        if left <= 0:
            return False
        select.select([each for each in readable if not getattr(each, "ended", False)], [], [],
                      min(left, 1))


def await_line(program, pattern, seconds=START_LIMIT):
    """The first thing that it prints and that matches; raises Stuck when it does not."""
    if not wait(lambda: program.printed(pattern) or program.ended, seconds, program) or \
            not program.printed(pattern):
        raise Stuck(f"{program.name} did not print {pattern!r}: {program.lines[-5:]} "
                    f"{program.all_errors()}")
    return program.printed(pattern)
