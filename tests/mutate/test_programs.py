"""How programs are read from CTest's list, run and judged."""

import os
import pathlib
import select
import tempfile
import unittest

import programs
from build_graph import BuildGraph, parse_statements
from programs import Program, judge, modified, read_program, run

BUILD = """build tests/ui/CMakeFiles/t.dir/t.cpp.obj: CXX /s/t.cpp
build tests/t.exe: LINK tests/ui/CMakeFiles/t.dir/t.cpp.obj || plug.dll
build plug.dll: LINK p.obj
"""
PASSED = "[  PASSED  ] 3 tests.\n"
FAILED = "x.cpp:7: Failure\nExpected\n[  FAILED  ] Suite/Rows.Case/3, where GetParam() = 1 (2 ms)\n"
CRASHED = "CRASH: exception 0xc0000005\nCRASH: in Suite.Other\n"


def script(text, pattern=""):
    return Program("t", ["/bin/bash", "-c", text], {"A": "1"}, "/", pattern, "unit", 60, set(), "")


class ProgramsTest(unittest.TestCase):
    def test_an_entry_of_ctest(self):
        graph = BuildGraph(parse_statements(BUILD), {})
        program = read_program({
            "name": "t", "command": ["wine.sh", "/b/tests/t.exe", "--gtest_output=xml:Z:/b/t.xml"],
            "properties": [
                {"name": "ENVIRONMENT", "value": ["DEBUG=a,b=c"]},
                {"name": "ENVIRONMENT_MODIFICATION",
                 "value": ["DLL=set:Z:/b/plug.dll", "OVER=cmake_list_append:x=n"]},
                {"name": "FAIL_REGULAR_EXPRESSION", "value": ["bad", "worse"]},
                {"name": "LABELS", "value": ["ui"]},
                {"name": "TIMEOUT", "value": 90.0},
                {"name": "WORKING_DIRECTORY", "value": "/b/tests"}],
        }, graph, pathlib.Path("/b"), {"OVER": "a=d"})
        self.assertEqual(program, Program(
            "t", ["wine.sh", "/b/tests/t.exe", "--gtest_output=xml:Z:/b/t.xml"],
            {"OVER": "a=d;x=n", "DEBUG": "a,b=c", "DLL": "Z:/b/plug.dll"}, "/b/tests", "bad|worse",
            "ui", 90.0, {"tests/t.exe", "plug.dll"}, "tests/ui"))
        self.assertEqual(program.report, pathlib.Path("/b/t.xml"))

    def test_an_unknown_change_of_the_environment_is_refused(self):
        with self.assertRaises(ValueError):
            modified({}, ["A=path_list_prepend:b"])

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

    def test_a_program_runs_in_its_folder_and_environment(self):
        outcome = run(script("echo $A $PWD; echo error >&2; exit 3"))
        self.assertEqual((outcome.outcome, outcome.output), ("failed", "1 /\nerror\n"))

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

    def test_googletest_stops_at_the_first_failure_of_the_wanted_cases(self):
        program = script("")
        program.command = ["/bin/echo", "--gtest_output=xml:Z:/none/t.xml"]
        self.assertIn("--gtest_fail_fast --gtest_brief=1 --gtest_filter=A.B",
                      run(program, cases="A.B").output)


if __name__ == "__main__":
    unittest.main()
