#!/usr/bin/env python3
"""Runs every line of the cookbook, with two simulated cameras and the UDP service.

usage: vlmctl_cookbook_test.py PROGRAMS COOKBOOK
"""
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

PROGRAMS = pathlib.Path(sys.argv[1]).resolve()
TEXT = pathlib.Path(sys.argv[2]).read_text()

# What would take long, or is elsewhere; each has to occur.
SHORTER = {"repeat 1800": "repeat 2", "sleep 2s": "sleep 10ms", "--for 10s": "--for 100ms",
           "--every 1s --count 60": "--every 10ms --count 6",
           "--every 200ms --count 300": "--every 10ms --count 6"}
# The cameras may differ, and settings may have changed: that is what is asked.
STATUSES = {"diff": {0, 10}}


def start(arguments, bus, ready):
    process = subprocess.Popen([PROGRAMS / arguments[0], *arguments[1:]], text=True,
                               env={**os.environ, "VLM_BUS_DIR": bus}, stdin=subprocess.PIPE,
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    for line in process.stdout:
        if ready in line:
            return process, line
    sys.exit(f"{arguments[0]} does not serve")


def check_files(directory):
    """What the lines wrote is what their readers take."""
    for line in (directory / "log.txt").read_text().splitlines():
        assert re.fullmatch(r"\S+Z (lens\.zoom|camera\.status) = .+", line), line
    for line in (directory / "log.json").read_text().splitlines():
        assert json.loads(line)["name"] == "exposure", line
    assert (directory / "settings.txt").read_text().startswith("# vlm-settings 1\n")
    suite = xml.etree.ElementTree.parse(directory / "result.xml").getroot()
    assert (suite.get("tests"), suite.get("failures")) == ("4", "0"), suite.attrib


def main():
    lines = re.findall(r"^```sh\n(.*)\n```$", TEXT, re.M)
    assert len(lines) >= 20, len(lines)
    with tempfile.TemporaryDirectory() as directory:
        buses = [os.path.join(directory, name) for name in ("bus_a", "bus_b")]
        processes = [start(["camera_sim"], bus, "ready")[0] for bus in buses]
        service, line = start(["vlm_udp_service", "--port", "0"], buses[0], "serving port")
        processes.append(service)
        replaced = {**SHORTER, "udp://192.168.1.10": "udp://127.0.0.1:" + line.split()[-1]}
        environment = {**os.environ, "VLM_BUS_DIR": buses[0],
                       "PATH": f"{PROGRAMS}:{os.environ['PATH']}"}
        try:
            for text in replaced:
                assert text in TEXT, text
            for line in lines:
                command = line
                for text, other in replaced.items():
                    command = command.replace(text, other)
                done = subprocess.run(["bash", "-c", command], cwd=directory, env=environment,
                                      stdin=subprocess.DEVNULL, capture_output=True, text=True,
                                      timeout=60, check=False)
                allowed = STATUSES["diff"] if " diff " in line else {0}
                assert done.returncode in allowed, (line, done)
                assert not done.stderr or "--wait" in line, (line, done)
            check_files(pathlib.Path(directory))
        finally:
            for process in reversed(processes):
                process.terminate()
                process.wait()
    print(len(lines), "lines")


main()
