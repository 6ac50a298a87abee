#!/usr/bin/env python3
"""The pages: what stands in their console blocks is typed as printed, and prints what it says there;
their links lead somewhere, and the README leads to every page.

Needs the release build; run from anywhere.
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
PROGRAMS = ROOT / "build/release/bin"

# Commands that serve until they are ended, as in a terminal of their own, and what tells that they do.
SERVERS = {"./dev sim": "camera_sim: ready", "./dev service": "serving port"}


def blocks(page, language="console"):
    return re.findall(rf"^```{language}\n(.*?)^```$", page.read_text(), re.M | re.S)


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
