"""Strings and the hash tables by which debuggers find them."""

import struct

_BUCKETS = 4096
_HASH_VERSION = 0xEFFE0000 + 19990810


def name_hash(name: bytes) -> int:
    """The hash of all tables of names."""
    result = 0
    whole = len(name) // 4 * 4
    for (word,) in struct.iter_unpack("<I", name[:whole]):
        result ^= word
    rest = name[whole:]
    if len(rest) >= 2:
        result ^= int.from_bytes(rest[:2], "little")
        rest = rest[2:]
    if rest:
        result ^= rest[0]
    result |= 0x20202020  # upper and lower case fall together
    result ^= result >> 11
    return result ^ result >> 16


class NameTable:
    """The stream "/names": strings that others refer to by their offset."""

    def __init__(self) -> None:
        self._text = b"\0"
        self._offsets: dict[bytes, int] = {}

    def offset(self, text: str) -> int:
        name = text.encode()
        if name not in self._offsets:
            self._offsets[name] = len(self._text)
            self._text += name + b"\0"
        return self._offsets[name]

    def stream(self) -> bytes:
        buckets = [0] * (len(self._offsets) * 5 // 4 + 1)
        for name, offset in self._offsets.items():
            place = name_hash(name) % len(buckets)
            while buckets[place]:
                place = (place + 1) % len(buckets)
            buckets[place] = offset
        return (struct.pack("<3I", 0xEFFEEFFE, 1, len(self._text)) + self._text
                + struct.pack(f"<I{len(buckets)}I", len(buckets), *buckets)
                + struct.pack("<I", len(self._offsets)))


def symbol_hash_table(symbols: list[tuple[str, int]]) -> bytes:
    """The table that leads from a name to the offset of its symbol record."""
    buckets: list[list[tuple[int, bytes, int]]] = [[] for _ in range(_BUCKETS + 1)]
    for text, offset in symbols:
        name = text.encode()
        buckets[name_hash(name) % _BUCKETS].append((len(name), name.lower(), offset))
    entries = used = starts = b""
    bits = 0
    for number, bucket in enumerate(buckets):
        if bucket:
            bits |= 1 << number
            # In units of the 12 bytes that an entry has in memory, not of its 8 in the file.
            starts += struct.pack("<I", len(entries) // 8 * 12)
        for _, _, offset in sorted(bucket):
            entries += struct.pack("<2I", offset + 1, 1)
    used = bits.to_bytes((_BUCKETS + 32) // 32 * 4, "little")
    return (struct.pack("<4I", 0xFFFFFFFF, _HASH_VERSION, len(entries), len(used + starts))
            + entries + used + starts)
