"""What the simulated camera got and sent, from the lines of `camera_sim --verbose`."""
import re
from dataclasses import dataclass

CAMERA_MESSAGE = 3
PAYLOAD_SIZE = 128
SILENT = ("ignored: muted", "ignored: the camera restarts")

REQUEST = re.compile(r"-> (\d+) [^\"]*?((?: [0-9a-f]{2})*)(?: \".*)?$")
REPLY = re.compile(r"<- (\d+) [^\[]*\[(\d+) [^\]]*\]((?: [0-9a-f]{2})*)(?: \".*\")?"
                   r"(?:, of (\d+) bytes)?(?:, bit (\d+) flipped)?$")


@dataclass(frozen=True)
class Request:
    when: float
    code: int
    payload: bytes  # without the zeros at its end; empty: a text, which the log shows otherwise


@dataclass(frozen=True)
class Reply:
    """As a client gets it: damaged, and completed with zeros where it was cut."""
    when: float
    kind: int
    code: int
    error: int
    payload: bytes
    damaged: bool

    def answers(self, code):
        return self.kind == CAMERA_MESSAGE and self.code == code


def delivered(when, found):
    code, error, payload, length, bit = found.groups()
    payload = bytes.fromhex(payload).ljust(PAYLOAD_SIZE, b"\0")
    message = bytearray(bytes([CAMERA_MESSAGE]) + int(code).to_bytes(2, "little") + payload +
                        int(error).to_bytes(2, "little"))
    size = len(message)
    if bit is not None:
        message[int(bit) // 8] ^= 1 << int(bit) % 8
    if length is not None:
        message = message[:int(length)].ljust(size, b"\0")
    return Reply(when, message[0], int.from_bytes(message[1:3], "little"),
                 int.from_bytes(message[-2:], "little"), bytes(message[3:-2]),
                 bit is not None or length is not None)


@dataclass
class Log:
    requests: list
    replies: list  # in the order in which they went out
    silent: int = 0  # requests without a reply: it was lost, or none was made


def read(lines):
    log = Log([], [])
    for when, line in lines:
        if found := REPLY.match(line):
            log.replies.append(delivered(when, found))
        elif found := REQUEST.match(line):
            log.requests.append(Request(when, int(found[1]), bytes.fromhex(found[2]).rstrip(b"\0")))
        elif line.startswith("<- lost: ") or line in SILENT:
            log.silent += 1
    return log
