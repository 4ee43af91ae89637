"""The order of the programs."""

import pathlib
import tempfile
import unittest

from history import CASES_KEPT, History
from programs import Program


def program(name, folder, label="unit"):
    return Program(name, [], {}, "", "", label, 60, set(), folder)


NEAR = program("near", "tests/ui")
NEAR_UI = program("near_ui", "tests/ui", "ui")
FAR = program("far", "tests/plugin")


class HistoryTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = pathlib.Path(folder.name, "history.json")
        self.history = History(self.path)

    def order(self, **seconds):
        ordered = self.history.order("ui/a.cpp", [FAR, NEAR_UI, NEAR], seconds)
        return [one.name for one in ordered]

    def test_the_same_folder_first_and_its_unit_tests_before_all(self):
        self.assertEqual(self.order(near=1, near_ui=1, far=1), ["near", "near_ui", "far"])

    def test_a_program_that_takes_long_waits(self):
        self.assertEqual(self.order(near=60, near_ui=60, far=1), ["far", "near", "near_ui"])

    def test_what_noticed_faults_of_this_file_before_comes_first(self):
        for _ in range(8):
            self.history.add("ui/a.cpp", "far", True)
            self.history.add("ui/a.cpp", "near", False)
            self.history.add("ui/b.cpp", "near_ui", True)
        self.assertEqual(self.order(near=1, near_ui=1, far=1), ["far", "near_ui", "near"])

    def test_the_counts_are_there_in_the_next_run(self):
        for _ in range(8):
            self.history.add("ui/a.cpp", "far", True)
        self.history.save()
        self.history = History(self.path)
        self.assertEqual(self.order(near=1, near_ui=1, far=1)[0], "far")

    def test_the_cases_that_noticed_faults_the_last_one_first(self):
        for case in "S.A", "", "S.B", "S.A":
            self.history.add("ui/a.cpp", "near", bool(case), case)
        self.assertEqual(self.history.cases("ui/a.cpp", "near"), "S.A:S.B")
        self.assertEqual(self.history.cases("ui/b.cpp", "near"), "")

    def test_not_all_cases_are_kept(self):
        for number in range(100):
            self.history.add("ui/a.cpp", "near", True, f"S.C{number}")
        cases = self.history.cases("ui/a.cpp", "near").split(":")
        self.assertEqual((cases[0], len(cases)), ("S.C99", CASES_KEPT))

    def test_a_damaged_file_is_as_none(self):
        self.path.write_text("{")
        self.assertEqual(History(self.path).rows, {})


if __name__ == "__main__":
    unittest.main()
