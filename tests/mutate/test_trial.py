"""What becomes of a fault, with builds and programs that are made up here."""

import contextlib
import pathlib
import tempfile
import types
import unittest
from unittest import mock

import trial
from build_graph import BuildGraph, parse_statements
from mutant import Edit, Mutant
from ninja import BuildError
from programs import Program, Run
from source_copy import ASIDE
from trial import KILLED, NOT_COMPILING, SAME_CODE, SURVIVED, TIME_LIMIT

GRAPH = BuildGraph(parse_statements(
    "build a.obj: CXX /s/ui/a.cpp\n"
    + "".join(f"build {name}: LINK a.obj\n" for name in "pqrs")), {})
PASS, FAIL = Run("passed", 1, ""), Run("failed", 1, "", "S.C")
LATE, CRASH = Run("time limit", 1, "", "", False), Run("failed", 1, "", "S.C", False)


def program(name):
    return Program(name, [], {}, "", "", "ui" if name == "r" else "unit", 60, {name},
                   "")


class TrialTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.build = pathlib.Path(folder.name)
        (self.build / ("a.obj" + ASIDE)).touch()
        for name in "pqrs":
            (self.build / name).write_text("faulty")
            (self.build / (name + ASIDE)).write_text("as it was")

    def attempt(self, runs, file="ui/a.cpp", same=False, failing_build=None, likely=""):
        """Tries a fault where the programs' runs end as `runs` says, in this order.
        `failing_build`: the number of the build that fails."""
        self.built, self.planted, self.noted, self.ran = [], [], [], []
        self.renewed = 0
        ends = iter(runs)

        def build(targets, _):
            if len(self.built) == failing_build:
                raise BuildError("no")
            self.built.append(set(targets))

        @contextlib.contextmanager
        def planted(mutant, outputs):
            self.planted.append((mutant.path, outputs))
            yield

        def run(one, limit, cases=None):
            self.ran.append((one.name, limit, cases))
            return next(ends)

        def renew():
            self.renewed += 1

        trials = trial.Trials(
            types.SimpleNamespace(sources=pathlib.Path("/s"), build=self.build, planted=planted),
            GRAPH, types.SimpleNamespace(build=build),
            types.SimpleNamespace(limit=lambda one: 9, seconds={"p": 60, "q": 1}),
            types.SimpleNamespace(order=lambda file, programs, seconds: programs,
                                  cases=lambda file, name: likely,
                                  add=lambda *row: self.noted.append(row)),
            renew, run)
        with mock.patch.object(trial, "same_code", lambda *paths: same):
            result = trials.attempt(Mutant(file, Edit(0, 1, "2", "constant"), "n", 1),
                                    [program(name) for name in "pqrs"])
        self.assertRaises(StopIteration, next, ends)
        return result

    def test_the_first_program_that_fails_twice_kills(self):
        result = self.attempt([PASS, FAIL, FAIL])
        self.assertEqual((result.outcome, result.program, result.case), (KILLED, "q", "S.C"))
        self.assertEqual(self.ran, [("p", 9, None), ("q", 9, None), ("q", 9, "S.C")])
        self.assertEqual(self.noted,
                         [("ui/a.cpp", "p", False, ""), ("ui/a.cpp", "q", True, "S.C")])
        self.assertEqual(self.planted, [("ui/a.cpp", {"a.obj", *"pqrs"})])

    def test_only_what_runs_next_is_built(self):
        self.attempt([PASS, FAIL, FAIL])
        self.assertEqual(self.built, [{"a.obj"}, {"p"}, {"q", "r"}])

    def test_all_programs_run_before_a_fault_survives(self):
        self.assertEqual(self.attempt([PASS] * 4).outcome, SURVIVED)
        self.assertEqual(self.renewed, 0)

    def test_a_long_program_is_first_run_with_its_likely_cases(self):
        self.assertEqual(self.attempt([FAIL, FAIL], likely="S.A:S.B").outcome, KILLED)
        self.assertEqual(self.ran, [("p", 9, "S.A:S.B"), ("p", 9, "S.C")])
        self.attempt([PASS, PASS, FAIL, FAIL], likely="S.A")
        self.assertEqual([cases for _, _, cases in self.ran], ["S.A", None, None, "S.C"])
        self.assertEqual(self.attempt([Run("failed", 1, "")] + [PASS] * 4, likely="Gone.A").outcome,
                         SURVIVED)

    def test_a_program_that_the_linker_made_as_before_is_not_run(self):
        (self.build / "p").write_text("as it was")
        (self.build / ("s" + ASIDE)).unlink()  # nothing of it is built from the file
        self.assertEqual(self.attempt([PASS, PASS]).outcome, SURVIVED)
        self.assertEqual([name for name, _, _ in self.ran], ["q", "r"])
        self.assertEqual([program for _, program, *_ in self.noted], ["q", "r"])

    def test_a_failure_by_chance_is_no_kill_but_told(self):
        result = self.attempt([FAIL, PASS, PASS, PASS, PASS, PASS])
        self.assertEqual((result.outcome, result.unsteady), (SURVIVED, ["p"]))
        self.assertEqual(self.ran[:3], [("p", 9, None), ("p", 9, "S.C"), ("p", 9, None)])
        self.assertEqual(self.attempt([FAIL, PASS, FAIL]).outcome, KILLED)

    def test_a_time_limit_counts_apart(self):
        self.assertEqual(self.attempt([LATE, LATE]).outcome, TIME_LIMIT)
        self.assertEqual(self.attempt([LATE, FAIL]).outcome, KILLED)

    def test_what_may_have_left_something_in_wine_is_followed_by_a_new_one(self):
        for runs, expected in [([FAIL, FAIL], 0), ([CRASH, CRASH], 2), ([LATE, FAIL], 1),
                               ([PASS, PASS, FAIL, FAIL], 2)]:
            self.attempt(runs)
            self.assertEqual(self.renewed, expected)

    def test_what_does_not_compile_or_gives_the_same_code_is_not_run(self):
        for number in 0, 1:
            self.assertEqual(self.attempt([], failing_build=number).outcome, NOT_COMPILING)
        self.assertEqual(self.attempt([], same=True).outcome, SAME_CODE)
        self.assertEqual(self.attempt([PASS] * 4, file="ui/a.h", same=True).outcome, SURVIVED)


if __name__ == "__main__":
    unittest.main()
