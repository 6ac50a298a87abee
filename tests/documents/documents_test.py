#!/usr/bin/env python3
"""The pages: what stands in their console blocks is typed as printed, and prints what it says there;
their links lead somewhere, and the README leads to every page.

Needs the dev build; run from anywhere.
"""

import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAMS = ROOT / "build/dev/bin"

# Commands that serve until they are ended, as in a terminal of their own, and what tells that they do.
SERVERS = {"./dev sim": "camera_sim: ready", "./dev service": "serving port"}


def blocks(page, language="console"):
    fenced = re.findall(r"^```(\w*)\n(.*?)^```$", page.read_text(), re.M | re.S)
    return [block for name, block in fenced if name == language]


def examples(page):
    """[(command, expected output)]"""
    for example in re.split(r"^\$ ", "".join(blocks(page)), flags=re.M)[1:]:
        lines = example.splitlines(keepends=True)
        end = next((i for i, line in enumerate(lines) if i and not line.startswith("> ")), len(lines))
        yield "".join(lines[:end]).replace("\n> ", "\n").rstrip("\n"), "".join(lines[end:])


def without_durations(text):
    return re.sub(r"took: \d+ ms", "took: N ms", text)


class Terminals:
    """A place to type in, and a terminal for each command that serves."""

    def __init__(self, directory):
        self._directory = directory
        self._servers = []
        self._environment = {name: value for name, value in os.environ.items() if name != "VLM_BUS_DIR"}
        self._environment["PATH"] = f"{PROGRAMS}:{os.environ['PATH']}"

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for server, log in reversed(self._servers):
            os.killpg(server.pid, signal.SIGTERM)
            server.stdin.close()
            server.wait(30)
            log.close()

    def type(self, command):
        """What the command prints. One that serves goes on, and has printed nothing."""
        for server, ready in SERVERS.items():
            if command.startswith(server):
                return self._serve(command, ready)
        done = subprocess.run(["bash", "-c", command], cwd=self._directory, text=True, timeout=120,
                              env=self._environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return done.stdout

    def _serve(self, command, ready):
        log = tempfile.TemporaryFile("w+")
        server = subprocess.Popen(["bash", "-c", f"exec {command}"], cwd=self._directory,
                                  env=self._environment, stdin=subprocess.PIPE, stdout=log,
                                  stderr=subprocess.STDOUT, start_new_session=True)
        self._servers.append((server, log))
        deadline = time.monotonic() + 60
        while ready not in (text := pathlib.Path(f"/dev/fd/{log.fileno()}").read_text()):
            if server.poll() is not None or time.monotonic() > deadline:
                raise AssertionError(f"{command} does not serve:\n{text}")
            time.sleep(0.05)
        return ""


class Examples(unittest.TestCase):
    def expect_as_printed(self, page, directory):
        count = 0
        with Terminals(directory) as terminals:
            for command, expected in examples(page):
                with self.subTest(page=page.name, command=command):
                    printed = terminals.type(command)
                    self.assertEqual(without_durations(printed), without_durations(expected))
                count += 1
        self.assertGreater(count, 0)

    def test_readme(self):
        self.expect_as_printed(ROOT / "README.md", ROOT)

    def test_questions(self):
        self.expect_as_printed(ROOT / "docs/faq.md", ROOT)

    def test_time_log(self):
        with tempfile.TemporaryDirectory() as directory:
            shutil.copy(ROOT / "docs/time_log_sample.tar.gz", directory)
            self.expect_as_printed(ROOT / "docs/time_log.md", directory)
            picture = pathlib.Path(directory, "time_log.svg").read_text()
        self.assertEqual(picture, (ROOT / "docs/time_log.svg").read_text())


class Sessions(unittest.TestCase):
    """Blocks that are one shell's session, on a bus of their own."""

    def setUp(self):
        self._directory = tempfile.TemporaryDirectory()
        self.addCleanup(self._directory.cleanup)
        self._environment = {**os.environ, "VLM_BUS_DIR": f"{self._directory.name}/bus",
                             "PATH": f"{PROGRAMS}:{os.environ['PATH']}"}

    def start(self, command, **arguments):
        """The command, in a shell; ended, with all that it started, when the test ends."""
        process = subprocess.Popen(["bash", "-c", command], cwd=self._directory.name, text=True,
                                   env=self._environment, stdin=subprocess.DEVNULL,
                                   start_new_session=True, **arguments)
        self.addCleanup(self.end, process)
        return process

    @staticmethod
    def end(process):
        if process.poll() is None:
            os.killpg(process.pid, signal.SIGTERM)
            process.wait(30)
        if process.stdout:
            process.stdout.close()

    def expect_session(self, page):
        (block,) = blocks(page)
        block = block.replace("/tmp/my_bus", f"{self._directory.name}/bus")
        lines = block.splitlines(keepends=True)
        script = "".join(line[2:] for line in lines if line.startswith("$ "))
        expected = "".join(line for line in lines if not line.startswith("$ "))
        # What serves in the background keeps the session, but not its output.
        shell = self.start(script + "exec >&-; wait", stdout=subprocess.PIPE)
        self.assertEqual(self.without_numbers(shell.stdout.read()), self.without_numbers(expected))

    @staticmethod
    def without_numbers(text):
        # Which thread of a program subscribes first is its own affair.
        return re.sub(r"\.\d+\.\d+$", ".PID.N", text, flags=re.M)

    def test_bus(self):
        self.expect_session(ROOT / "docs/bus.md")

    def test_camera_sim(self):
        self.expect_session(ROOT / "docs/camera_sim.md")

    def camera(self, options):
        camera = self.start(f"exec camera_sim {options}", stdout=subprocess.PIPE)
        self.assertTrue(any(line.startswith("camera_sim: ready") for line in camera.stdout))
        return camera

    def test_camera_sim_options(self):
        examples, script = blocks(ROOT / "docs/camera_sim.md", language="")
        commands = re.findall(r"^\$ camera_sim (.*?)#", examples, re.M)
        self.assertEqual(len(commands), 3)
        for options in commands[:2]:
            self.end(self.camera(options))
        camera = self.camera(commands[2])
        subprocess.run(["vlm_test", "2", "2"], env=self._environment, check=True, timeout=60,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        for line in examples.splitlines()[3:]:
            self.assertEqual(camera.stdout.readline(), f"{line}\n")
        self.end(camera)
        pathlib.Path(self._directory.name, "scenario").write_text(script)
        self.camera("--script scenario")


class Links(unittest.TestCase):
    PAGES = [ROOT / "README.md", ROOT / "CONTRIBUTING.md", ROOT / "CHANGELOG.md",
             *sorted((ROOT / "docs").glob("*.md"))]

    def links(self, page):
        text = re.sub(r"^```.*?^```$", "", page.read_text(), flags=re.M | re.S)
        for target in re.findall(r"\]\(([^)\s]+)\)", text):
            if not re.match(r"[a-z]+:", target):
                yield target

    def test_lead_somewhere(self):
        for page in self.PAGES:
            for link in self.links(page):
                path, _, anchor = link.partition("#")
                target = page.parent / path if path else page
                with self.subTest(page=page.name, link=link):
                    self.assertTrue(target.exists())
                    if anchor:
                        self.assertIn(anchor, self.anchors(target))

    def anchors(self, page):
        headings = re.findall(r"^#+ (.*)", page.read_text(), re.M)
        return [re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings]

    def test_the_readme_leads_to_every_page(self):
        linked = {(ROOT / link.partition("#")[0]).resolve() for link in self.links(ROOT / "README.md")}
        for page in [*self.PAGES[1:], *sorted((ROOT / "docs/man").iterdir())]:
            with self.subTest(page=page.name):
                self.assertTrue(page in linked or page.parent in linked)


if __name__ == "__main__":
    unittest.main()
