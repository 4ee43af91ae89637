"""Seeded test bodies: a pseudo-random stream whose every byte follows from its seed and offset.

The stream is made of 64 KiB blocks. Block k is the seed's noise block rotated left by
(k * STEP) mod BLOCK. STEP is odd, so each of the first 65536 blocks (4 GiB) has a rotation of its
own, and a block or page that a client loses, repeats or swaps shows up. Rotating costs no
arithmetic per byte: the noise is kept twice in a row and a block is a slice of it.

tests/support/http_pattern.cpp holds the same generator.
"""

import functools
import struct
from collections.abc import Iterator

BLOCK = 65536
STEP = 40503
_MASK = (1 << 64) - 1
_WEYL = 0x9E3779B97F4A7C15
_MULTIPLIER = 0x2545F4914F6CDD1D


@functools.lru_cache(maxsize=64)
def _doubled_noise(seed: int) -> memoryview:
    """The noise block of `seed` (xorshift64*, little endian), twice in a row."""
    state = (seed * _WEYL + _MULTIPLIER) & _MASK or 1
    words = []
    for _ in range(BLOCK // 8):
        state ^= state >> 12
        state ^= (state << 25) & _MASK
        state ^= state >> 27
        words.append((state * _MULTIPLIER) & _MASK)
    noise = struct.pack(f"<{len(words)}Q", *words)
    return memoryview(noise + noise)


def pattern_views(seed: int, offset: int, length: int) -> Iterator[memoryview]:
    """Yields the stream's bytes [offset, offset + length) without copying them."""
    noise = _doubled_noise(seed & _MASK)
    end = offset + length
    while offset < end:
        block, inside = divmod(offset, BLOCK)
        count = min(BLOCK - inside, end - offset)
        # The block is noise[rotation : rotation + BLOCK]; its tail never passes the second copy.
        start = (block * STEP) % BLOCK + inside
        yield noise[start : start + count]
        offset += count


def pattern_bytes(seed: int, offset: int, length: int) -> bytes:
    """The stream's bytes [offset, offset + length)."""
    return b"".join(pattern_views(seed, offset, length))
