"""Faults in one build: which go together, and the text with their conditions."""

import pathlib
import unittest

from mutant import PLANTED, Edit, Guard, Mutant
from switched import blamed, choose, render


def mutant(start, end, path="a.cpp", before="(", behind=")"):
    guard = Guard(start, end, before, behind) if before else None
    return Mutant(path, Edit(start, end, "", "kind", guard), f"{path}@{start}-{end}", 1)


class SwitchedTest(unittest.TestCase):
    def test_what_crosses_or_has_no_guard_is_built_by_itself(self):
        rows = [(mutant(0, 9), True), (mutant(2, 4), True), (mutant(3, 6), False),
                (mutant(3, 6, "b.cpp"), True), (mutant(0, 9), True), (mutant(9, 12), True),
                (mutant(2, 4, before=None), False), (mutant(2, 4, "a.c"), False)]
        chosen = list(choose([row for row, _ in rows]).values())
        self.assertEqual([any(row is one for one in chosen) for row, _ in rows],
                         [expected for _, expected in rows])

    def test_guards_within_and_behind_each_other(self):
        rows = [(1, Guard(4, 9, f"({PLANTED} ? (a > b) : (", "))")), (2, Guard(4, 5, "[", "]")),
                (3, Guard(4, 9, "{", "}")), (4, Guard(9, 10, "<", ">"))]
        self.assertEqual(
            render(b"if (a < b) c;", "s.h", rows).decode(),
            '#include "s.h"\n#line 1\nif ((FOLIVO_FAULT(1) ? (a > b) : ({[a] < b}))<)> c;')

    def test_a_compilers_error_blames_all_faults_of_its_line_or_the_next_ones(self):
        rows = {1: mutant(0, 2), 2: mutant(2, 6), 3: mutant(8, 9)}
        for line, expected in (1, {1, 2}), (2, {2}), (3, {3}), (5, {3}):
            log = f"x\n/s/a.cpp:{line}:3: error: no\n/s/b.cpp:1:1: error: no\n"
            self.assertEqual(
                blamed(log, pathlib.Path("/s"), {"a.cpp": b"one\ntwo\nthree\n"}, rows), expected)


if __name__ == "__main__":
    unittest.main()
