"""What is asked of the camera, in the words of each of its clients."""
from dataclasses import dataclass

REPLY_LIMIT = 3.0  # seconds that a client waits for the camera
STATUS = 6
STATUS_LIMIT = 0.5  # the same, for this command


@dataclass(frozen=True)
class Command:
    code: int  # on the bus
    payload: bytes = b""
    words: str = ""  # behind the code, for the console
    option: int = None  # of the UDP service; none: it does not offer the command
    data: bytes = b""  # of its request
    one_byte: bool = False  # its reply holds the first byte of the camera's

    def limit(self):
        return STATUS_LIMIT if self.code == STATUS else REPLY_LIMIT


def setter(code, option, values):
    return [Command(code, bytes([value]), f" {value}", option, bytes([value])) for value in values]


def getter(code, option=None):
    return [Command(code, option=option, one_byte=option is not None)]


COMMANDS = (
    setter(2, 7, (1, 2)) + getter(1, 4121) +  # mode
    setter(14, 21, (0, 1, 4, 23)) + getter(13, 4114) +  # white balance; 23 is refused
    setter(18, 19, (0, 1, 2, 25)) + getter(17) +  # metering
    setter(20, 20, (0, 1, 2)) + getter(19) +  # anti-flicker
    setter(22, 22, (0, 1, 2, 3)) + getter(21, 4120) +  # colours
    setter(24, 251, (0, 1, 2, 3)) + getter(23) +  # picture quality
    setter(26, 10, (1, 131, 35)) + getter(25) +  # picture format
    setter(41, 40, (0, 1)) + getter(40, 41) +  # television standard
    setter(43, 45, (1, 3)) + getter(42, 4123) +  # encoding
    setter(47, 46, (1, 2, 3)) + getter(46, 4124) +  # ratio
    getter(STATUS) + getter(29) +
    [Command(3, option=3), Command(66, option=4), Command(15, option=4116),
     Command(31, option=23), Command(36, option=71),
     Command(37, bytes([30, 70]), " 30 70", 36, bytes([30, 70])),
     Command(83, bytes.fromhex("0000b040"), " 5.5"), Command(82)])
