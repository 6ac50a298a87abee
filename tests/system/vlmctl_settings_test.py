#!/usr/bin/env python3
"""Saves all settings, changes some at random, restores, and compares: nothing may differ.

usage: vlmctl_settings_test.py BIN_DIRECTORY RUNS [--seed N] [--set N] [--timeout TIME]
       [CAMERA_SIM_OPTION...]

A second reader of what vlmctl prints: every line of describe and get is read as JSON here. The seed
is printed; each run has its own, the first one's plus its number.
"""
import argparse
import json
import os
import random
import string
import subprocess
import sys
import tempfile

NOT_SET = {"read-only", "write-only", "volatile"}


class Camera:
    """A simulated camera on a bus of its own, and vlmctl beside it."""

    def __init__(self, programs, options, timeout):
        self.programs = programs
        self.directory = tempfile.TemporaryDirectory()
        self.environment = dict(os.environ, VLM_BUS_DIR=os.path.join(self.directory.name, "bus"))
        faulty = any(option in ("--drop", "--reorder") for option in options)
        self.patience = ["--timeout", timeout] if timeout else []
        if faulty:
            self.patience = ["--timeout", timeout or "200ms", "--retries", "5"]
        self.process = subprocess.Popen(
            [os.path.join(programs, "camera_sim"), *options], env=self.environment,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        for line in self.process.stdout:
            if line.startswith("camera_sim: ready"):
                break

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()
        self.directory.cleanup()

    def file(self, name):
        return os.path.join(self.directory.name, name)

    def vlmctl(self, *arguments):
        return subprocess.run([os.path.join(self.programs, "vlmctl"), *self.patience, *arguments],
                              env=self.environment, capture_output=True, text=True, timeout=300,
                              check=False)

    def objects(self, *arguments):
        done = self.vlmctl("--json", *arguments)
        return done.returncode, [json.loads(line) for line in done.stdout.splitlines()]


def random_number(field, rng):
    low, high = field["range"]["min"], field["range"]["max"]
    scale = field.get("scale", 1)
    number = rng.randint(round(low * scale), round(high * scale))
    return str(number) if scale == 1 else repr(number / scale)


def random_value(field, rng):
    kind = field["type"]
    if kind == "choice":
        return rng.choice([c["name"] for c in field["choices"] if c.get("settable", True)])
    if kind == "bool":
        return rng.choice(["on", "off"])
    if kind == "float":
        return "%.4g" % rng.uniform(field["range"]["min"], field["range"]["max"])
    if kind == "ratio":
        return "%d/%d" % (rng.randint(1, 100), rng.randint(1, 250))
    if kind == "text":
        length = rng.randint(max(1, field["range"]["min"]), field["range"]["max"])
        return "".join(rng.choice(string.ascii_letters + string.digits) for _ in range(length))
    if kind == "bytes":
        return "".join("%02x" % rng.randrange(256) for _ in range(field["width"]))
    if kind == "group":
        return ",".join(f["name"] + "=" + random_value(f, rng) for f in field["fields"])
    return random_number(field, rng)


def check_shape(rows):
    for row in rows:
        for key in ("name", "kind", "type", "flags", "help"):
            assert key in row, (key, row)
        assert row["kind"] in ("setting", "reading", "action"), row
        assert set(row.get("codes", {})) <= {"get", "set", "run"}, row
    names = [row["name"] for row in rows]
    assert names == sorted(names) and len(set(names)) == len(names)


def check_reading(camera, rows):
    """Each value that get shows is of the type that describe tells."""
    types = {row["name"]: row["type"] for row in rows}
    python_types = {"bool": bool, "choice": str, "text": str, "bytes": str, "ratio": str, "group": dict}
    status, values = camera.objects("get", "--all")
    assert status == 0, status
    for value in values:
        wanted = python_types.get(types[value["name"]], (int, float))
        raw = isinstance(value["value"], str) and value["value"].startswith("raw:")
        assert raw or isinstance(value["value"], wanted), value
        assert "time" in value, value
    return {value["name"] for value in values}


def run_once(camera, settings, rng, how_many):
    saved = camera.vlmctl("save", camera.file("saved"))
    assert saved.returncode == 0, saved
    done = 0
    for row in rng.sample(settings, min(how_many, len(settings))):
        status = camera.vlmctl("set", row["name"] + "=" + random_value(row, rng)).returncode
        assert status in (0, 1, 3), (row["name"], status)  # some combinations the camera refuses
        done += status == 0
    restored = camera.vlmctl("restore", camera.file("saved"))
    assert restored.returncode == 0, restored
    compared = camera.vlmctl("diff", camera.file("saved"))
    assert compared.returncode == 0 and compared.stdout == "", compared
    # What is random now is what the next run starts from.
    for row in rng.sample(settings, min(how_many, len(settings))):
        camera.vlmctl("set", row["name"] + "=" + random_value(row, rng))
    return done


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("programs")
    parser.add_argument("runs", type=int)
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 30))
    parser.add_argument("--set", type=int, default=12, help="settings that a run changes")
    parser.add_argument("--timeout", help="for each answer, as vlmctl takes it")
    options, camera_options = parser.parse_known_args()
    print("seed", options.seed)
    with Camera(options.programs, camera_options, options.timeout) as camera:
        status, rows = camera.objects("describe")
        assert status == 0, status
        check_shape(rows)
        there = check_reading(camera, rows)
        settings = [row for row in rows if row["kind"] == "setting" and row["name"] in there
                    and not NOT_SET & set(row["flags"])]
        done = 0
        for run in range(options.runs):
            try:
                done += run_once(camera, settings, random.Random(options.seed + run), options.set)
            except AssertionError:
                print("run", run, "of seed", options.seed, file=sys.stderr)
                raise
        assert done >= options.runs, done
        print(options.runs, "runs,", len(settings), "settings,", done, "changes restored")


if __name__ == "__main__":
    main()
