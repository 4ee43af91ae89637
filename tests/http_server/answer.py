"""One scripted answer, as described by the JSON that a test posts (see README.md).

Texts stand for bytes: each character is one byte (Latin-1), so a test can ask for any byte.
Anything unknown or of the wrong type is refused, so that a typing error in a test cannot pass
for a feature that happens not to matter.
"""

import base64
import binascii
import re
from dataclasses import dataclass
from http import HTTPStatus
from typing import Any

from body import Body, BytesSegment, FileSegment, PatternSegment, Segment

FRAMINGS = ("length", "chunked", "close")
_POINT = re.compile(r"before_headers|after_headers|end|(?:head|body):[0-9]+", re.ASCII)


class ScriptError(ValueError):
    """The script's JSON cannot be understood; the text says why."""


class Fields:
    """Takes typed fields out of a JSON object and complains about those nobody has asked for."""

    def __init__(self, value: Any, what: str):
        if not isinstance(value, dict):
            raise ScriptError(f"{what} must be an object")
        self._fields = dict(value)
        self._what = what

    def take(self, name: str, kind: type, default: Any = None) -> Any:
        if name not in self._fields:
            return default
        value = self._fields.pop(name)
        # A bool is an int in Python, but a test that writes one for the other has made a mistake.
        if not isinstance(value, kind) or (kind is int and isinstance(value, bool)):
            raise ScriptError(f"{self._what}: {name} must be of type {kind.__name__}")
        if kind is int and value < 0:
            raise ScriptError(f"{self._what}: {name} must not be negative")
        return value

    def take_bytes(self, name: str) -> bytes | None:
        text = self.take(name, str)
        if text is None:
            return None
        try:
            return base64.b64decode(text, validate=True)
        except binascii.Error as error:
            raise ScriptError(f"{self._what}: {name} is not base64") from error

    def finish(self) -> None:
        if self._fields:
            raise ScriptError(f"{self._what}: unknown field {', '.join(sorted(self._fields))}")


def latin1(text: str, what: str) -> bytes:
    try:
        return text.encode("latin-1")
    except UnicodeEncodeError as error:
        raise ScriptError(f"{what} has a character above U+00FF") from error


def parse_point(text: Any) -> str:
    """Checks the name of a point in an answer and gives it in its one canonical form."""
    if not isinstance(text, str) or not _POINT.fullmatch(text):
        raise ScriptError(f"{text!r} is not a point such as before_headers, head:10 or body:4096")
    if ":" not in text:
        return text
    kind, offset = text.split(":")
    canonical = f"{kind}:{int(offset)}"
    return "before_headers" if canonical == "head:0" else canonical


def _parse_segment(value: Any) -> Segment:
    if not isinstance(value, dict) or len(value) != 1:
        raise ScriptError("a body segment is an object with one of bytes, text, pattern, file")
    fields = Fields(value, "body")
    if "text" in value:
        return BytesSegment(fields.take("text", str).encode("utf-8"))
    if "pattern" in value:
        pattern = Fields(fields.take("pattern", dict), "pattern")
        segment = PatternSegment(
            pattern.take("seed", int, 0),
            pattern.take("length", int, 0),
            pattern.take("start", int, 0),
        )
        pattern.finish()
        return segment
    if "file" in value:
        try:
            return FileSegment(fields.take("file", str))
        except OSError as error:
            raise ScriptError(f"body file: {error}") from error
    data = fields.take_bytes("bytes")
    fields.finish()
    return BytesSegment(data or b"")


def _parse_headers(value: list) -> tuple[tuple[bytes, bytes], ...]:
    headers = []
    for item in value:
        if not isinstance(item, list) or [type(part) for part in item] != [str, str]:
            raise ScriptError("headers must be a list of [name, value]")
        name, text = item
        if name.lower() == "content-length":
            raise ScriptError("Content-Length is set by content_length, not by headers")
        headers.append((latin1(name, "a header name"), latin1(text, f"header {name}")))
    return tuple(headers)


@dataclass(frozen=True)
class Cut:
    """Where the server breaks the connection, and how: "fin" (graceful) or "reset"."""

    at: str
    how: str


@dataclass(frozen=True)
class Answer:
    """What the server sends for one request; the field comments name what is not obvious."""

    status: int = 200
    reason: bytes = b"OK"
    status_line: bytes | None = None  # replaces the whole status line
    headers: tuple[tuple[bytes, bytes], ...] = ()
    raw: bytes | None = None  # replaces status line, headers and the blank line
    body: Body = Body()
    framing: str = "length"
    content_length: tuple[bytes, ...] | None = None  # claimed lengths in place of the true one
    chunk_size: int = 65536
    hold: frozenset[str] = frozenset()
    gated: bool = False
    rate: int = 0  # body bytes per second, 0 = unlimited
    cut: Cut | None = None
    close: bool = False

    @property
    def points(self) -> frozenset[str]:
        """All points at which something happens."""
        return self.hold | {self.cut.at} if self.cut else self.hold

    def offsets(self, kind: str) -> list[int]:
        """The offsets of the "head" or "body" points behind the first byte, ascending."""
        offsets = [
            int(point.partition(":")[2]) for point in self.points if point.startswith(kind + ":")
        ]
        return sorted(offset for offset in offsets if offset > 0)


def _default_reason(status: int) -> bytes:
    try:
        return HTTPStatus(status).phrase.encode("ascii")
    except ValueError:
        return b"Unnamed"


def _parse_cut(value: dict | None) -> Cut | None:
    if value is None:
        return None
    fields = Fields(value, "cut")
    cut = Cut(parse_point(fields.take("at", str, "")), fields.take("how", str, "fin"))
    fields.finish()
    if cut.how not in ("fin", "reset"):
        raise ScriptError("cut: how must be fin or reset")
    return cut


def parse_answer(value: Any) -> Answer:
    """Makes an answer of its JSON object. Raises ScriptError."""
    fields = Fields(value, "answer")
    status = fields.take("status", int, 200)
    reason = fields.take("reason", str)
    status_line = fields.take("status_line", str)
    lengths = fields.take("content_length", list)
    if lengths is not None and not all(isinstance(text, str) for text in lengths):
        raise ScriptError("content_length must be a list of texts")
    answer = Answer(
        status=status,
        reason=_default_reason(status) if reason is None else latin1(reason, "reason"),
        status_line=None if status_line is None else latin1(status_line, "status_line"),
        headers=_parse_headers(fields.take("headers", list, [])),
        raw=fields.take_bytes("raw"),
        body=Body(tuple(_parse_segment(item) for item in fields.take("body", list, []))),
        framing=fields.take("framing", str, "length"),
        content_length=None
        if lengths is None
        else tuple(latin1(text, "content_length") for text in lengths),
        chunk_size=fields.take("chunk_size", int, 65536),
        hold=frozenset(parse_point(point) for point in fields.take("hold", list, [])),
        gated=fields.take("gated", bool, False),
        rate=fields.take("rate", int, 0),
        cut=_parse_cut(fields.take("cut", dict)),
        close=fields.take("close", bool, False),
    )
    fields.finish()
    if answer.framing not in FRAMINGS:
        raise ScriptError(f"framing must be one of {', '.join(FRAMINGS)}")
    if any(offset > answer.body.length for offset in answer.offsets("body")):
        raise ScriptError("a body point lies behind the end of the body")
    if answer.chunk_size == 0:
        raise ScriptError("chunk_size must not be 0")
    if not 100 <= status <= 999:
        raise ScriptError("status must have three digits")
    return answer
