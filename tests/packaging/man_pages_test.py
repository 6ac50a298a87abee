#!/usr/bin/env python3
"""The manual pages: sound, in step with the programs, and their examples work.

usage: man_pages_test.py PAGES PROGRAMS     folders of the built pages, NAME.SECTION.gz, and programs
"""

import gzip
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import unittest

PAGES = pathlib.Path(sys.argv[1]).resolve()
PROGRAMS = pathlib.Path(sys.argv[2]).resolve()
TOOLS = {"camera_sim": 1, "vlm_bus_bridge": 8, "vlm_bus_monitor": 1, "vlm_bus_probe": 1, "vlm_bus_replay": 1,
         "vlm_time_report": 1, "vlm_udp_service": 8, "vlmctl": 1}
SECTIONS = {**TOOLS, "vlm_test": 1, "vlm_bus": 7}


def source(name):
    with gzip.open(PAGES / f"{name}.{SECTIONS[name]}.gz", "rt") as page:
        return page.read()


def section(name, title):
    """A section of the page as its reader sees it, in lines too long to be broken."""
    text = subprocess.run(["mandoc", "-Tascii", "-Owidth=400"], input=source(name), text=True,
                          check=True, stdout=subprocess.PIPE).stdout
    text = re.sub(".\b", "", text)  # bold and underlined by overstriking
    return re.search(rf"^{title}\n(.*?)^(?=\S)", text, re.M | re.S)[1]


def output_of(program, *arguments, stdin=""):
    with tempfile.TemporaryDirectory() as bus:
        return subprocess.run([PROGRAMS / program, *arguments], input=stdin, text=True, timeout=60,
                              env={**os.environ, "VLM_BUS_DIR": bus}, stdout=subprocess.PIPE).stdout


class Pages(unittest.TestCase):
    def test_mandoc_finds_no_fault(self):
        for name in SECTIONS:
            with self.subTest(name):
                lint = subprocess.run(["mandoc", "-Tlint", "-Wwarning"], input=source(name),
                                      text=True, stdout=subprocess.PIPE)
                self.assertEqual(lint.stdout, "")

    def test_references_lead_to_pages(self):
        for name in SECTIONS:
            for reference, number in re.findall(r"^\.Xr (\S+) (\d)", source(name), re.M):
                with self.subTest(page=name, reference=reference):
                    self.assertEqual(SECTIONS.get(reference), int(number))


class InStepWithThePrograms(unittest.TestCase):
    """What --help, or the console, lists stands in the page, and nothing else does."""

    def test_options_of_the_tools(self):
        for tool in TOOLS:
            with self.subTest(tool):
                option = re.compile(r"^ +(?:-\w, )?(--[a-z-]+)(?: (\S+))?(?:  |$)", re.M)
                listed = option.findall(output_of(tool, "--help"))
                self.assertIn(("--version", ""), listed)
                self.assertEqual(option.findall(section(tool, "DESCRIPTION")), listed)
                synopsis = section(tool, "SYNOPSIS")
                self.assertEqual(sorted(re.findall(r"--[a-z-]+", synopsis)),
                                 sorted(name for name, _ in listed))

    def test_commands_of_the_simulator(self):
        usage = re.compile(r"^(?: {5})?([a-z-]+(?: \S+)*?)(?:  |$)", re.M)
        listed = output_of("camera_sim", stdin="help\nquit\n").split("\n", 1)[1]
        self.assertIn("state", usage.findall(listed))
        commands = section("camera_sim", "DESCRIPTION").split("\n   Commands\n")[1]
        self.assertEqual(usage.findall(commands), usage.findall(listed))

    def test_names_of_vlmctl(self):
        listed = re.findall(r"^(\S+)", output_of("vlmctl", "list"), re.M)
        self.assertGreater(len(listed), 50)
        names = section("vlmctl", "DESCRIPTION").split("\n   Names\n")[1]
        self.assertEqual(re.findall(r"^ {5}([a-z]\S*)(?: {2}.*)?$", names, re.M), listed)

    def test_numbered_commands(self):
        listed = re.findall(r"^(\d+): ?(.*)", output_of("vlm_test", "-h"), re.M)
        refused = {*range(98, 200), 204, *range(242, 1000)}
        described = re.findall(r"^ {5}(\d+) +(.*)", section("vlm_test", "DESCRIPTION"), re.M)
        self.assertEqual(described, [row for row in listed if int(row[0]) not in refused])

    def test_words_of_the_udp_client(self):
        lines = re.findall(r'^"(.*)"$', output_of("vlm_test", "udp"), re.M)
        listed = "\n".join(lines).replace("|\n", "|").splitlines()
        listed.remove("such as:2017 12 27 16 53 8")
        words = section("vlm_test", "DESCRIPTION").split("\n   Words of the UDP client\n")[1]
        described = re.findall(r"^ {5}([a-z]+)(?: +(.*))?$", words, re.M)
        self.assertEqual([" ".join(filter(None, row)) for row in described], listed)


def examples(name):
    """[(command, expected output)] of the page."""
    text = re.search(r"^\.Sh EXAMPLES\n(.*?)^\.Sh", source(name), re.M | re.S)[1]
    blocks = "".join(re.findall(r"^\.Bd -literal.*?\n(.*?)^\.Ed", text, re.M | re.S))
    blocks = blocks.replace("\\e", "\\")
    for example in re.split(r"^\$ ", blocks, flags=re.M)[1:]:
        lines = example.splitlines(keepends=True)
        end = next((i for i, line in enumerate(lines) if i and not line.startswith("> ")), len(lines))
        yield "".join(lines[:end]).replace("\n> ", "\n"), "".join(lines[end:])


class Examples(unittest.TestCase):
    MARK = "\n-- end of the example --\n"

    def outputs_of(self, commands):
        """What each command prints; all run in one shell, in a home of their own."""
        script = "".join(f"{command}\nprintf '{self.MARK}'\n" for command in commands)
        script += "kill $(jobs -p)\nwait\n"
        with tempfile.TemporaryDirectory() as home:
            environment = {**os.environ, "HOME": home, "PATH": f"{PROGRAMS}:{os.environ['PATH']}"}
            shell = subprocess.Popen(["bash", "-c", script], cwd=home, env=environment, text=True,
                                     stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                     stderr=subprocess.STDOUT, start_new_session=True)
            try:
                return shell.communicate(timeout=90)[0].split(self.MARK)
            finally:
                if shell.poll() is None:
                    os.killpg(shell.pid, signal.SIGKILL)

    def test_examples_print_what_they_say(self):
        for name in SECTIONS:
            commands, expected = zip(*examples(name))
            outputs = self.outputs_of(commands)
            self.assertEqual(len(outputs), len(commands) + 1)  # the last one is of the shell's end
            for command, text, output in zip(commands, expected, outputs):
                with self.subTest(page=name, command=command):
                    self.assertEqual(output, text)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
