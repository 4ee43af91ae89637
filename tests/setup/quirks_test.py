#!/usr/bin/env python3
"""Checks tools/lint/quirks.py on small trees."""

import pathlib
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]

HEAD = "# Quirks\n\n| Quirk | What | Why it stays | Test |\n|---|---|---|---|\n"
FIRST = "| 1 | a | b | `S.One` |\n"
SECOND = "| 2 | c | d | `S.Two` |\n"
GOOD = {
    "docs/quirks.md": HEAD + FIRST + "\n## More\n\n" + HEAD + SECOND,
    "ui/a.cpp": "// Quirk 1: a.\n",
    "unzip/b.c": "/* Quirk 2. */\n",
    "tests/t.cpp": "TEST(S, One) {\nTEST_P(S,\n       Two) {\n",
}


class QuirksTest(unittest.TestCase):
    def check(self, changes):
        """The lines printed for the good tree with some files replaced."""
        with tempfile.TemporaryDirectory() as folder:
            for path, text in {**GOOD, **changes}.items():
                file = pathlib.Path(folder, path)
                file.parent.mkdir(parents=True, exist_ok=True)
                file.write_text(text)
            run = subprocess.run(["/usr/bin/python3", ROOT / "tools/lint/quirks.py", folder],
                                 capture_output=True, text=True)
            self.assertEqual(run.stderr, "")
            self.assertEqual(run.returncode, 1 if run.stdout else 0)
            return run.stdout.splitlines()

    def test_each_disagreement_is_named(self):
        page = "docs/quirks.md"
        uncited = [f"{page}: no comment in the product cites Quirk 1"]
        rows = [
            ({}, []),
            ({"ui/a.cpp": "  /// text (Quirk\n  /// 1) goes on\n"}, []),
            ({"ui/a.cpp": "/* text Quirk\n * 1. */\n"}, []),
            *(({path: "\n// Quirk 3: x\n"}, [f"{path}:2: Quirk 3 is not in {page}"])
              for path in ("ui/c.h", "tests/c.cpp", "docs/c.md")),
            ({page: GOOD[page] + "\nSee Quirk 3.\n"}, [f"{page}:15: Quirk 3 is not in {page}"]),
            ({"ui/a.cpp": "", "tests/c.cpp": "// Quirk 1", "docs/c.md": "Quirk 1"}, uncited),
            ({"ui/a.cpp": "// Quirk 12\n"}, [f"ui/a.cpp:1: Quirk 12 is not in {page}", *uncited]),
            ({page: HEAD + FIRST + SECOND + SECOND}, [f"{page}:7: a second Quirk 2"]),
            ({page: HEAD + SECOND, "ui/a.cpp": ""}, [f"{page}: no Quirk 1"]),
            *(({"tests/t.cpp": "TEST(S, One) {\n" + other}, [f"{page}:13: no test S.Two"])
              for other in ("", "// TEST(S, Two) {\n", "TEST(S, Twofold) {\n", "TEST(T, Two) {\n")),
            *(({page: HEAD + FIRST + SECOND + row},
               [f"{page}:7: not a row of number, what, why and one test"])
              for row in ("| 3 | c | d | none |\n", "| 3 | c |  | `S.One` |\n",
                          "| 3 | c | `S.One` |\n", "| x | c | d | `S.One` |\n",
                          "| 3 | c | d | `S.One`, `S.Two` |\n")),
        ]
        for changes, lines in rows:
            with self.subTest(changes=changes):
                self.assertEqual(self.check(changes), lines)

    def test_python_test_counts_with_its_class(self):
        row = "| 2 | c | d | `MoreTest.test_b` |\n"
        page = {"docs/quirks.md": HEAD + FIRST + row}
        named = ("class OneTest(T):\n    def test_a(self):\n"
                 "class MoreTest(T):\n    def test_b(self):\n")
        self.assertEqual(self.check({**page, "tests/t.py": named}), [])
        self.assertEqual(self.check({**page, "tests/t.py": named.replace("_b", "_c")}),
                         ["docs/quirks.md:6: no test MoreTest.test_b"])


if __name__ == "__main__":
    unittest.main()
