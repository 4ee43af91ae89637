"""Names, places and diffs of mutants."""

import unittest

from mutant import Edit, name_mutants

TEXT = b"int a = 1;\nint b = 1;\nint a = 1;\n"


def edit_of(text, piece, replacement, after=0):
    start = text.index(piece, after)
    return Edit(start, start + len(piece), replacement, "constant")


def names(text, *edits):
    return [mutant.name for mutant in name_mutants("ui/a.cpp", text, edits)]


class MutantTest(unittest.TestCase):
    def test_a_mutant_knows_its_line_and_shows_its_neighbours(self):
        (mutant,) = name_mutants("ui/a.cpp", TEXT, [edit_of(TEXT, b"1", "0", 12)])
        self.assertEqual(mutant.place, "ui/a.cpp:2")
        self.assertEqual(mutant.diff(TEXT), (
            "--- a/ui/a.cpp\n+++ b/ui/a.cpp\n@@ -1,3 +1,3 @@\n"
            " int a = 1;\n-int b = 1;\n+int b = 0;\n int a = 1;\n"))

    def test_names_differ_even_for_equal_lines(self):
        edits = [edit_of(TEXT, b"1", "0", after) for after in (0, 12, 23)]
        edits.append(edit_of(TEXT, b"1", "2"))
        self.assertEqual(len(set(names(TEXT, *edits))), 4)

    def test_names_outlive_changes_elsewhere(self):
        longer = b"// new\n" + TEXT
        self.assertEqual(names(TEXT, edit_of(TEXT, b"1", "0", 12)),
                         names(longer, edit_of(longer, b"1", "0", 19)))

    def test_a_change_of_the_line_changes_the_name(self):
        other = TEXT.replace(b"int b", b"int c")
        self.assertNotEqual(names(TEXT, edit_of(TEXT, b"1", "0", 12)),
                            names(other, edit_of(other, b"1", "0", 12)))

    def test_the_last_line_may_lack_its_end(self):
        (mutant,) = name_mutants("a.h", b"int a = 1;", [Edit(8, 9, "0", "constant")])
        self.assertEqual(mutant.edit.apply(b"int a = 1;"), b"int a = 0;")


if __name__ == "__main__":
    unittest.main()
