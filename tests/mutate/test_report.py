"""What is printed and written about results."""

import json
import pathlib
import tempfile
import unittest

import report
from mutant import Edit, Mutant
from trial import KILLED, NOT_COMPILING, SAME_CODE, SURVIVED, TIME_LIMIT, Result

TEXT = b"int a = 1;\n"


def result(path, outcome, seconds=2.0, **more):
    return Result(Mutant(path, Edit(8, 9, "0", "constant"), f"{path}@12", 1), outcome, seconds,
                  **more)


RESULTS = [
    result("ui/a.cpp", KILLED, program="ui_tests", case="S.C"),
    result("ui/a.cpp", SURVIVED, 4.0, unsteady=["far_tests"]),
    result("ui/b.cpp", TIME_LIMIT, program="ui_tests"),
    result("ui/b.cpp", NOT_COMPILING, 99.0),
    result("ui/b.cpp", SAME_CODE, 99.0),
    result("ui/b.cpp", KILLED, 8.0),
]


class ReportTest(unittest.TestCase):
    def test_what_does_not_count_is_in_no_share_or_average(self):
        self.assertEqual(report.closing_lines(RESULTS), [
            "2 of 4 killed (50.0 %), 1 survived, 1 killed by a time limit only",
            "4.0 s for a mutant on average"])
        self.assertEqual(report.closing_lines(RESULTS[3:5]), ["No mutant was tried."])

    def test_survivors_can_be_worked_off(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            report.write(folder, RESULTS, lambda path: TEXT)
            text = (folder / "survivors.diff").read_text()
            rows = json.loads((folder / "results.json").read_text())
        self.assertEqual(text, (
            "ui/a.cpp:1: survived (constant)\n./run mutate --only ui/a.cpp@12\n"
            "--- a/ui/a.cpp\n+++ b/ui/a.cpp\n@@ -1 +1 @@\n-int a = 1;\n+int a = 0;\n\n"
            "ui/b.cpp:1: time limit (constant)\n./run mutate --only ui/b.cpp@12\n"
            "--- a/ui/b.cpp\n+++ b/ui/b.cpp\n@@ -1 +1 @@\n-int a = 1;\n+int a = 0;\n"))
        self.assertEqual([row["outcome"] for row in rows], [one.outcome for one in RESULTS])


if __name__ == "__main__":
    unittest.main()
