#!/usr/bin/env python3
"""Checks the tables of tests/README.md against the sources: each product file has a row, each row's
files exist, and each test file's suites and CTest entries are those in the sources.

Usage: test_table.py [--write] [--suites] [ROOT]
  --write   sets the suites and CTest entries of all rows
  --suites  checks, too, that each suite is named after its file
"""

import os
import pathlib
import re
import sys

PRODUCT = ("plugin", "browser", "collections", "download", "com", "ui", "base", "unzip")
SOURCES = {".cpp", ".h", ".c"}
SUITE = re.compile(r"^TEST(?:_F|_P)?\(\s*(\w+)\s*,", re.MULTILINE)
COMMAND = re.compile(r"^\s*(\w+)\s*\(((?:[^()\"]|\"[^\"]*\")*)\)", re.MULTILINE)


def block_end(commands, start):
    """The position of the endforeach() that closes the foreach() at `start`."""
    depth = 0
    for position in range(start, len(commands)):
        depth += {"foreach": 1, "endforeach": -1}.get(commands[position][0], 0)
        if depth == 0:
            return position
    raise ValueError(f"foreach({commands[start][1]}) has no end")


def ctest_entries(folder):
    """The pairs (CTest entry, source or argument) that the folder's CMake files make."""
    entries, variables = [], {"CMAKE_CURRENT_SOURCE_DIR": str(folder)}

    def expand(text):
        for _ in range(3):  # a variable's name may hold another variable
            text = re.sub(r"\$\{(\w+)\}", lambda m: variables.get(m[1], m[0]), text)
        return text

    def run(commands):
        position = 0
        while position < len(commands):
            name, text = commands[position]
            words = text.split()
            if name == "foreach":
                end = block_end(commands, position)
                items = words[3:] if words[1:3] == ["IN", "ITEMS"] else words[1:]
                for variables[words[0]] in items:
                    run(commands[position + 1:end])
                position = end
            elif name == "set":
                variables[words[0]] = " ".join(words[1:])
            elif name in ("folivo_add_test", "folivo_add_script_test"):
                words = expand(text).split()
                entry = words[words.index("NAME") + 1]
                entries.extend((entry, word.strip('"')) for word in words)
            position += 1

    for file in (folder / "CMakeLists.txt", *sorted(folder.glob("*.cmake"))):
        if file.exists():
            text = re.sub(r"^\s*#.*", "", file.read_text(encoding="utf-8"), flags=re.MULTILINE)
            run([(m[1], m[2]) for m in COMMAND.finditer(text)])
    return entries


class Tests:
    """What the test files hold."""

    def __init__(self, root):
        self.folder = root / "tests"
        self.entries = {}  # of each file, as a dictionary without values: in their order
        for file in sorted(self.folder.rglob("CMakeLists.txt")):
            for entry, word in ctest_entries(file.parent):
                self.entries.setdefault(self.path(file.parent, word), {})[entry] = None

    def path(self, folder, word):
        """What a word of a CMake file names, seen from tests/; scripts are named from the root."""
        if word.startswith("tests/"):
            return word.removeprefix("tests/")
        return os.path.relpath(os.path.join(folder, word), self.folder)

    def suites(self, path):
        return list(dict.fromkeys(
            SUITE.findall((self.folder / path).read_text(encoding="utf-8"))))

    def cells(self, path):
        """The suites of a test file and the CTest entries that run it, as table cells."""
        return [", ".join(f"`{name}`" for name in names) or "–"
                for names in (self.suites(path), self.entries.get(path, {}))]

    def misnamed_suites(self):
        """Yields the suites whose names do not begin with their file's: of message_box_test.cpp,
        MessageBox and MessageBoxLayout do, MessageBoxes does not. Abbreviations may be in capitals."""
        for file in sorted(self.folder.rglob("*_test.cpp")):
            path = file.relative_to(self.folder).as_posix()
            stem = file.stem.removesuffix("_test").replace("_", "")
            for suite in self.suites(path):
                rest = suite[len(stem):]
                if suite[:len(stem)].lower() != stem or rest[:1].islower():
                    yield f"tests/{path}: the suite {suite} is not named after the file"


def check(root, write):
    """Yields what is wrong, one line each."""
    tests = Tests(root)
    readme = root / "tests" / "README.md"
    section, product, listed, named, lines = "", "", set(), {}, []
    for number, line in enumerate(readme.read_text(encoding="utf-8").splitlines(), 1):
        if line.startswith("## "):
            section, product = line[3:].strip("`/ "), ""
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if line.startswith("|") and len(cells) == 4 and not re.match(r"Product|-", cells[0]):
            product = cells[0] or product
            if section in PRODUCT:
                named.setdefault(section, set()).update(re.findall(r"`(\w+)`", product))
            test = re.fullmatch(r"`([\w./]+)`", cells[1])
            if test:
                path = f"{section}/{test[1]}"
                if not (tests.folder / path).exists() and "/" in test[1]:
                    path = test[1]
                listed.add(path)
                if not (tests.folder / path).exists():
                    yield f"tests/README.md:{number}: tests/{path} does not exist"
                elif tests.cells(path)[1] == "–":
                    yield f"tests/README.md:{number}: no CTest entry runs tests/{path}"
                elif cells[2:] != tests.cells(path):
                    if not write:
                        yield f"tests/README.md:{number}: the sources have {' | '.join(tests.cells(path))}"
                    line = f"| {cells[0]} | {cells[1]} | {' | '.join(tests.cells(path))} |"
                    line = line.replace("|  |", "| |")
            elif cells[1] != "none" or not cells[2]:
                yield f"tests/README.md:{number}: neither a test file, nor none and a reason"
        lines.append(line)
    if write:
        readme.write_text("\n".join(lines) + "\n", encoding="utf-8")

    for folder in PRODUCT:
        stems = {file.stem for file in (root / folder).glob("*") if file.suffix in SOURCES}
        for stem in sorted(stems - named.get(folder, set())):
            yield f"{folder}/{stem} has no row in tests/README.md"
        for stem in sorted(named.get(folder, set()) - stems):
            yield f"tests/README.md: there is no {folder}/{stem}"
    for file in sorted(tests.folder.rglob("*_test.*")):
        path = file.relative_to(tests.folder).as_posix()
        is_test = file.suffix == ".py" or SUITE.search(file.read_text(encoding="utf-8"))
        if is_test and path not in listed and not path.startswith("faults/"):
            yield f"tests/{path} is not in tests/README.md"


def main():
    options = {word for word in sys.argv[1:] if word.startswith("--")}
    arguments = [word for word in sys.argv[1:] if word not in options]
    root = pathlib.Path(arguments[0] if arguments else ".").resolve()
    found = list(check(root, "--write" in options))
    if found:
        found.append("To set suites and entries: tools/lint/test_table.py --write")
    if "--suites" in options:
        found.extend(Tests(root).misnamed_suites())
    print(*found, sep="\n", end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
