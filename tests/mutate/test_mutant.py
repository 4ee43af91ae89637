"""Names of mutants."""

import unittest

from mutant import Edit, name_mutants

TEXT = b"int a = 1;\nint b = 1;\nint a = 1;\n"


def edit_of(text, piece, replacement, after=0):
    start = text.index(piece, after)
    return Edit(start, start + len(piece), replacement, "constant")


def names(text, *edits):
    return [mutant.name for mutant in name_mutants("ui/a.cpp", text, edits)]


class MutantTest(unittest.TestCase):
    def test_names_differ_even_for_equal_lines(self):
        edits = [edit_of(TEXT, b"1", "0", after) for after in (0, 12, 23)]
        edits.append(edit_of(TEXT, b"1", "2"))
        self.assertEqual(len(set(names(TEXT, *edits))), 4)

    def test_names_outlive_changes_elsewhere(self):
        longer = b"// new\n" + TEXT
        self.assertEqual(names(TEXT, edit_of(TEXT, b"1", "0", 12)),
                         names(longer, edit_of(longer, b"1", "0", 19)))


if __name__ == "__main__":
    unittest.main()
