#!/usr/bin/env python3
"""Certificates made as fleet.md shows it, the broker of the examples, and who gets in.

usage: fleet_security_test.py PROGRAMS REPOSITORY
"""
import os
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAMS = pathlib.Path(sys.argv[1]).resolve()
REPOSITORY = pathlib.Path(sys.argv[2]).resolve()
EXAMPLES = REPOSITORY / "packaging/fleet"
LIMIT_S = 30
TIMED_OUT = "timeout waiting for answer"


def free_ports(count):
    sockets = [socket.socket() for _ in range(count)]
    for each in sockets:
        each.bind(("127.0.0.1", 0))
    ports = [each.getsockname()[1] for each in sockets]
    for each in sockets:
        each.close()
    return ports


class Lines:
    """A program that prints into a file, until the end of the tests."""

    def __init__(self, folder, name, *arguments, **environment):
        self.path = folder / f"{name}.log"
        with open(self.path, "wb") as log:
            self.process = subprocess.Popen(
                arguments, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                env={**os.environ, **environment})

    def text(self):
        return self.path.read_text()

    def wait_for(self, text):
        end = time.monotonic() + LIMIT_S
        while text not in self.text():
            if time.monotonic() > end or self.process.poll() is not None:
                raise AssertionError(f"no {text!r} in: {self.text()}")
            time.sleep(0.01)

    def end(self):
        self.process.kill()
        self.process.wait()


