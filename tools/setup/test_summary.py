#!/usr/bin/env python3
"""Counts what ./run test left in a folder of results, and prints failures and the closing line.

Usage: test_summary.py RESULTS_DIR [OPTION...]

Reads, as far as they are there: lint.tsv; expected.json (the tests CTest was to run), ctest.junit
(what became of them) and NAME.xml (GoogleTest's own report). A program that fails without a failing
case in its report (crash, time-out, no report) counts as one failure. Exit code 0 only when
something passed and nothing failed. OPTIONs of ./run test that repeat a failure are put into the
commands that do so.

A report whose messages hold bytes that XML does not allow is made one, with these bytes escaped.

Names tests that took more than a fifth of their limit: on a slower or busier machine these might be
ended. That is no failure, as it may be the machine's.
"""

import json
import pathlib
import re
import shlex
import sys
import xml.etree.ElementTree as ElementTree


LIMIT_RESERVE = 5  # times what a test needs

NOT_XML = re.compile("[^\t\n\r\u0020-\ud7ff\ue000-\ufffd\U00010000-\U0010ffff]")


class Summary:
    """Passed and failed names, each failure with a reason and a command that runs it again."""

    def __init__(self, options):
        self.passed = 0
        self.skipped = []
        self.slow = []
        self.failures = []
        self.options = options

    def fail(self, name, reason, test=None, case=None):
        """`test`: the CTest entry to run again, `case` the only case of it."""
        command = shlex.join(["./run", "test", *self.options])
        if test:
            command += f" -R '^{test}$'"
        if case:
            command = f"GTEST_FILTER={shlex.quote(case)} {command}"
        self.failures.append((name, reason, command))


def read_lint(path, summary):
    for line in path.read_text().splitlines():
        name, outcome = line.split("\t")
        if outcome == "passed":
            summary.passed += 1
        else:
            summary.failures.append((f"lint {name}", "findings above", "./run test --lint"))


def make_xml(path):
    """Replaces what XML does not allow in a report: GoogleTest copies messages as they are."""
    data = path.read_bytes()
    text = data.decode(errors="backslashreplace")
    escaped = NOT_XML.sub(lambda match: f"\\x{ord(match[0]):02x}", text).encode()
    if escaped != data:
        path.write_bytes(escaped)


def read_gtest_report(path, test, summary):
    """Counts the cases of one program; returns how many failed, or None without a usable report."""
    try:
        make_xml(path)
        cases = list(ElementTree.parse(path).getroot().iter("testcase"))
    except (OSError, ElementTree.ParseError):
        return None
    failed = 0
    for case in cases:
        if case.get("status") != "run":
            continue
        name = f"{case.get('classname')}.{case.get('name')}"
        failures = case.findall("failure")
        if failures:
            failed += 1
            reason = (failures[0].get("message") or "").strip().splitlines()
            summary.fail(f"{test}: {name}", reason[0] if reason else "failed", test, name)
        elif case.get("result") == "skipped" or case.find("skipped") is not None:
            summary.skipped.append(f"{test}: {name}")
        else:
            summary.passed += 1
    return failed


def read_outcomes(path):
    """Maps test name to (status, message, seconds) as CTest saw it."""
    try:
        root = ElementTree.parse(path).getroot()
    except (OSError, ElementTree.ParseError):
        return {}
    outcomes = {}
    for case in root.iter("testcase"):
        failure = case.find("failure")
        message = failure.get("message", "") if failure is not None else ""
        outcomes[case.get("name")] = (case.get("status"), message, float(case.get("time", 0)))
    return outcomes


def limit_of(test):
    """The test's limit in seconds; None when it has none."""
    return next((entry["value"] for entry in test.get("properties", [])
                 if entry["name"] == "TIMEOUT"), None)


def read_tests(results, summary):
    expected = json.loads((results / "expected.json").read_text())["tests"]
    outcomes = read_outcomes(results / "ctest.junit")
    for test in expected:
        name = test["name"]
        status, message, seconds = outcomes.get(name, ("missing", "CTest did not run it", 0))
        limit = limit_of(test)
        if limit and seconds * LIMIT_RESERVE > limit:
            summary.slow.append(f"{name}: {seconds:.0f} s of {limit:.0f} s")
        is_gtest = any(part.startswith("--gtest_output=") for part in test.get("command", []))
        failed_cases = 0
        if is_gtest:
            before = summary.passed + len(summary.skipped)
            failed_cases = read_gtest_report(results / f"{name}.xml", name, summary)
            if failed_cases is None:
                summary.fail(name, message or "no report: it crashed or was ended", name)
                continue
            if not failed_cases and before == summary.passed + len(summary.skipped):
                summary.fail(name, "no case was run", name)
                continue
        if status != "run":
            if not failed_cases:
                reason = message or {"notrun": "it could not be started"}.get(status, status)
                summary.fail(name, f"{reason}; see its output above", name)
        elif failed_cases:
            summary.fail(name, "reported success with failed cases", name)
        elif not is_gtest:
            summary.passed += 1
    if not expected:
        summary.fail("tests", "none matched the selection")


def main():
    results = pathlib.Path(sys.argv[1])
    summary = Summary(sys.argv[2:])
    if (results / "lint.tsv").exists():
        read_lint(results / "lint.tsv", summary)
    if (results / "expected.json").exists():
        read_tests(results, summary)

    if summary.skipped:
        print(f"Skipped ({len(summary.skipped)}):")
        for name in summary.skipped:
            print(f"  {name}")
    if summary.slow:
        print("Took more than a fifth of the limit:")
        for name in summary.slow:
            print(f"  {name}")
    if summary.failures:
        print("Failed:")
        for name, reason, command in summary.failures:
            print(f"  {name}\n      {reason}\n      again: {command}")
    print(f"{summary.passed} passed, {len(summary.failures)} failed")
    return 0 if summary.passed and not summary.failures else 1


if __name__ == "__main__":
    sys.exit(main())
