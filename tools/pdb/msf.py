"""The container of a PDB: numbered streams in blocks of one file."""

import struct

_MAGIC = b"Microsoft C/C++ MSF 7.00\r\n\x1aDS\0\0\0"
_BLOCK = 4096
# Larger files have further maps of free blocks, at each multiple of this one.
_MOST_BLOCKS = _BLOCK


def _padded(data: bytes) -> bytes:
    return data + bytes(-len(data) % _BLOCK)


def msf_file(streams: list[bytes]) -> bytes:
    """The file that holds the streams."""
    # Block 0 is the head; 1 and 2 are the map of free blocks, the second one spare.
    body = b""
    next_block = 3

    def add(data: bytes) -> list[int]:
        nonlocal body, next_block
        padded = _padded(data)
        blocks = list(range(next_block, next_block + len(padded) // _BLOCK))
        body += padded
        next_block += len(blocks)
        return blocks

    placed = [block for stream in streams for block in add(stream)]
    directory = struct.pack(f"<{1 + len(streams) + len(placed)}I", len(streams),
                            *map(len, streams), *placed)
    directory_blocks = add(directory)
    [directory_map] = add(struct.pack(f"<{len(directory_blocks)}I", *directory_blocks))
    if next_block > _MOST_BLOCKS:
        raise ValueError("the symbols have more than 16 MB")
    head = _MAGIC + struct.pack("<6I", _BLOCK, 1, next_block, len(directory), 0, directory_map)
    free = ((1 << 8 * _BLOCK) - (1 << next_block)).to_bytes(_BLOCK, "little")
    return _padded(head) + free + free + body
