"""How programs are run and judged."""

import os
import pathlib
import select
import tempfile
import unittest

from programs import Program, judge, run

PASSED = "[  PASSED  ] 3 tests.\n"
FAILED = "x.cpp:7: Failure\nExpected\n[  FAILED  ] Suite/Rows.Case/3, where GetParam() = 1 (2 ms)\n"
CRASHED = "CRASH: exception 0xc0000005\nCRASH: in Suite.Other\n"


def script(text, pattern=""):
    return Program("t", ["/bin/bash", "-c", text], {"A": "1"}, "/", pattern, "unit", 60, set(), "")


class ProgramsTest(unittest.TestCase):
    def test_judgements(self):
        for code, text, pattern, expected in [
                (0, PASSED, "", ("passed", "")),
                (0, "free block overwritten", "free block|tail", ("failed", "")),
                (1, FAILED, "", ("failed", "Suite/Rows.Case/3")),
                (99, CRASHED, "", ("failed", "Suite.Other")),
                (1, "The heap is damaged.", "", ("failed", "")),
                (None, "", "", ("time limit", "")),
                (None, "x.cpp:7: Failure\nExpected\n", "", ("failed", ""))]:
            with self.subTest(code=code, text=text):
                outcome = judge(script("", pattern), code, 1.0, text)
                self.assertEqual((outcome.outcome, outcome.case), expected)

    def test_without_a_report_the_end_was_not_orderly_and_no_success(self):
        with tempfile.TemporaryDirectory() as folder:
            report = pathlib.Path(folder, "t.xml")
            program = script("")
            program.command = ["/usr/bin/touch", f"--gtest_output=xml:Z:{report}"]
            for there, code, expected in [
                    (False, 0, ("failed", False)), (False, 1, ("failed", False)),
                    (True, 0, ("passed", True)), (True, 1, ("failed", True)),
                    (True, None, ("time limit", False))]:
                if there:
                    report.write_text("")
                outcome = judge(program, code, 1.0, PASSED)
                self.assertEqual((outcome.outcome, outcome.orderly), expected)

    def test_a_program_is_ended_at_its_limit_with_what_it_started(self):
        for limit in 0.3, 3, 30:  # the first is enough unless the machine is very busy
            outcome = run(script("sleep 600 & echo $!; wait"), limit)
            self.assertEqual(outcome.outcome, "time limit")
            if outcome.output:
                break
        try:
            process = os.pidfd_open(int(outcome.output))
        except ProcessLookupError:
            return
        self.addCleanup(os.close, process)
        self.assertTrue(select.select([process], [], [], 60)[0])


if __name__ == "__main__":
    unittest.main()
