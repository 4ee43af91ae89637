"""The seeded pattern: the same bytes however they are cut, others for each seed and block."""

import unittest

from pattern import BLOCK, pattern_bytes


class PatternTest(unittest.TestCase):
    def test_any_piece_equals_the_same_piece_of_the_whole(self) -> None:
        whole = pattern_bytes(7, 0, 5 * BLOCK + 123)
        for offset, length in [(0, 1), (1, 9), (BLOCK - 1, 2), (BLOCK, BLOCK), (100, 4 * BLOCK)]:
            with self.subTest(offset=offset, length=length):
                self.assertEqual(pattern_bytes(7, offset, length), whole[offset : offset + length])

    def test_no_length_gives_nothing(self) -> None:
        self.assertEqual(pattern_bytes(1, 12345, 0), b"")

    def test_seeds_differ(self) -> None:
        heads = {pattern_bytes(seed, 0, 16) for seed in range(200)}
        self.assertEqual(len(heads), 200)

    def test_no_page_stands_in_the_same_place_of_two_blocks(self) -> None:
        pages = {pattern_bytes(3, block * BLOCK + 4096, 16) for block in range(2000)}
        self.assertEqual(len(pages), 2000)

    def test_the_bytes_never_change(self) -> None:
        # The C++ generator is compared with this one in http_server_test.cpp.
        self.assertEqual(pattern_bytes(1, 0, 8).hex(), "67090f0d54421f90")
        self.assertEqual(pattern_bytes(42, 5_000_000_000, 8).hex(), "61097f7f9bbc4908")


if __name__ == "__main__":
    unittest.main()
