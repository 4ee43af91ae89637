#!/usr/bin/env python3
"""Replaces the time of its making, which widl writes into a type library, with a fixed one, so that
equal sources give equal files: undate_type_library.py FILE.tlb

widl writes the time twice, as custom data of the library: as text within "Created by WIDL ..." and,
in the next item, as a 32-bit number of seconds.
"""

import pathlib
import re
import struct
import sys

TEXT = re.compile(rb"Created by WIDL version [0-9.]+ at (... ... .. ..:..:.. ....)\n")
FIXED_TEXT = b"Thu Jan  1 00:00:00 1970"
VT_UI4 = 0x13


def undate(data):
    """Returns the type library without its date; raises ValueError when there is none."""
    match = TEXT.search(data)
    if not match:
        raise ValueError("no creation date found")
    # Items are padded with "W" to a multiple of four bytes.
    item = match.end() + data[match.end():].index(struct.pack("<H", VT_UI4))
    if data[match.end():item].strip(b"W"):
        raise ValueError("no number follows the creation date")
    result = bytearray(data)
    result[match.start(1):match.end(1)] = FIXED_TEXT
    result[item + 2:item + 6] = bytes(4)
    return bytes(result)


def main():
    path = pathlib.Path(sys.argv[1])
    try:
        path.write_bytes(undate(path.read_bytes()))
    except ValueError as error:
        sys.exit(f"{path}: {error}")


if __name__ == "__main__":
    main()
