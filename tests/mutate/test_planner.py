"""Which files, which flags, which faults, in which order."""

import json
import pathlib
import tempfile
import unittest

import compile_flags
import planner
import product

FILES = ["ui/a.cpp", "ui/a.h", "ui/a.rc", "com/detail/c.h", "tests/ui/t.cpp", "atl/b.h"]
LAYERS = "foreach(folder IN ITEMS atl resources\n    com ui tools bench tests)\n"


class FilesTest(unittest.TestCase):
    def test_product_is_what_the_build_lists_without_the_others(self):
        self.assertEqual(product.product_folders(LAYERS), ["com", "ui"])

    def test_choice_of_files(self):
        for patterns, expected in [
                ([], ["com/detail/c.h", "ui/a.cpp", "ui/a.h"]),
                (["tests", "atl/"], ["atl/b.h", "tests/ui/t.cpp"]),
                (["*.h"], ["atl/b.h", "com/detail/c.h", "ui/a.h"]),
                (["ui/a.cpp"], ["ui/a.cpp"]), (["none"], [])]:
            with self.subTest(patterns=patterns):
                self.assertEqual(product.chosen_files(FILES, ["com", "ui"], patterns), expected)


class FlagsTest(unittest.TestCase):
    def test_header_takes_those_of_its_source_or_of_its_folder(self):
        entries = [{"file": file, "command": f"g++ -o {target}/x.obj -c {file}"}
                   for file, target in [
                       ("/s/tests/t.cpp", "tests"), ("/s/ui/b.cpp", "tests/se"),
                       ("/s/ui/b.cpp", "ui"), ("/s/ui/a.cpp", "ui"), ("/s/com/a.cpp", "com")]]
        entries.append({"file": "/s/ui/a.rc", "command": "windres -O coff /s/ui/a.rc a.res"})
        for path, expected in [("/s/ui/a.h", 3), ("/s/com/x.h", 4), ("/s/ui/b.h", 2),
                               ("/s/ui/b.cpp", 2), ("/s/tests/x.h", 0)]:
            with self.subTest(path=path):
                self.assertIs(compile_flags.nearest_entry(entries, path), entries[expected])


class PlannerTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        (self.folder / "compile_commands.json").write_text(json.dumps(
            [{"file": f"{self.folder}/a.cpp", "command": "g++ -std=c++20 -o a/a.obj -c a.cpp"}]))
        self.write("a.cpp", "int a = 1;\nint b = 5;\n")
        self.write("b.h", "const int c = 7;\n")

    def write(self, name, text):
        (self.folder / name).write_text(text)

    def mutants(self):
        one = planner.Planner(self.folder, self.folder, self.folder / "cache")
        return one.mutants(["b.h", "a.cpp"])

    def test_sources_and_headers_give_mutants_of_what_they_are_now(self):
        before = self.mutants()
        self.assertEqual([mutant.place for mutant in before], ["a.cpp:1", "a.cpp:2", "b.h:1"])
        self.assertEqual(self.mutants(), before)
        self.write("a.cpp", "int a;\n")
        self.assertEqual([mutant.place for mutant in self.mutants()], ["b.h:1"])

    def test_seed_decides_the_order(self):
        numbers = list(range(100))
        self.assertEqual(planner.draw(numbers, 5), planner.draw(numbers, 5))
        self.assertNotEqual(planner.draw(numbers, 5), planner.draw(numbers, 6))
        self.assertEqual(sorted(planner.draw(numbers, 5)), numbers)

    def test_mutants_by_name(self):
        mutants = self.mutants()
        self.assertEqual(planner.named(mutants, [mutants[2].name, mutants[0].name]),
                         [mutants[2], mutants[0]])
        with self.assertRaisesRegex(KeyError, "there is no mutant a.cpp@0"):
            planner.named(mutants, ["a.cpp@0"])


if __name__ == "__main__":
    unittest.main()
