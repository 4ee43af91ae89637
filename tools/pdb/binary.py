"""What a DLL and the file with its DWARF say: sections, build id, functions, symbols, lines."""

import posixpath
import re
import struct
import subprocess
from bisect import bisect_right
from pathlib import Path
from typing import NamedTuple

_TOOL = "/usr/bin/x86_64-w64-mingw32-"
_DEBUG_DIRECTORY, _EXCEPTION_DIRECTORY = 6, 3
_HEADING = re.compile(r"(?:CU: )?(\S.*?):(?:\[\+\+\])?")
_ROW = re.compile(r".*\s(\d+|-)\s+0x([0-9a-f]+)(?:\s.*)?")


class Place(NamedTuple):
    """An address, as debuggers of the platform write it: number of the section from 1, offset."""
    section: int
    offset: int


class Symbol(NamedTuple):
    name: str
    place: Place
    is_code: bool
    is_global: bool


class Function(NamedTuple):
    name: str
    place: Place
    size: int
    is_global: bool


class Line(NamedTuple):
    """The code of a line: from place to end."""
    place: Place
    end: Place
    file: str
    number: int


class Section(NamedTuple):
    address: int
    size: int
    file_offset: int
    flags: int


class Image:
    """A 64-bit DLL."""

    def __init__(self, path: Path) -> None:
        self._data = path.read_bytes()
        (head,) = self._unpack("<I", 0x3C)
        (count,) = self._unpack("<H", head + 6)
        (optional_size,) = self._unpack("<H", head + 20)
        optional = head + 24
        (self.base,) = self._unpack("<Q", optional + 24)
        self._directories = optional + 112
        table = optional + optional_size
        self.section_headers = self._data[table:table + 40 * count]
        self.sections = []
        for position in range(table, table + 40 * count, 40):
            size, address, _, file_offset = self._unpack("<4I", position + 8)
            (flags,) = self._unpack("<I", position + 36)
            self.sections.append(Section(address, size, file_offset, flags))

    def _unpack(self, layout: str, offset: int) -> tuple:
        return struct.unpack_from(layout, self._data, offset)

    def place(self, address: int) -> Place | None:
        """Where an address of the loaded DLL lies; a section's end belongs to it."""
        offset = address - self.base
        number = bisect_right([section.address for section in self.sections], offset)
        if number:
            section = self.sections[number - 1]
            if offset <= section.address + section.size:
                return Place(number, offset - section.address)
        return None

    def _directory(self, number: int) -> tuple[int, int]:
        """The offset in the file and the size of a part that the head lists."""
        address, size = self._unpack("<2I", self._directories + 8 * number)
        place = self.place(self.base + address)
        if not size or not place:
            raise ValueError(f"directory {number} is missing")
        return self.sections[place.section - 1].file_offset + place.offset, size

    def build_id(self) -> tuple[bytes, int]:
        """The GUID and the age by which a debugger knows the symbols of this DLL."""
        offset, _ = self._directory(_DEBUG_DIRECTORY)
        (record,) = self._unpack("<I", offset + 24)
        signature, guid, age = self._unpack("<4s16sI", record)
        if signature != b"RSDS":
            raise ValueError("the DLL has no build id")
        return guid, age

    def code_ends(self) -> dict[int, int]:
        """Where each function that has unwinding information begins and ends."""
        offset, size = self._directory(_EXCEPTION_DIRECTORY)
        return {self.base + begin: self.base + end
                for begin, end, _ in struct.iter_unpack("<3I", self._data[offset:offset + size])}


def _run(tool: str, *arguments: str | Path, text: str | None = None) -> str:
    return subprocess.run([_TOOL + tool, *arguments], input=text, check=True,
                          stdout=subprocess.PIPE, encoding="utf-8", errors="replace").stdout


def symbols(image: Image, debug_file: Path) -> list[Symbol]:
    """The symbols of functions and variables, by address."""
    result = []
    for row in _run("nm", "--defined-only", "--format=posix", debug_file).splitlines():
        name, kind, value, *_ = row.split()
        place = image.place(int(value, 16)) if kind.upper() in "TDBR" else None
        if place and not name.startswith("."):
            result.append(Symbol(name, place, kind.upper() == "T", kind.isupper()))
    return sorted(result, key=lambda symbol: (symbol.place, not symbol.is_global, symbol.name))


def functions(image: Image, found: list[Symbol]) -> list[Function]:
    """The functions under their names in the source; of several names of one, the first."""
    first = {symbol.place: symbol for symbol in reversed(found) if symbol.is_code}
    starts = sorted(first)
    readable = _run("c++filt", "--no-params",
                    text="\n".join(first[place].name for place in starts)).splitlines()
    ends = {image.place(begin): image.place(end) for begin, end in image.code_ends().items()}
    result = []
    for place, following, name in zip(starts, [*starts[1:], None], readable, strict=True):
        end = ends.get(place) or following
        if end and end.section == place.section:
            result.append(Function(name, place, end.offset - place.offset, first[place].is_global))
    return result


def lines(image: Image, debug_file: Path) -> list[Line]:
    """The lines of all code, by address."""
    result: list[Line] = []
    file = ""
    start: tuple[Place, str, int] | None = None
    for row in _run("objdump", "--dwarf=decodedline", "--wide", debug_file).splitlines():
        if match := _ROW.fullmatch(row):
            place = image.place(int(match[2], 16))
            if start and place and place > start[0]:
                result.append(Line(start[0], place, start[1], start[2]))
            number = 0 if match[1] == "-" else int(match[1])
            start = (place, file, number) if place and number else None
        elif match := _HEADING.fullmatch(row):
            file = posixpath.normpath(match[1]).replace("/", "\\")
    return sorted(result)
