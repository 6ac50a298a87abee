#!/usr/bin/env python3
"""The UDP service's --bind, --allow and --rate, in a network of its own with addresses of its own.

usage: udp_service_network_test.py BIN_DIRECTORY

Exits with 77 where this user may make no network namespace.
"""
import os
import socket
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "soak"))

from clients import crc_of, packet_of  # noqa: E402
from programs import Program, await_line, wait  # noqa: E402

SKIPPED = 77
LIMIT = 60  # seconds; a busy machine is slow
PORT = 9528  # of a network in which nobody else is
PROGRAMS = ""  # the directory

SERVED, OTHER = "10.9.0.1", "10.9.1.1"  # addresses of the service's machine
FRIEND, STRANGER = "10.9.0.2", "10.9.1.2"  # of senders

HEARTBEAT = packet_of(0, b"")  # answered at once, as unsupported
GET_MODE = packet_of(4121, b"")


class App:
    """An application that sends from an address of its own."""

    def __init__(self, own, service):
        self._socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self._socket.bind((own, 0))
        self._socket.connect((service, PORT))
        self._socket.settimeout(LIMIT)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._socket.close()

    def send(self, packet):
        self._socket.send(packet)

    def receive(self):
        return self._socket.recv(264)

    def ask(self, packet):
        self.send(packet)
        return self.receive()

    def has_nothing(self):
        self._socket.setblocking(False)
        try:
            self._socket.recv(264)
        except BlockingIOError:
            return True
        return False


def is_reply(reply, option):
    return reply[6:8] == option.to_bytes(2, "big") and \
        reply[-2:] == crc_of(reply[1:-2]).to_bytes(2, "big")


class TheService(unittest.TestCase):
    def setUp(self):
        self._directory = tempfile.TemporaryDirectory(prefix="vlm_network.")
        self.addCleanup(self._directory.cleanup)
        self._environment = dict(os.environ, VLM_BUS_DIR=os.path.join(self._directory.name, "bus"))

    def start(self, name, *options):
        program = Program(os.path.join(PROGRAMS, name), *options, environment=self._environment)
        self.addCleanup(program.end)
        return program

    def serve(self, *options):
        service = self.start("vlm_udp_service", "--sdcard", self._directory.name, *options)
        await_line(service, f"serving port {PORT}")
        return service

    def wait_for_error(self, program, text):
        self.assertTrue(wait(lambda: text in program.all_errors(), LIMIT, program),
                        program.all_errors())

    def test_serves_all_addresses_unless_told_otherwise(self):
        self.serve()
        for address in (SERVED, OTHER, "127.0.0.1"):
            with App(address, address) as app:
                self.assertTrue(is_reply(app.ask(HEARTBEAT), 0))

    def test_serves_the_bound_address_alone(self):
        self.serve("--bind", SERVED)
        with App(FRIEND, SERVED) as app:
            self.assertTrue(is_reply(app.ask(HEARTBEAT), 0))
        for address in (OTHER, "127.0.0.1"):
            with App(address, address) as app:
                with self.assertRaises(ConnectionRefusedError):
                    app.ask(HEARTBEAT)

    def test_refuses_an_address_that_is_not_the_machine_s(self):
        service = self.start("vlm_udp_service", "--bind", "10.77.0.1")
        self.assertTrue(wait(lambda: service.ended, LIMIT, service))
        self.assertEqual(service.process.wait(LIMIT), 1)
        self.assertEqual(service.all_errors(), f"vlm_udp_service: port {PORT} cannot be served: "
                                               "Cannot assign requested address\n")

    def test_drops_and_counts_what_comes_from_elsewhere(self):
        service = self.serve("--allow", "10.9.0.0/24", "--allow", "127.0.0.1")
        with App(FRIEND, SERVED) as friend, App(STRANGER, SERVED) as stranger:
            for _ in range(3):
                stranger.send(HEARTBEAT)
            self.assertTrue(is_reply(friend.ask(HEARTBEAT), 0))
            self.assertTrue(stranger.has_nothing())
        service.process.terminate()
        self.assertTrue(wait(lambda: service.ended, LIMIT, service))
        told = "of senders that are not allowed, 0 of senders that sent too many; the last of"
        self.assertEqual(service.all_errors(),
                         f"vlm_udp_service: datagrams dropped so far: 1 {told} {STRANGER}\n"
                         f"vlm_udp_service: datagrams dropped in all: 3 {told} {STRANGER}\n")
        received = [line for _, line in service.lines if "Received msg" in line]
        self.assertEqual(len(received), 1, "a dropped datagram was printed")

    def test_gives_no_stranger_the_reply_to_somebody_else(self):
        camera = self.start("camera_sim", "--verbose", "--latency", "1s")
        await_line(camera, "camera_sim: ready")
        service = self.serve("--allow", FRIEND)
        with App(FRIEND, SERVED) as friend, App(STRANGER, SERVED) as stranger:
            friend.send(GET_MODE)
            await_line(camera, "-> 1 ")
            stranger.send(HEARTBEAT)  # the next sender, were it served
            self.wait_for_error(service, STRANGER)
            self.assertTrue(is_reply(friend.receive(), 4121))
            self.assertTrue(stranger.has_nothing())

    def test_drops_what_a_sender_sends_too_fast_and_serves_the_others(self):
        service = self.serve("--rate", "2")
        with App(STRANGER, SERVED) as hasty, App(FRIEND, SERVED) as friend:
            while "sent too many" not in service.all_errors():
                hasty.send(HEARTBEAT)
            self.assertTrue(is_reply(friend.ask(HEARTBEAT), 0))


def in_a_network_of_its_own(*command):
    """Runs it in a new network namespace with the addresses above; None where that is not permitted."""
    unshare = ["unshare", "--map-root-user", "--net"]
    if subprocess.run([*unshare, "true"], stderr=subprocess.DEVNULL, check=False).returncode != 0:
        return None
    addresses = " && ".join(f"ip address add {address}/24 dev lo"
                            for address in (SERVED, OTHER, FRIEND, STRANGER))
    return subprocess.run([*unshare, "sh", "-c", f"ip link set lo up && {addresses} && exec \"$@\"",
                           "sh", *command], check=False).returncode


if __name__ == "__main__":
    if sys.argv[1:2] == ["--inside"]:
        PROGRAMS = sys.argv[2]
        unittest.main(argv=sys.argv[:1], warnings="ignore")
    status = in_a_network_of_its_own(sys.executable, __file__, "--inside", *sys.argv[1:])
    if status is None:
        print("left out: no network namespace may be made here")
        status = SKIPPED
    sys.exit(status)
