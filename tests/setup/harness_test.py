#!/usr/bin/env python3
"""Checks how a test program ends in each way it can go wrong: harness_test.py PROBE_EXE.

Needs the environment of ./run test (WINE and what belongs to it)."""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

PROBE = sys.argv.pop(1)
CRASHED = 99


class HarnessTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.report = pathlib.Path(folder.name, "report.xml")

    def run_probe(self, case):
        return subprocess.run(
            [os.environ["WINE"], PROBE, f"--gtest_filter={case}",
             f"--gtest_output=xml:Z:{self.report}"],
            stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60)

    def test_a_passing_case_gives_zero_and_a_report(self):
        self.assertEqual(self.run_probe("Probe.Passes").returncode, 0)
        self.assertTrue(self.report.exists())

    def test_a_failing_case_gives_one_and_a_report(self):
        self.assertEqual(self.run_probe("Probe.Fails").returncode, 1)
        self.assertIn("as it should", self.report.read_text())

    def test_an_exception_is_a_failure_with_its_text(self):
        self.assertEqual(self.run_probe("Probe.Throws").returncode, 1)
        self.assertIn("as it should", self.report.read_text())

    def test_a_crash_is_told_with_place_and_case_and_leaves_no_report(self):
        run = self.run_probe("Probe.ReadsNull")
        self.assertEqual(run.returncode, CRASHED)
        self.assertRegex(run.stderr, r"CRASH: exception 0xc0000005 at .*harness_probe\.exe\+0x")
        self.assertIn("CRASH: in Probe.ReadsNull", run.stderr)
        self.assertFalse(self.report.exists())

    def test_abort_is_not_success(self):
        self.assertNotEqual(self.run_probe("Probe.Aborts").returncode, 0)
        self.assertFalse(self.report.exists())

    def test_leaving_in_the_middle_leaves_no_report(self):
        self.run_probe("Probe.LeavesEarly")
        self.assertFalse(self.report.exists())

    def test_running_nothing_fails(self):
        run = self.run_probe("Probe.NoSuchCase")
        self.assertEqual(run.returncode, 1)
        self.assertIn("No test was run.", run.stderr)


if __name__ == "__main__":
    unittest.main()
