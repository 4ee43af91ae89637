"""The copy follows the checkout, and is restored after each fault."""

import contextlib
import os
import pathlib
import tempfile
import unittest

from mutant import Edit, Mutant
from source_copy import ASIDE, SourceCopy

MUTANT = Mutant("ui/a.cpp", Edit(0, 1, "2", "constant"), "ui/a.cpp@0", 1)


class SourceCopyTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        self.write("ui/a.cpp", "1")
        self.write("run", "#!/bin/bash").chmod(0o755)
        self.copy = SourceCopy(self.root, self.root / "build" / "mutate")
        self.copy.update()
        self.source = self.copy.sources / "ui/a.cpp"
        os.utime(self.source, ns=(10**18, 10**18))

    def write(self, path, text):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)
        return file

    def output(self, path, text):
        file = self.copy.build / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)
        os.utime(file, ns=(2 * 10**18, 2 * 10**18))
        return file

    def test_the_copy_has_contents_and_modes_but_not_the_build_folder(self):
        self.assertEqual(self.source.read_text(), "1")
        self.assertTrue(os.access(self.copy.sources / "run", os.X_OK))
        self.assertFalse((self.copy.sources / "build").exists())

    def test_what_is_the_same_stays_as_old_as_it_is(self):
        self.assertEqual(self.copy.update(), 0)
        self.assertEqual(self.source.stat().st_mtime_ns, 10**18)

    def test_what_differs_is_new_whatever_its_time_was(self):
        os.utime(self.write("ui/a.cpp", "3"), ns=(10**17, 10**17))
        self.assertEqual(self.copy.update(), 1)
        self.assertEqual(self.source.read_text(), "3")
        self.assertGreater(self.source.stat().st_mtime_ns, 10**18)

    def test_what_is_gone_goes(self):
        (self.root / "ui/a.cpp").unlink()
        self.assertEqual(self.copy.update(), 1)
        self.assertFalse(self.source.exists())

    def test_a_fault_is_newer_than_its_outputs_which_are_out_of_the_way(self):
        self.output("a.obj", "old")
        with self.copy.planted(MUTANT, {"a.obj", "/elsewhere"}):
            self.assertEqual(self.source.read_text(), "2")
            self.assertGreater(self.source.stat().st_mtime_ns, 10**18)
            self.assertFalse((self.copy.build / "a.obj").exists())
            self.assertEqual((self.copy.build / ("a.obj" + ASIDE)).read_text(), "old")
        self.assertEqual((self.root / "ui/a.cpp").read_text(), "1")

    def test_afterwards_all_is_as_before_with_its_time(self):
        old = self.output("a.obj", "old")
        debug = self.output("p.dll.debug", "old")
        with self.assertRaises(KeyboardInterrupt), self.copy.planted(MUTANT, {"a.obj", "p.dll"}):
            for path in ("a.obj", "p.dll", "p.dll.debug"):
                self.output(path, "faulty")
            raise KeyboardInterrupt
        self.assertEqual(self.source.read_text(), "1")
        self.assertEqual(self.source.stat().st_mtime_ns, 10**18)
        self.assertEqual((old.read_text(), debug.read_text()), ("old", "old"))
        self.assertEqual(old.stat().st_mtime_ns, 2 * 10**18)
        self.assertFalse((self.copy.build / "p.dll").exists())
        self.assertEqual(list(self.copy.build.rglob("*" + ASIDE)), [])

    def test_a_killed_run_leaves_nothing_that_the_next_one_believes(self):
        self.output("a.obj", "old")
        killed = self.copy.planted(MUTANT, {"a.obj"})
        killed.__enter__()
        self.output("a.obj", "faulty")
        self.assertEqual(self.copy.update(), 1)
        self.assertEqual(self.source.read_text(), "1")
        self.assertGreater(self.source.stat().st_mtime_ns, 10**18)
        self.assertEqual(list(self.copy.build.rglob("*" + ASIDE)), [])
        with contextlib.suppress(FileNotFoundError):
            killed.gen.close()


if __name__ == "__main__":
    unittest.main()
