"""Symbol records and tables of line numbers."""

import struct

from binary import Function, Line, Place, Symbol
from names import NameTable

_S_END, _S_OBJNAME, _S_PUB32, _S_LPROC32, _S_GPROC32 = 0x0006, 0x1101, 0x110E, 0x110F, 0x1110
_S_COMPILE3, _S_PROCREF, _S_LPROCREF = 0x113C, 0x1125, 0x1127
_LINES, _FILES = 0xF2, 0xF4
_CPLUSPLUS, _AMD64 = 1, 0xD0
_NO_TYPE = 0
_MODULE = 1


def _record(kind: int, data: bytes, name: str | None = None) -> bytes:
    if name is not None:
        data += name.encode() + b"\0"
    data += bytes(-len(data) % 4)
    # The length counts the kind, not itself; both together have four bytes.
    return struct.pack("<2H", len(data) + 2, kind) + data


def _subsection(kind: int, data: bytes) -> bytes:
    return struct.pack("<2I", kind, len(data)) + data


def public_symbol(symbol: Symbol) -> bytes:
    return _record(_S_PUB32, struct.pack("<2IH", 2 if symbol.is_code else 0, symbol.place.offset,
                                         symbol.place.section), symbol.name)


def function_reference(function: Function, offset: int) -> bytes:
    kind = _S_PROCREF if function.is_global else _S_LPROCREF
    return _record(kind, struct.pack("<2IH", 0, offset, _MODULE), function.name)


class Module:
    """All functions and lines, as those of one object file."""

    def __init__(self, name: str) -> None:
        self.name = name
        self.symbols = struct.pack("<I", 4) + _record(_S_OBJNAME, bytes(4), name) + _record(
            _S_COMPILE3, struct.pack("<I9H", _CPLUSPLUS, _AMD64, *[0] * 8), "GNU C++")
        self.lines = b""

    def add_function(self, function: Function) -> int:
        """Returns where its record begins."""
        kind = _S_GPROC32 if function.is_global else _S_LPROC32

        def record(end: int) -> bytes:
            return _record(kind, struct.pack(
                "<8IHB", 0, end, 0, function.size, 0, function.size, _NO_TYPE,
                function.place.offset, function.place.section, 0), function.name)

        start = len(self.symbols)
        self.symbols += record(start + len(record(0))) + _record(_S_END, b"")
        return start

    def add_lines(self, lines: list[Line], starts: set[Place], names: NameTable) -> list[str]:
        """Adds a table for each run of lines of one file within one function; returns the files."""
        files = sorted({line.file for line in lines})
        number_of = {file: number for number, file in enumerate(files)}
        # The files' records have eight bytes each: no checksum.
        self.lines = _subsection(_FILES, b"".join(
            struct.pack("<I4x", names.offset(file)) for file in files))
        runs: list[list[Line]] = []
        for line in lines:
            last = runs[-1][-1] if runs else None
            if (last and line.file == last.file and line.place == last.end
                    and line.place not in starts):
                runs[-1].append(line)
            else:
                runs.append([line])
        for table in runs:
            first = table[0].place
            entries = b"".join(struct.pack("<2I", line.place.offset - first.offset,
                                           line.number | 1 << 31) for line in table)
            self.lines += _subsection(_LINES, struct.pack(
                "<I2H4I", first.offset, first.section, 0, table[-1].end.offset - first.offset,
                8 * number_of[table[0].file], len(table), 12 + len(entries)) + entries)
        return files

    def stream(self) -> bytes:
        # No references to global symbols at the end.
        return self.symbols + self.lines + bytes(4)
