"""The streams that describe a PDB as a whole."""

import struct

from binary import Image
from codeview import Module
from names import NameTable, name_hash

_NONE = 0xFFFF
_AMD64 = 0x8664
_READ, _WRITE, _EXECUTE, _IS_32_BIT, _SELECTOR, _ABSOLUTE = 1, 2, 4, 8, 0x100, 0x200


def info_stream(guid: bytes, age: int, named: dict[str, int]) -> bytes:
    """Version, build id, and the numbers of streams that have names."""
    text = b""
    capacity = 8
    slots: dict[int, tuple[int, int]] = {}
    for name, number in named.items():
        slot = name_hash(name.encode()) % 0x10000 % capacity
        while slot in slots:
            slot = (slot + 1) % capacity
        slots[slot] = len(text), number
        text += name.encode() + b"\0"
    present = sum(1 << slot for slot in slots)
    return (struct.pack("<3I", 20000404, int.from_bytes(guid[:4], "little"), age) + guid
            + struct.pack("<I", len(text)) + text
            + struct.pack("<5I", len(slots), capacity, 1, present, 0)
            + b"".join(struct.pack("<2I", *slots[slot]) for slot in sorted(slots))
            + struct.pack("<2I", 0, 20140508))


def empty_type_stream(hash_stream: int) -> bytes:
    return struct.pack("<5I2H8I", 20040203, 56, 0x1000, 0x1000, 0, hash_stream, _NONE,
                       4, 0x3FFFF, 0, 0, 0, 0, 0, 0)


def _section_flags(flags: int) -> int:
    result = _IS_32_BIT | _SELECTOR
    for bit, mapped in ((30, _READ), (31, _WRITE), (29, _EXECUTE)):
        result |= mapped if flags >> bit & 1 else 0
    return result


def _section_map(image: Image) -> bytes:
    rows = [(_section_flags(section.flags), section.size) for section in image.sections]
    rows.append((_IS_32_BIT | _ABSOLUTE, 0xFFFFFFFF))
    return struct.pack("<2H", len(rows), len(rows)) + b"".join(
        struct.pack("<6H2I", flags, 0, 0, number, _NONE, _NONE, 0, size)
        for number, (flags, size) in enumerate(rows, 1))


def _source_files(files: list[str]) -> bytes:
    text = b""
    offsets = []
    for file in files:
        offsets.append(len(text))
        text += file.encode() + b"\0"
    result = struct.pack(f"<4H{len(files)}I", 1, len(files), 0, len(files), *offsets) + text
    return result + bytes(-len(result) % 4)


def debug_info_stream(image: Image, age: int, module: Module, files: list[str],
                      numbers: dict[str, int]) -> bytes:
    """The list of modules, sections and source files, and the numbers of the other streams."""
    # All code is the one module's.
    contributions = [struct.pack("<H2x2iIH2x2I", number, 0, section.size, section.flags, 0, 0, 0)
                     for number, section in enumerate(image.sections, 1)
                     if _section_flags(section.flags) & _EXECUTE]
    name = module.name.encode() + b"\0"
    modules = (bytes(4) + contributions[0] + struct.pack(
        "<2H3I2H3I", 0, numbers["module"], len(module.symbols), 0, len(module.lines), len(files),
        0, 0, 0, 0) + name + name)
    modules += bytes(-len(modules) % 4)
    contributed = struct.pack("<I", 0xEFFE0000 + 19970605) + b"".join(contributions)
    section_map = _section_map(image)
    source_files = _source_files(files)
    edit_names = NameTable().stream()  # of linkers that change a PDB
    optional = struct.pack("<11H", *[_NONE] * 5, numbers["sections"], *[_NONE] * 5)
    return (struct.pack("<iII6H5iIiiHHI", -1, 19990903, age, numbers["globals"], 0x8E00,
                        numbers["publics"], 0, numbers["symbols"], 0, len(modules),
                        len(contributed), len(section_map), len(source_files), 0, 0,
                        len(optional), len(edit_names), 0, _AMD64, 0)
            + modules + contributed + section_map + source_files + edit_names + optional)
