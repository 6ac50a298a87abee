#!/usr/bin/env python3
"""The report on programs that print what they are told to."""

import os
import subprocess
import sys
import tempfile
import unittest

REPORT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "report.py")


def row(name, median, limit):
    """A row as a contest prints it."""
    return f"{name:<24} us {median:10.3f} {median:10.3f} {median:10.3f}  {limit:<18} 1.000"


class Report(unittest.TestCase):
    """Two builds, each a directory of one program."""

    def setUp(self):
        # Behind the test's end, whatever it does.
        directory = tempfile.TemporaryDirectory()  # pylint: disable=consider-using-with
        self.addCleanup(directory.cleanup)
        self.directory = directory.name

    def build(self, name, *runs):
        """A build whose program prints one of `runs`, each a list of rows, a run; then the last again."""
        directory = os.path.join(self.directory, name)
        os.mkdir(directory)
        for number, rows in enumerate(runs):
            with open(os.path.join(directory, str(number)), "w", encoding="utf-8") as out:
                out.write("\n".join(rows) + "\n")
        program = os.path.join(directory, "whole_way_bench")
        with open(program, "w", encoding="utf-8") as out:
            out.write(f"#!/bin/sh\ncd '{directory}'\nn=$(cat next 2>/dev/null || echo 0)\n"
                      "cat $n\n[ ! -f $((n + 1)) ] || echo $((n + 1)) >next\n")
        os.chmod(program, 0o755)
        return directory

    def report(self, *arguments):
        """Its status and what it printed."""
        done = subprocess.run([sys.executable, REPORT, *arguments], capture_output=True, text=True,
                              check=False, timeout=60)
        return done.returncode, done.stdout

    def compare(self, before, now):
        """Compares two builds of as many runs."""
        return self.report("--against", self.build("before", *before), self.build("now", *now))

    def test_fails_on_a_loss_of_more_than_five_percent(self):
        status, text = self.compare([[row("way", 10, "chain")]], [[row("way", 10.6, "chain")]])
        self.assertEqual(status, 1)
        self.assertIn("way                          10.000     10.600  1.060  LOSS\n", text)

    def test_bears_a_loss_of_less(self):
        status, text = self.compare([[row("way", 10, "chain")]], [[row("way", 10.4, "chain")]])
        self.assertEqual(status, 0)
        self.assertIn("way                          10.000     10.400  1.040\n", text)

    def test_does_not_judge_what_has_nothing_of_ours(self):
        status, text = self.compare([[row("chain", 10, "chain")]], [[row("chain", 20, "chain")]])
        self.assertEqual(status, 0)
        self.assertNotIn("chain", text)

    def test_looks_again_before_it_says_that_a_row_has_lost(self):
        slow, fast = [row("way", 12, "chain")], [row("way", 10, "chain")]
        status, text = self.compare([fast], [slow] * 8 + [fast])
        self.assertEqual((status, "LOSS" in text), (0, False))

    def test_says_what_was_aimed_at(self):
        rows = [row("chain", 10, "chain"), row("way", 11.9, "chain")]
        status, text = self.report(self.build("now", rows))
        self.assertEqual(status, 0)
        self.assertIn("| way | us | 11.90 | 11.90 | 11.90 | chain | 1.19 | 1.00 |\n", text)
        self.assertIn("| app to camera and back ÷ `chain` | 1.19 | 1.20 | 1.10 | goal |\n", text)

    def test_says_what_the_bridge_adds(self):
        rows = [row("broker_bare", 30, "broker_bare"), row("broker_bus", 10, "broker_bare"),
                row("broker_camera", 50, "broker_bare"), row("broker_bridge", 72.5, "broker_bare")]
        text = self.report(self.build("now", rows))[1]
        self.assertIn("`broker_bridge` − `broker_camera` | 22.50 | 15.00 | 10.00 | missed |\n", text)
        self.assertIn("the same − `broker_bus` | 12.50 | 15.00 | 5.00 | goal |\n", text)

    def test_says_that_a_goal_was_missed(self):
        rows = [row("echo_1_10", 8, "echo_1_10"), row("service_1_10", 10, "echo_1_10")]
        text = self.report(self.build("now", rows))[1]
        self.assertIn("| `echo` ÷ service, 1 under way, 10 bytes | 0.80 | 0.85 | 0.95 | missed |\n", text)


if __name__ == "__main__":
    unittest.main()
