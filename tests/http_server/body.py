"""What a scripted answer sends as its body: literal bytes, seeded patterns and files in a row."""

import os
from collections.abc import Iterator
from dataclasses import dataclass
from typing import Protocol

from pattern import pattern_views

_PIECE = 256 * 1024


class Segment(Protocol):
    """A stretch of body bytes that can be read from any offset."""

    length: int

    def views(self, offset: int, length: int) -> Iterator[memoryview]:
        """Yields bytes [offset, offset + length) of the segment in pieces."""


class BytesSegment:
    def __init__(self, data: bytes):
        self._data = memoryview(data)
        self.length = len(data)

    def views(self, offset: int, length: int) -> Iterator[memoryview]:
        yield self._data[offset : offset + length]


@dataclass(frozen=True)
class PatternSegment:
    """`length` bytes of the stream of `seed`, from the stream's byte `start` on."""

    seed: int
    length: int
    start: int = 0

    def views(self, offset: int, length: int) -> Iterator[memoryview]:
        return pattern_views(self.seed, self.start + offset, length)


class FileSegment:
    """A file with the length that it had when the answer was made. Raises OSError if unreadable."""

    def __init__(self, path: str):
        self._path = path
        with open(path, "rb") as file:
            self.length = os.fstat(file.fileno()).st_size

    def views(self, offset: int, length: int) -> Iterator[memoryview]:
        with open(self._path, "rb") as file:
            file.seek(offset)
            while length > 0:
                data = file.read(min(_PIECE, length))
                if not data:
                    raise OSError(f"{self._path} shrank while it was being sent")
                length -= len(data)
                yield memoryview(data)


class Body:
    """Segments one after the other."""

    def __init__(self, segments: tuple[Segment, ...] = ()):
        self._segments = segments
        self.length = sum(segment.length for segment in segments)

    def views(self, offset: int, length: int) -> Iterator[memoryview]:
        """Yields bytes [offset, offset + length) of the body in pieces."""
        for segment in self._segments:
            if length <= 0:
                return
            if offset >= segment.length:
                offset -= segment.length
                continue
            count = min(length, segment.length - offset)
            yield from segment.views(offset, count)
            length -= count
            offset = 0
