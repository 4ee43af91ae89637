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

    def test_each_end_gives_its_code_and_report(self):
        for case, code, text in (("Passes", 0, ""), ("Fails", 1, "as it should"),
                                 ("Throws", 1, "as it should")):
            with self.subTest(case):
                self.assertEqual(self.run_probe(f"Probe.{case}").returncode, code)
                self.assertIn(text, self.report.read_text())

    def test_a_crash_is_told_with_place_and_case_and_leaves_no_report(self):
        run = self.run_probe("Probe.ReadsNull")
        self.assertEqual(run.returncode, CRASHED)
        self.assertRegex(run.stderr, r"CRASH: exception 0xc0000005 at .*harness_probe\.exe\+0x")
        self.assertIn("CRASH: in Probe.ReadsNull", run.stderr)
        self.assertFalse(self.report.exists())

    def test_abort_or_exit_leaves_no_report(self):
        self.assertNotEqual(self.run_probe("Probe.Aborts").returncode, 0)
        self.run_probe("Probe.LeavesEarly")
        self.assertFalse(self.report.exists())

    def test_running_nothing_fails(self):
        run = self.run_probe("Probe.NoSuchCase")
        self.assertEqual(run.returncode, 1)
        self.assertIn("No test was run.", run.stderr)


if __name__ == "__main__":
    unittest.main()
