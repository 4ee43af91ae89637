"""The baseline: all pass, and what passed unchanged is not run again."""

import pathlib
import tempfile
import unittest

from baseline import Baseline, BaselineError
from build_graph import BuildGraph, parse_statements
from programs import Program, Run

BUILD = "build t.exe: LINK t.obj || p.dll\nbuild p.dll: LINK p.obj\n"
GRAPH = BuildGraph(parse_statements(BUILD), {})
PROGRAM = Program("t", ["wine", "t.exe"], {}, "", "", "unit", 60, {"t.exe"}, "tests/ui")


class BaselineTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        (self.folder / "t.exe").write_text("1")
        (self.folder / "p.dll").write_text("1")

    def baseline(self):
        return Baseline(self.folder / "baseline.json", self.folder, GRAPH)

    def check(self, *outcomes):
        """Returns (whether it was run, seconds) where runs end in these ways, one after another."""
        ends = iter(outcomes)
        baseline = self.baseline()
        was_run = baseline.check(PROGRAM, lambda *_: Run(next(ends), 4.0, "output", "S.C"))
        self.assertRaises(StopIteration, next, ends)
        return was_run, baseline.seconds["t"]

    def test_a_program_that_passed_is_run_again_when_a_part_of_it_changed(self):
        self.assertEqual(self.check("passed"), (True, 4.0))
        self.assertEqual(self.check(), (False, 4.0))
        (self.folder / "p.dll").write_text("2")
        self.assertEqual(self.check("passed"), (True, 4.0))

    def test_a_failure_must_show_twice(self):
        self.assertEqual(self.check("failed", "passed"), (True, 4.0))

    def test_what_fails_without_a_fault_ends_the_run(self):
        with self.assertRaisesRegex(BaselineError, r"t fails without any fault \(S.C\):\noutput"):
            self.check("failed", "failed")
        self.assertEqual(self.check("passed"), (True, 4.0))

    def test_limits(self):
        baseline = self.baseline()
        for seconds, limit in (0.3, 10), (2, 10), (20, 100):
            baseline.seconds["t"] = seconds
            self.assertEqual(baseline.limit(PROGRAM), limit)


if __name__ == "__main__":
    unittest.main()
