#!/usr/bin/env python3
"""Makes the archives that the unzip tests read: make_archives.py FOLDER."""

import io
import pathlib
import random
import struct
import sys
import zipfile

DATE = (2011, 12, 13, 14, 15, 16)
DOS, UNIX = 0, 3
NAME_IS_UTF8 = 0x800
# A field of no known kind; an engine that decodes UTF-8 does so for names with extra fields only.
NO_EXTRA = struct.pack("<HH", 0xCAFE, 0)
TEXT = b"A lesson about zip archives.\n" * 400
# Every byte value, in runs that deflate finds hard.
BINARY = bytes((i * i + (i >> 3)) & 0xFF for i in range(5000))


class RawInfo(zipfile.ZipInfo):
    """An entry whose name is stored as the given bytes, without a word about their encoding."""

    def __init__(self, name):
        super().__init__("x", DATE)
        self.raw_name = name

    def _encodeFilenameFlags(self):
        return self.raw_name, self.flag_bits


def info(name, method=zipfile.ZIP_DEFLATED, host=UNIX, flags=0, extra=b""):
    entry = RawInfo(name) if isinstance(name, bytes) else zipfile.ZipInfo(name, DATE)
    entry.flag_bits |= flags
    entry.extra = extra
    entry.compress_type = method
    entry.create_system = host
    entry.external_attr = 0o644 << 16
    return entry


def archive(*entries, comment=b""):
    """The bytes of an archive of (entry, data) pairs."""
    stream = io.BytesIO()
    with zipfile.ZipFile(stream, "w") as target:
        for entry, data in entries:
            target.writestr(entry, data, compress_type=entry.compress_type)
        target.comment = comment
    return stream.getvalue()


def one(name, data, **options):
    return archive((info(name, **options), data))


def patched(data, signature, offset, form, *values):
    """Overwrites fields at an offset from the last occurrence of a header's signature."""
    place = data.rindex(signature) + offset
    changed = bytearray(data)
    struct.pack_into("<" + form, changed, place, *values)
    return bytes(changed)


LOCAL, CENTRAL, END = b"PK\3\4", b"PK\1\2", b"PK\5\6"


def with_size(data, size):
    """Has both headers of the only entry claim this size."""
    return patched(patched(data, LOCAL, 22, "I", size), CENTRAL, 24, "I", size)


def overlapping():
    """Two entries of the directory that mean the same compressed bytes."""
    single = one("kernel.txt", TEXT)
    start = single.index(CENTRAL)
    header, end = single[start:single.index(END)], single[single.index(END):]
    twice = single[:start] + header + header.replace(b"kernel.txt", b"second.txt") + end
    return patched(twice, END, 8, "HHI", 2, 2, 2 * len(header))


def archives():
    stored = zipfile.ZIP_STORED
    yield "stored", archive((info("a.txt", stored), b"stored text"),
                            (info("folder/b.bin", stored), BINARY))
    yield "deflated", archive(
        (info("z first.txt"), TEXT), (info("folder/"), b""), (info("folder/inner/c.bin"), BINARY),
        comment=b"100% %s")
    yield "empty", archive()
    yield "noise", one("noise.bin", random.Random(1).randbytes(300000))

    yield "names_dos", one("Gr\u00fc\u00dfe.txt".encode("cp437"), TEXT, host=DOS)
    yield "names_ansi", one("Gr\u00fc\u00dfe \u20ac.txt".encode("cp1252"), TEXT)
    yield "names_utf8", one("Gr\u00fc\u00dfe.txt", TEXT)
    yield "names_utf8_extra", one("Gr\u00fc\u00dfe.txt", TEXT, extra=NO_EXTRA)
    yield "names_malformed", one(b"\xff\xc3(.txt", TEXT, flags=NAME_IS_UTF8, extra=NO_EXTRA)

    good = one("bad.txt", TEXT)
    yield "encrypted", patched(patched(good, LOCAL, 6, "H", 1), CENTRAL, 8, "H", 1)
    yield "bad_crc", patched(patched(good, LOCAL, 14, "I", 0x1234), CENTRAL, 16, "I", 0x1234)
    yield "cut_end", good[:-30]
    yield "junk_front", b"#!/bin/sh\n" * 10 + good
    yield "lying_size", with_size(good, 3 << 30)
    yield "claims_4g", with_size(good, 2**32 - 1)
    yield "overlapping", overlapping()


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    for name, data in archives():
        (folder / f"{name}.zip").write_bytes(data)


if __name__ == "__main__":
    main()