class Security(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.temporary.cleanup)
        cls.folder = pathlib.Path(cls.temporary.name)
        cls.make_certificates(cls.folder)
        cls.start_broker()
        bus = f"unix:{cls.folder}/bus"
        cls.camera = cls.start("camera_sim", PROGRAMS / "camera_sim", "--verbose", VLM_BUS=bus)
        cls.camera.wait_for("ready")
        cls.bridge = cls.start_bridge("bridge", "cam-1", "cam-1", bus)
        cls.bridge.wait_for("serves ")

    @classmethod
    def start(cls, name, *arguments, **environment):
        lines = Lines(cls.folder, name, *arguments, **environment)
        cls.addClassCleanup(lines.end)
        return lines

    @classmethod
    def make_certificates(cls, folder):
        """Exactly what the page shows, and one more camera's."""
        page = (REPOSITORY / "docs/fleet.md").read_text()
        shown = re.search(r"^## Certificates$.*?^```sh\n(.*?)^```$", page, re.M | re.S).group(1)
        subprocess.run(["bash", "-ec", shown + "certificate sim-1\n"], cwd=folder, check=True, capture_output=True)

    @classmethod
    def start_broker(cls):
        """The examples as they are, but for their folder, their ports and that one more camera."""
        answers = "topic write vlm/1/client/+/+/rep\n"
        (cls.folder / "acl").write_text((EXAMPLES / "acl").read_text() + f"\nuser sim-1\n{answers}")
        subprocess.run(["mosquitto_passwd", "-b", "-c", cls.folder / "passwords", "operator", "secret"],
                       check=True)
        text = (EXAMPLES / "mosquitto.conf").read_text()
        text = text.replace("/etc/mosquitto/vlm", str(cls.folder))
        for _ in range(20):  # another process may take a port first
            cls.port, cls.password_port = free_ports(2)
            ported = text.replace("listener 8883", f"listener {cls.port}")
            ported = ported.replace("listener 8884", f"listener {cls.password_port}")
            (cls.folder / "mosquitto.conf").write_text(
                ported + f"log_dest stderr\nuser {os.environ.get('USER', 'root')}\n")
            cls.broker = cls.start("mosquitto", "/usr/sbin/mosquitto", "-c",
                                   cls.folder / "mosquitto.conf")
            try:
                cls.broker.wait_for(" running")
                return
            except AssertionError:
                continue
        raise AssertionError(cls.broker.text())

    @classmethod
    def files_of(cls, name, folder=None):
        folder = folder or cls.folder
        return {"VLM_MQTT_CA_FILE": f"{folder}/ca.crt", "VLM_MQTT_CERT_FILE": f"{folder}/{name}.crt",
                "VLM_MQTT_KEY_FILE": f"{folder}/{name}.key"}

    @classmethod
    def options_of(cls, name):
        """The same as options."""
        files = cls.files_of(name)
        return ["--mqtt-ca-file", files["VLM_MQTT_CA_FILE"],
                "--mqtt-cert-file", files["VLM_MQTT_CERT_FILE"],
                "--mqtt-key-file", files["VLM_MQTT_KEY_FILE"]]

    @classmethod
    def start_bridge(cls, log, name, camera, bus):
        return cls.start(log, PROGRAMS / "vlm_bus_bridge", "--broker",
                         f"mqtts://{name}@localhost:{cls.port}/lab/{camera}", "--local", bus,
                         *cls.options_of(name))

    def console(self, user, *command, files=None, port=None):
        """What the console prints, with its errors."""
        files = self.files_of(user) if files is None else files
        address = f"mqtts://{user}@localhost:{port or self.port}/lab/cam-1"
        done = subprocess.run([PROGRAMS / "vlm_test", *command], capture_output=True, text=True,
                              timeout=LIMIT_S, stdin=subprocess.DEVNULL, check=False,
                              env={**os.environ, **files, "VLM_BUS": address})
        return done.stdout + done.stderr

    def vlmctl(self, *arguments, lines=""):
        """What vlmctl prints, with its errors, where no variable names a file."""
        done = subprocess.run([PROGRAMS / "vlmctl", *arguments], input=lines, capture_output=True,
                              text=True, timeout=LIMIT_S, check=False,
                              env={**os.environ, "VLM_BUS": f"mqtts://viewer@localhost:{self.port}/lab"})
        return done.stdout + done.stderr

    def test_the_operator_asks_and_sets(self):
        self.assertIn("Recv GET_CAMERA_MODE Ack OK", self.console("operator", "1"))
        self.assertIn("Recv SET_AE Ack OK", self.console("operator", "8", "0"))

    def test_vlmctl_takes_the_files_as_options(self):
        camera = ["--camera", f"mqtts://operator@localhost:{self.port}/lab/cam-1"]
        mode = "camera.mode = video\n"
        self.assertIn("cannot reach mqtts://localhost", self.vlmctl(*camera, "get", "camera.mode"))
        options = self.options_of("operator")
        self.assertEqual(self.vlmctl(*options, *camera, "get", "camera.mode"), mode)
        self.assertEqual(self.vlmctl(*camera, *options, "shell", lines="get camera.mode\n" * 2), mode * 2)

    def test_vlmctl_takes_the_password_as_an_option(self):
        (self.folder / "password_of_option").write_text("secret\n")
        self.assertEqual(
            self.vlmctl("--mqtt-ca-file", self.folder / "ca.crt",
                        f"--mqtt-password-file={self.folder}/password_of_option", "--camera",
                        f"mqtts://operator@localhost:{self.password_port}/lab/cam-1", "get", "camera.mode"),
            "camera.mode = video\n")

    def test_the_cameras_of_a_site_are_asked_with_the_same_files(self):
        site = ["--site", f"mqtts://operator@localhost:{self.port}/lab"]
        options = self.options_of("operator")
        self.assertIn("cam-1 ", self.vlmctl(*site, *options, "list", "--cameras"))
        self.assertIn("cam-1 ", self.vlmctl(*self.options_of("viewer"), "--site", "lab", "list", "--cameras"))
        for order in [*site, *options], [*options, *site]:
            self.assertIn("cam-1: camera.mode = video\n",
                          self.vlmctl(*order, "--all-cameras", "get", "camera.mode"))

    def test_the_other_programs_take_the_files_as_options(self):
        site = f"localhost:{self.port}/lab"
        fleet = self.start("fleet", PROGRAMS / "camera_sim", "--fleet", "1", "--camera-prefix", "sim-",
                           *self.options_of("sim-1"), VLM_BUS=f"mqtts://sim-1@{site}")
        fleet.wait_for("ready, 1 cameras")
        operator = self.options_of("operator")
        address = f"mqtts://operator@{site}/sim-1"
        self.assertEqual(self.vlmctl(*operator, "--camera", address, "get", "camera.mode"),
                         "camera.mode = video\n")
        probe = [PROGRAMS / "vlm_bus_probe", "velmar_repeater_udp", "--wait", "20000", *operator]
        self.assertEqual(subprocess.run(probe, check=False, env={**os.environ, "VLM_BUS": address}).returncode, 0)
        service = self.start("service", PROGRAMS / "vlm_udp_service", "--port", "0", *operator,
                             VLM_BUS=address)
        service.wait_for("serving port")

    def test_the_operator_gets_in_with_the_password(self):
        (self.folder / "password").write_text("secret\n")
        files = {"VLM_MQTT_CA_FILE": f"{self.folder}/ca.crt",
                 "VLM_MQTT_PASSWORD_FILE": f"{self.folder}/password"}
        self.assertIn("Recv GET_CAMERA_MODE Ack OK",
                      self.console("operator", "1", files=files, port=self.password_port))

    def test_a_wrong_password_is_refused(self):
        (self.folder / "wrong").write_text("guess\n")
        files = {"VLM_MQTT_CA_FILE": f"{self.folder}/ca.crt",
                 "VLM_MQTT_PASSWORD_FILE": f"{self.folder}/wrong"}
        self.assertIn("the broker refuses the connection",
                      self.console("operator", "6", files=files, port=self.password_port))

    def test_nobody_is_let_in_without_a_password(self):
        files = {"VLM_MQTT_CA_FILE": f"{self.folder}/ca.crt"}
        self.assertIn("the broker refuses the connection",
                      self.console("operator", "6", files=files, port=self.password_port))

    def test_nobody_is_let_in_without_a_certificate(self):
        printed = self.console("operator", "6", files={"VLM_MQTT_CA_FILE": f"{self.folder}/ca.crt"})
        self.assertIn("vlm_bus: cannot reach mqtts://localhost", printed)
        self.assertIn(TIMED_OUT, printed)

    def test_a_certificate_of_another_authority_is_refused(self):
        with tempfile.TemporaryDirectory() as other:
            self.make_certificates(other)
            files = {**self.files_of("operator", other),
                     "VLM_MQTT_CA_FILE": f"{self.folder}/ca.crt"}
            printed = self.console("operator", "6", files=files)
            self.assertIn("vlm_bus: cannot reach mqtts://localhost", printed)
            self.assertIn(TIMED_OUT, printed)

    def test_a_broker_of_another_authority_is_not_trusted(self):
        with tempfile.TemporaryDirectory() as other:
            self.make_certificates(other)
            files = {**self.files_of("operator"), "VLM_MQTT_CA_FILE": f"{other}/ca.crt"}
            self.assertIn("vlm_bus: cannot reach mqtts://localhost",
                          self.console("operator", "6", files=files))

    def test_a_viewer_sees_the_camera_and_cannot_ask_it(self):
        before = self.camera.text().count("GET_CAMERA_STATUS")
        address = f"mqtts://viewer@localhost:{self.port}/lab/cam-1"
        probe = subprocess.run([PROGRAMS / "vlm_bus_probe", "velmar_repeater_udp", "--wait", "20000"],
                               env={**os.environ, **self.files_of("viewer"), "VLM_BUS": address},
                               check=False)
        self.assertEqual(probe.returncode, 0)
        self.assertIn(TIMED_OUT, self.console("viewer", "6"))
        self.assertEqual(self.camera.text().count("GET_CAMERA_STATUS"), before)

    def test_formatting_takes_the_right_to_serve(self):
        self.assertIn(TIMED_OUT, self.console("operator", "27"))
        self.assertNotIn("-> 27 FORMAT_SDCARD", self.camera.text())
        self.assertIn("Recv FORMAT_SDCARD Ack OK", self.console("service", "27"))

    def test_a_bridge_is_confined_to_its_own_camera(self):
        other = self.start_bridge("other", "cam-2", "cam-1", f"unix:{self.folder}/other_bus")
        other.wait_for("the broker does not let this user")
        self.assertNotIn("serves ", other.text())
        self.assertIn("Recv GET_CAMERA_MODE Ack OK", self.console("operator", "1"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
