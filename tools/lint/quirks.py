#!/usr/bin/env python3
"""Checks that docs/quirks.md, the comments `Quirk N` and the tests agree: the page's numbers run
from 1 without a gap, each is cited in the product's code, each cited number is on the page, and
each test that the page names exists.

Usage: quirks.py [ROOT]
"""

import pathlib
import re
import sys

PAGE = "docs/quirks.md"
PRODUCT = ("base", "browser", "collections", "com", "download", "plugin", "resources", "ui",
           "unzip")
OTHERS = ("atl", "bench", "docs", "tests")  # may cite a quirk, too
SUFFIXES = {".h", ".cpp", ".c", ".rc", ".idl", ".md"}

ROW = re.compile(r"\| (\d+) \| (\S.*?) \| (\S.*?) \| `(\w+\.\w+)` \|")
# A comment may be broken between the word and its number.
CITATION = re.compile(r"\bQuirk[\s/*]+(\d+)")
CPP_TEST = re.compile(r"^TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", re.MULTILINE)
PYTHON_TEST = re.compile(r"^class (\w+)|^    def (test_\w+)\(", re.MULTILINE)


def rows(root):
    """Yields (line, match) for each row of the page's tables; the match is None for a row that is
    not a number, what, why and one test."""
    previous = ""
    for line, text in enumerate((root / PAGE).read_text(encoding="utf-8").splitlines(), 1):
        if text.startswith("|") and previous.startswith("|") and not text.startswith("|---"):
            yield line, ROW.fullmatch(text)
        previous = text


def citations(root, folders):
    """Yields (file, line, number) for each `Quirk N` below the folders."""
    for folder in folders:
        for file in sorted((root / folder).rglob("*")):
            if file.suffix in SUFFIXES:
                text = file.read_text(encoding="utf-8")
                for match in CITATION.finditer(text):
                    line = text.count("\n", 0, match.start()) + 1
                    yield file.relative_to(root), line, int(match.group(1))


def test_names(root):
    """The names of all tests, as `Suite.Name`; of Python's, as `Class.test_name`."""
    names = set()
    for file in (root / "tests").rglob("*.cpp"):
        text = file.read_text(encoding="utf-8")
        names.update(".".join(match) for match in CPP_TEST.findall(text))
    for file in (root / "tests").rglob("*.py"):
        suite = ""
        for new_suite, test in PYTHON_TEST.findall(file.read_text(encoding="utf-8")):
            suite = new_suite or suite
            if test:
                names.add(f"{suite}.{test}")
    return names


def findings(root):
    """Yields one line for each disagreement."""
    tests = test_names(root)
    numbers = []
    for line, row in rows(root):
        if row is None:
            yield f"{PAGE}:{line}: not a row of number, what, why and one test"
            continue
        number, test = int(row.group(1)), row.group(4)
        if number in numbers:
            yield f"{PAGE}:{line}: a second Quirk {number}"
        numbers.append(number)
        if test not in tests:
            yield f"{PAGE}:{line}: no test {test}"
    for number in sorted(set(range(1, max(numbers, default=0) + 1)) - set(numbers)):
        yield f"{PAGE}: no Quirk {number}"

    in_product = list(citations(root, PRODUCT))
    for file, line, number in in_product + list(citations(root, OTHERS)):
        if number not in numbers:
            yield f"{file}:{line}: Quirk {number} is not in {PAGE}"
    for number in sorted(set(numbers) - {number for _, _, number in in_product}):
        yield f"{PAGE}: no comment in the product cites Quirk {number}"


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".").resolve()
    found = list(findings(root))
    for finding in found:
        print(finding)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
