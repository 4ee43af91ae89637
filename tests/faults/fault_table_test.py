#!/usr/bin/env python3
"""Checks the tables of README.md against the tests: each test that they name exists, and each test of
this folder is in them."""

import pathlib
import re
import unittest

FOLDER = pathlib.Path(__file__).resolve().parent
NAMED = set(re.findall(r"`(\w+\.[A-Z]\w+)`", (FOLDER / "README.md").read_text()))


def tests_of(files):
    return {f"{suite}.{name}" for file in files
            for suite, name in re.findall(r"^TEST(?:_F|_P)?\((\w+),\s+(\w+)\)", file.read_text(),
                                          re.MULTILINE)}


class FaultTableTest(unittest.TestCase):
    def test_named_tests_exist(self):
        self.assertGreater(len(NAMED), 40)
        self.assertEqual(NAMED - tests_of(FOLDER.parent.glob("*/*_test.cpp")), set())

    def test_every_test_is_named(self):
        self.assertEqual(tests_of(FOLDER.glob("*_test.cpp")) - NAMED, set())


if __name__ == "__main__":
    unittest.main()
