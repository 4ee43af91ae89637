"""Lesson and gallery files for the demo: the right first bytes, then a seeded pattern."""

import base64
import hashlib
import sys
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path
from typing import Any

sys.path.append(str(Path(__file__).parents[2] / "tests" / "http_server"))
from pattern import pattern_views  # noqa: E402  # the server's own generator

_ZIP = b"PK\x03\x04"
_ZLIB = b"\x78\x9c"
_COMPOUND_FILE = b"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1"
_SIGNATURES = {
    ".folivo": _ZIP,
    ".gallery": _ZIP,
    ".galleryitem": _ZIP,
    ".qdk": _ZLIB,
    ".qdc": _ZLIB,
    ".fvk": _COMPOUND_FILE,
}


@dataclass(frozen=True)
class Lesson:
    """One file. The size is in bytes; files of different seeds differ everywhere."""

    name: str
    size: int
    seed: int

    @property
    def extension(self) -> str:
        return Path(self.name).suffix

    @property
    def _signature(self) -> bytes:
        return _SIGNATURES[self.extension]

    def _pattern_length(self) -> int:
        return self.size - len(self._signature)

    def body(self) -> list[dict[str, Any]]:
        """The file as the test server's body."""
        return [
            {"bytes": base64.b64encode(self._signature).decode()},
            {"pattern": {"seed": self.seed, "length": self._pattern_length()}},
        ]

    def _pieces(self) -> Iterator[bytes | memoryview]:
        yield self._signature
        yield from pattern_views(self.seed, 0, self._pattern_length())

    def write(self, path: Path) -> None:
        with path.open("wb") as file:
            file.writelines(self._pieces())

    def digest(self) -> str:
        """The SHA-256 that a faithful copy has."""
        digest = hashlib.sha256()
        for piece in self._pieces():
            digest.update(piece)
        return digest.hexdigest()


def digest_of(path: Path) -> str:
    """A file's SHA-256; a text that equals none when there is no such file."""
    if not path.is_file():
        return "no file"
    with path.open("rb") as file:
        return hashlib.file_digest(file, "sha256").hexdigest()
