"""The copy, the graph and the real ninja together: `cp` compiles, `cat` links."""

import contextlib
import pathlib
import subprocess
import tempfile
import unittest

import build_graph
from mutant import Edit, Mutant
from ninja import BuildError, Ninja
from source_copy import SourceCopy

BUILD = """
rule compile
  command = test "$$(cat $in)" != bad && cat $in {sources}/ui/h.h > $out $
    && echo "$out: $in {sources}/ui/h.h" > $out.d
  deps = gcc
  depfile = $out.d
rule link
  command = cat $in > $out
build a.obj: compile {sources}/ui/a.cpp
build b.obj: compile {sources}/ui/b.cpp
build t.exe: link a.obj b.obj
"""


def mutant(file, text):
    return Mutant(f"ui/{file}", Edit(0, 1, text, "constant"), "", 1)


class RebuildTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        (self.root / "ui").mkdir()
        for name, text in ("a.cpp", "a"), ("b.cpp", "b"), ("h.h", "h"):
            (self.root / "ui" / name).write_text(text)
        self.copy = SourceCopy(self.root, self.root / "build" / "mutate")
        self.copy.update()
        (self.copy.build / "build.ninja").write_text(BUILD.format(sources=self.copy.sources))
        self.ninja = Ninja(self.copy.build, self.root / "log")
        self.assert_built("ahbh")
        self.graph = build_graph.load(self.copy.build, self.ninja.environment)

    def assert_built(self, expected):
        self.ninja.build(["t.exe"])
        self.assertEqual((self.copy.build / "t.exe").read_text(), expected)

    def outputs(self, file):
        return self.graph.files_built_from([str(self.copy.sources / "ui" / file)])

    def planted(self, file, text):
        return self.copy.planted(mutant(file, text), self.outputs(file))

    def assert_nothing_to_do(self):
        said = subprocess.run(["/usr/bin/ninja", "-C", self.copy.build, "-n", "t.exe"], check=True,
                              capture_output=True, text=True).stdout
        self.assertIn("no work to do", said)
        self.assert_built("ahbh")

    def test_faults_one_after_another_and_the_way_back(self):
        for file, text, expected in [("a.cpp", "x", "xhbh"), ("b.cpp", "y", "ahyh"),
                                     ("h.h", "z", "azbz"), ("a.cpp", "w", "whbh")]:
            with self.subTest(file=file), self.planted(file, text):
                self.assert_built(expected)
            self.assert_nothing_to_do()

    def test_a_header_is_seen_by_all_that_include_it(self):
        self.assertEqual(self.outputs("h.h"), {"a.obj", "b.obj", "t.exe"})
        self.assertEqual(self.outputs("a.cpp"), {"a.obj", "t.exe"})

    def test_what_does_not_compile_leaves_nothing_behind(self):
        with self.planted("a.cpp", "bad"), self.assertRaises(BuildError):
            self.ninja.build(["t.exe"])
        self.assert_nothing_to_do()

    def test_a_fault_that_is_not_built_at_all(self):
        with self.planted("a.cpp", "x"):
            pass
        self.assert_nothing_to_do()

    def test_after_a_killed_run_all_is_built_again(self):
        for built in False, True:
            killed = self.planted("a.cpp", "x")
            killed.__enter__()
            if built:
                self.assert_built("xhbh")
            self.copy.update()
            self.assert_built("ahbh")
            with contextlib.suppress(FileNotFoundError):
                killed.gen.close()  # the test's own: nobody does this after a real kill
            self.copy.update()


if __name__ == "__main__":
    unittest.main()
