"""The tables of operators and constants."""

import unittest

import faults


class FaultsTest(unittest.TestCase):
    def check(self, function, rows):
        for token, expected in rows:
            with self.subTest(token=token):
                self.assertEqual(function(token), expected)

    def test_integers_change_value_and_keep_suffix_and_base(self):
        self.check(faults.other_integer, [
            ("0", "1"), ("1", "0"), ("7", "8"), ("0u", "1u"), ("260UL", "261UL"), ("0x1F", "0x20"),
            ("0X0u", "0x1u"), ("1'000", "1001"), ("017", "16"), ("0b101", "6"), ("1.5", None),
            ("kLimit", None)])

    def test_texts_get_one_character_more(self):
        self.check(faults.other_text, [
            ('"a"', '"xa"'), ('L""', 'L"x"'), ('u8"\\n"', 'u8"x\\n"'), ('R"(a)"', None),
            ('LR"(a)"', None), ("kText", None)])

    def test_characters_become_the_next_and_escapes_an_x(self):
        self.check(faults.other_character, [
            ("'9'", "':'"), ("L'a'", "L'b'"), ("L'\\\\'", "L'x'"), ("'\\0'", "'x'"),
            ("'&'", "'x'"), ("'['", "'x'"), ("c", None)])

    def test_booleans_change_places(self):
        self.check(faults.other_boolean, [("true", "false"), ("false", "true"), ("TRUE", None)])

    def test_no_operator_is_its_own_fault(self):
        for operator, others in faults.OPERATORS.items():
            self.assertTrue(others)
            self.assertNotIn(operator, others)


if __name__ == "__main__":
    unittest.main()
