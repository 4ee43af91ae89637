"""The copy, the graph and the real ninja together: `cp` compiles, `cat` links."""

import contextlib
import os
import pathlib
import subprocess
import tempfile
import unittest

import build_graph
from mutant import Edit, Mutant
from ninja import BuildError, Ninja
from source_copy import ASIDE, SourceCopy

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
        self.source = self.copy.sources / "ui/a.cpp"
        (self.copy.build / "build.ninja").write_text(BUILD.format(sources=self.copy.sources))
        self.ninja = Ninja(self.copy.build, self.root / "build" / "log")
        self.assert_built("ahbh")
        self.graph = build_graph.load(self.copy.build, self.ninja.environment)

    def assert_built(self, expected):
        self.ninja.build(["t.exe"])
        self.assertEqual((self.copy.build / "t.exe").read_text(), expected)

    def planted(self, file, text):
        outputs = self.graph.files_built_from([str(self.copy.sources / "ui" / file)])
        mutant = Mutant(f"ui/{file}", Edit(0, 1, text, "constant"), "", 1)
        return self.copy.planted(mutant, outputs | {"/elsewhere"})

    def assert_nothing_to_do(self):
        said = subprocess.run(["/usr/bin/ninja", "-C", self.copy.build, "-n", "t.exe"], check=True,
                              capture_output=True, text=True).stdout
        self.assertIn("no work to do", said)
        self.assert_built("ahbh")
        self.assertEqual(list(self.copy.build.rglob("*" + ASIDE)), [])

    def test_faults_one_after_another_and_the_way_back(self):
        for file, text, expected in [("a.cpp", "x", "xhbh"), ("b.cpp", "y", "ahyh"),
                                     ("h.h", "z", "azbz"), ("a.cpp", "w", "whbh")]:
            with self.subTest(file=file), self.planted(file, text):
                self.assert_built(expected)
            self.assert_nothing_to_do()
        self.assertEqual((self.root / "ui/a.cpp").read_text(), "a")

    def test_fault_that_is_not_built_leaves_nothing_behind(self):
        with self.planted("a.cpp", "bad"), self.assertRaises(BuildError):
            self.ninja.build(["t.exe"])
        self.assert_nothing_to_do()
        with self.assertRaises(KeyboardInterrupt), self.planted("a.cpp", "x"):
            raise KeyboardInterrupt
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

    def test_copy_follows_the_checkout_and_keeps_the_time_of_what_is_the_same(self):
        os.utime(self.source, ns=(10**18, 10**18))
        self.assertEqual(self.copy.update(), 0)
        self.assertEqual(self.source.stat().st_mtime_ns, 10**18)
        (self.root / "ui/a.cpp").write_text("3")
        os.utime(self.root / "ui/a.cpp", ns=(10**17, 10**17))
        (self.root / "ui/b.cpp").unlink()
        self.assertEqual(self.copy.update(), 2)
        self.assertEqual(self.source.read_text(), "3")
        self.assertGreater(self.source.stat().st_mtime_ns, 10**18)
        self.assertFalse((self.copy.sources / "ui/b.cpp").exists())


if __name__ == "__main__":
    unittest.main()
