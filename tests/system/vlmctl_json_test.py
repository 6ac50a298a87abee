#!/usr/bin/env python3
"""Holds what vlmctl --json prints against the schema that its page shows.

usage: vlmctl_json_test.py BIN_DIRECTORY PAGE

Every line has to be an object of no other keys than the page gives the command.
"""
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

PROGRAMS = pathlib.Path(sys.argv[1]).resolve()
PAGE = pathlib.Path(sys.argv[2]).read_text()
STOP_RECORDING = 5
NAMES_OF_FIELDS = {"value", "raw"}  # of groups: objects of their fields
TIME = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z")
NUMBER = (int, float, type(None))  # none: the camera told no number
TYPES = {"event": str, "status": str, "storage": int, "count": int, "file": str, "index": int,
         "result": int, "roll": NUMBER, "pitch": NUMBER, "yaw": NUMBER, "latitude": NUMBER,
         "longitude": NUMBER, "altitude": NUMBER, "time": str}
# What the operator of the camera types, each for another event.
NOTIFICATIONS = ("notify 5 42", "notify 6", "notify 7", "notify 8")


def documented(command):
    """The keys of the row that names the command."""
    rows = [row for row in re.findall(r"^\| (.*) \| (.*) \|$", PAGE, re.M) if "{" in row[1] or '"' in row[1]]
    texts = [text for commands, text in rows if command in re.findall(r"`([^`]*)`", commands)]
    assert texts, command
    return set(re.findall(r'"(\w+)"', " ".join(texts)))


def keys_of(value):
    if isinstance(value, dict):
        for key, part in value.items():
            yield key
            if key not in NAMES_OF_FIELDS:
                yield from keys_of(part)
    if isinstance(value, list):
        for part in value:
            yield from keys_of(part)


def documented_events():
    """{event: its keys} as the page's row has them: `picture` with `file`, `index` ...; ..."""
    (row,) = re.findall(r"^\| `events` \| `.*?`: (.*) \|$", PAGE, re.M)
    events = {}
    for part in row.split(". ")[0].split(";"):
        event, *keys = re.findall(r"`([^`]*)`", part)
        events[event] = {"event", *keys, "time"}
    return events


def check_events(camera, environment):
    """Every event with exactly its keys, each of its type."""
    expected = documented_events()
    vlmctl = subprocess.Popen([PROGRAMS / "vlmctl", "--json", "events", "--count", "12"], text=True,
                              env=environment, stdout=subprocess.PIPE)
    # When it begins to hear cannot be seen: they come again until it has heard enough.
    while vlmctl.poll() is None:
        camera.stdin.write("".join(line + "\n" for line in NOTIFICATIONS))
        camera.stdin.flush()
        try:
            vlmctl.wait(0.1)
        except subprocess.TimeoutExpired:
            pass
    events = [json.loads(line) for line in vlmctl.stdout]
    assert vlmctl.returncode == 0 and len(events) == 12, (vlmctl.returncode, events)
    assert {event["event"] for event in events} == set(expected), events
    for event in events:
        assert set(event) == expected[event["event"]], event
        for key, value in event.items():
            assert isinstance(value, TYPES[key]), (key, event)
        assert TIME.fullmatch(event["time"]), event


def main():
    value = documented("get")
    assert value == {"name", "value", "raw", "unit", "time"}, value
    verified = value | documented("set --verify") | {"dry_run"}
    error = {"error", "code", "name", "setting", "status", "message"}
    with tempfile.TemporaryDirectory() as directory:
        environment = {**os.environ, "VLM_BUS_DIR": os.path.join(directory, "bus")}
        camera = subprocess.Popen([PROGRAMS / "camera_sim"], env=environment, text=True,
                                  stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        for line in camera.stdout:
            if "ready" in line:
                break

        def check(keys, status, *words):
            done = subprocess.run([PROGRAMS / "vlmctl", "--timeout", "30s", "--json", *words],
                                  env=environment, cwd=directory, capture_output=True, text=True,
                                  timeout=100, check=False)
            assert done.returncode == status, (words, done)
            lines = done.stdout.splitlines()
            assert lines and not done.stderr, (words, done)
            for line in lines:
                found = set(keys_of(json.loads(line)))
                assert found <= keys, (words, found - keys)

        try:
            check(documented("describe"), 0, "describe")
            check(documented("list"), 0, "list")
            check(documented("list --cameras"), 0, "list", "--cameras")
            check(value, 0, "get", "--all")
            check(value, 0, "set", "image.osd=off")
            check(verified, 0, "set", "video=1280x720@25", "--verify")
            check(verified, 0, "set", "video=1280x720@25", "--dry-run")
            check(value, 0, "watch", "lens.zoom", "--every", "1ms", "--count", "3")
            check(value, 0, "wait", "camera.status=idle")
            check(value, 0, "save", "saved")
            check(value, 0, "set", "image.osd=on")
            check(documented("diff"), 10, "diff", "saved")
            check(value | documented("restore"), 0, "restore", "saved")
            check(documented("run"), 0, "run", "recording.start")
            check(value, 0, "send", "1")
            check(documented("send"), 0, "send", str(STOP_RECORDING))
            check(documented("ping"), 0, "ping", "--count", "3", "--interval", "1ms")
            check_events(camera, environment)
            check(error, 2, "get", "--nothing")
            check(error, 2, "nothing")
            check(error, 2)
            check(error, 5, "get", b"\xff\x01")
            check(error, 5, "get", "nothing")
            check(error, 1, "set", "white_balance.custom=50")
        finally:
            camera.terminate()
            camera.wait()


main()
