#!/usr/bin/env python3
"""Checks the closing line and the exit code that tools/setup/test_summary.py makes of results."""

import json
import pathlib
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]

GTEST_PASS = '<testcase name="A" status="run" result="completed" classname="S"/>'
GTEST_FAIL = ('<testcase name="B" status="run" result="completed" classname="S">'
              '<failure message="x.cpp:1&#x0A;Expected" type=""/></testcase>')
GTEST_SKIP = '<testcase name="C" status="run" result="skipped" classname="S"/>'
GTEST_DISABLED = '<testcase name="D" status="notrun" result="suppressed" classname="S"/>'


class SummaryTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.results = pathlib.Path(folder.name)
        self.expected = []
        self.outcomes = []

    def add(self, name, status, report=None, gtest=True, message="", seconds=1):
        """One CTest entry: status as CTest gives it (None: it is not in CTest's results)."""
        command = ["wine", f"{name}.exe", "--gtest_output=xml:x"] if gtest else ["python3", "x.py"]
        self.expected.append({"name": name, "command": command,
                              "properties": [{"name": "TIMEOUT", "value": 100.0}]})
        if status:
            failure = f'<failure message="{message}"/>' if status == "fail" else ""
            self.outcomes.append(f'<testcase name="{name}" time="{seconds}" status="{status}">'
                                 f'{failure}</testcase>')
        if report is not None:
            text = f"<testsuites><testsuite>{report}</testsuite></testsuites>"
            (self.results / f"{name}.xml").write_text(text)

    def summarize(self, *options):
        """Returns (exit code, all lines)."""
        (self.results / "expected.json").write_text(json.dumps({"tests": self.expected}))
        (self.results / "ctest.junit").write_text(
            f"<testsuite>{''.join(self.outcomes)}</testsuite>")
        run = subprocess.run(
            ["/usr/bin/python3", ROOT / "tools/setup/test_summary.py", self.results, *options],
            capture_output=True, text=True)
        self.assertEqual(run.stderr, "")
        return run.returncode, run.stdout.splitlines()

    def assert_closes(self, line, code, *options):
        returncode, lines = self.summarize(*options)
        self.assertEqual((lines[-1], returncode), (line, code), lines)
        return lines

    def test_cases_and_scripts_are_counted(self):
        self.add("one", "run", GTEST_PASS + GTEST_PASS)
        self.add("script", "run", gtest=False)
        self.assert_closes("3 passed, 0 failed", 0)

    def test_failed_cases_are_named_with_the_way_to_run_them_again(self):
        self.add("one", "fail", GTEST_PASS + GTEST_FAIL, message="Failed")
        lines = self.assert_closes("1 passed, 1 failed", 1, "--full", "--seed", "7")
        self.assertIn("  one: S.B", lines)
        self.assertIn("      again: GTEST_FILTER=S.B ./run test --full --seed 7 -R '^one$'", lines)

    def test_raw_bytes_in_a_message_are_escaped_and_the_case_is_named(self):
        self.add("one", "fail", GTEST_PASS, message="Failed")
        message = b"got \xff\xed\xa0\x80\x01\x00\xef\xbf\xbf, not \xc3\xbc"
        (self.results / "one.xml").write_bytes(
            b'<?xml version="1.0" encoding="UTF-8"?>\n<testsuite>'
            b'<testcase name="B" status="run" result="completed" classname="S">'
            b'<failure message="' + message + b'" type=""><![CDATA[' + message + b"]]></failure>"
            b"</testcase></testsuite>")
        lines = self.assert_closes("0 passed, 1 failed", 1)
        self.assertIn("  one: S.B", lines)
        escaped = r"got \xff\xed\xa0\x80\x01\x00\xffff, not ü"
        self.assertIn(f"      {escaped}", lines)
        failure = ElementTree.parse(self.results / "one.xml").getroot().find(".//failure")
        self.assertEqual((failure.get("message"), failure.text), (escaped, escaped))

    def test_everything_but_a_complete_report_is_a_failure(self):
        for why, entry in {
                "crash": {"status": "fail", "message": "SEGFAULT"},
                "crash at the end": {"status": "fail", "report": GTEST_PASS, "message": "Failed"},
                "success without a report": {"status": "run"},
                "cut off report": {"status": "run", "raw": "<testsuites><testsuite>"},
                "report without cases": {"status": "run", "report": ""},
                "not built": {"status": "notrun"}, "never reached by CTest": {"status": None},
                "failing script": {"status": "fail", "gtest": False, "message": "Failed"}}.items():
            with self.subTest(why):
                self.setUp()
                raw = entry.pop("raw", None)
                self.add("one", **entry)
                if raw:
                    (self.results / "one.xml").write_text(raw)
                passed = 1 if why == "crash at the end" else 0
                self.assert_closes(f"{passed} passed, 1 failed", 1)
        self.setUp()
        self.assert_closes("0 passed, 1 failed", 1)  # no tests at all

    def test_skipped_cases_are_named_and_disabled_ones_ignored(self):
        self.add("one", "run", GTEST_PASS + GTEST_SKIP + GTEST_DISABLED)
        lines = self.assert_closes("1 passed, 0 failed", 0)
        self.assertIn("  one: S.C", lines)

    def test_tests_near_their_limit_are_named(self):
        self.add("quick", "run", GTEST_PASS, seconds=20)
        self.add("slow", "run", gtest=False, seconds=20.4)
        lines = self.assert_closes("2 passed, 0 failed", 0)
        self.assertEqual(lines[:-1], ["Took more than a fifth of the limit:",
                                      "  slow: 20 s of 100 s"])

    def test_lint_counts_each_check(self):
        self.add("one", "run", GTEST_PASS)
        (self.results / "lint.tsv").write_text("format\tpassed\ntidy\tfailed\n")
        self.assert_closes("2 passed, 1 failed", 1)


if __name__ == "__main__":
    unittest.main()
