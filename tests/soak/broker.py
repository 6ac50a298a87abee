"""A broker under test: mosquitto, for everybody who reaches it."""
import os
import socket
import time

from programs import Program, Stuck

PATH = "/usr/sbin/mosquitto"
TRIES = 20  # another process may take a port first
START_LIMIT = 30  # seconds; far more than it takes

# It stays the user that it is; only root is asked.
REST = "set_tcp_nodelay true\nuser root\nlog_dest stderr\nlog_type information\nlog_type error\n"


def free_port(host):
    with socket.socket() as probe:
        probe.bind((host, 0))
        return probe.getsockname()[1]


class Broker:
    """On a port of `host` that was free; `prefix` are the words before its command, such as those that
    put it into another network, where `port` has to be given."""

    def __init__(self, folder, host="127.0.0.1", port=None, prefix=()):
        self.host = host
        self.port = port
        self._prefix = prefix
        self._configuration = os.path.join(folder, "mosquitto.conf")
        self._program = None
        for _ in range(TRIES):
            self.port = port or free_port(host)
            if self._starts():
                return
        raise Stuck(f"mosquitto does not start: {self._program.all_errors()}")

    def _starts(self):
        with open(self._configuration, "w", encoding="ascii") as file:
            file.write(f"listener {self.port} {self.host}\nallow_anonymous true\n{REST}")
        words = [*self._prefix, PATH, "-c", self._configuration]
        self._program = Program(words[0], *words[1:], environment=os.environ)
        # Its standard output would be buffered.
        deadline = time.monotonic() + START_LIMIT
        while time.monotonic() < deadline and self._program.process.poll() is None:
            if " running\n" in self._program.all_errors():
                return True
            time.sleep(0.005)
        return False

    def site(self, name="lab"):
        return f"mqtt://{self.host}:{self.port}/{name}"

    def kill(self):
        """At once, as a crash does."""
        self._program.process.kill()
        self._program.end()

    def start_again(self):
        """On its port, with nothing kept."""
        if not self._starts():
            raise Stuck(f"mosquitto does not start again: {self._program.all_errors()}")

    def end(self):
        self._program.end()
