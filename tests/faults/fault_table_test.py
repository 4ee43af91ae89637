#!/usr/bin/env python3
"""Checks the tables of README.md against the tests: each test and program that they name exists, and
each test of this folder is in them."""

import pathlib
import re
import unittest

FOLDER = pathlib.Path(__file__).resolve().parent
TABLE = (FOLDER / "README.md").read_text()


def tests_of(files):
    return {f"{suite}.{name}" for file in files
            for suite, name in re.findall(r"^TEST(?:_F|_P)?\((\w+), (\w+)\)", file.read_text(),
                                          re.MULTILINE)}


class FaultTableTest(unittest.TestCase):
    def test_named_tests_exist(self):
        named = set(re.findall(r"`(\w+\.[A-Z]\w+)`", TABLE))
        self.assertGreater(len(named), 50)
        self.assertEqual(named - tests_of(FOLDER.parent.glob("*/*_test.cpp")), set())

    def test_every_test_is_named(self):
        # The choice of the cells is no fault.
        here = tests_of(set(FOLDER.glob("*_test.cpp")) - {FOLDER / "quick_cut_test.cpp"})
        self.assertEqual({name for name in here if f"`{name}`" not in TABLE}, set())

    def test_named_programs_exist(self):
        programs = set(re.findall(r"`(\w+)_tests`", TABLE))
        self.assertGreater(len(programs), 15)
        for program in programs:
            kind = program.removesuffix("_fault").split("_", 1)[1]
            self.assertTrue(list(FOLDER.glob(f"*_{kind}*_test.cpp")), program)


if __name__ == "__main__":
    unittest.main()
