"""The version in a DLL's resources."""

import struct
from pathlib import Path

_SIGNATURE = struct.pack("<II", 0xFEEF04BD, 0x00010000)


def position(binary: bytes) -> int:
    """Where the numbers stand: the file's version, then the product's, of two words each."""
    found = binary.find(_SIGNATURE)
    if found < 0:
        raise ValueError("no version in the resources")
    return found + len(_SIGNATURE)


def file_version(file: Path) -> str:
    """The file's version, as four numbers."""
    binary = file.read_bytes()
    high, low = struct.unpack_from("<II", binary, position(binary))
    return f"{high >> 16}.{high & 0xFFFF}.{low >> 16}.{low & 0xFFFF}"
