"""One scripted answer, made of the JSON that a test posts (see README.md).

Texts stand for bytes: each character is one byte (Latin-1). What is unknown or of the wrong type is
refused, so that a typing error in a test cannot pass for a feature that does not matter.
"""

import base64
import os
import re
from collections.abc import Callable, Iterator
from dataclasses import dataclass
from http import HTTPStatus
from typing import Any

from pattern import pattern_views

_POINT = re.compile(r"before_headers|after_headers|end|head:[1-9][0-9]*|body:(0|[1-9][0-9]*)")
_FILE_PIECE = 256 * 1024
_FIELDS = {
    "status": int,
    "reason": str,
    "status_line": str,
    "headers": list,
    "raw": str,
    "body": list,
    "framing": str,
    "chunk_size": int,
    "content_length": list,
    "hold": list,
    "gated": bool,
    "rate": int,
    "cut": dict,
    "close": bool,
}


class ScriptError(ValueError):
    """The script's JSON cannot be understood; the text says why."""


def require(condition: object, message: str) -> None:
    if not condition:
        raise ScriptError(message)


def take_fields(value: Any, what: str, types: dict[str, type]) -> dict[str, Any]:
    """Checks a JSON object: each field known and of its type, no number below 0."""
    require(type(value) is dict, f"{what} must be an object")
    for name, item in value.items():
        require(name in types, f"{what}: unknown field {name}")
        require(type(item) is types[name], f"{what}: {name} must be {types[name].__name__}")
        require(type(item) is not int or item >= 0, f"{what}: {name} must not be negative")
    return value


def check_point(point: Any) -> str:
    require(type(point) is str and _POINT.fullmatch(point), f"{point!r} is not a point")
    return point


@dataclass(frozen=True)
class Segment:
    """A stretch of the body; `views` gives the pieces of (offset, length) of it."""

    length: int
    views: Callable[[int, int], Iterator[memoryview]]


def _bytes_segment(data: bytes) -> Segment:
    view = memoryview(data)
    return Segment(len(data), lambda offset, length: iter([view[offset : offset + length]]))


def _file_segment(path: str) -> Segment:
    def views(offset: int, length: int) -> Iterator[memoryview]:
        with open(path, "rb") as file:
            file.seek(offset)
            while length > 0:
                data = file.read(min(_FILE_PIECE, length))
                if not data:
                    raise OSError(f"{path} shrank while it was being sent")
                length -= len(data)
                yield memoryview(data)

    require(os.path.isfile(path), f"body: there is no file {path}")
    return Segment(os.stat(path).st_size, views)


def _segment(value: Any) -> Segment:
    types = {"bytes": str, "text": str, "pattern": dict, "file": str}
    fields = take_fields(value, "body", types)
    require(len(fields) == 1, "a body segment has one of bytes, text, pattern, file")
    ((kind, content),) = fields.items()
    if kind == "pattern":
        take_fields(content, kind, {"seed": int, "length": int})
        seed = content.get("seed", 0)
        return Segment(content.get("length", 0), lambda at, count: pattern_views(seed, at, count))
    if kind == "file":
        return _file_segment(content)
    if kind == "text":
        return _bytes_segment(content.encode("utf-8"))
    return _bytes_segment(base64.b64decode(content, validate=True))


@dataclass(frozen=True)
class Answer:
    """What the server sends for one request."""

    head: bytes
    body: tuple[Segment, ...] = ()
    status: int = 200
    chunk_size: int = 0  # 0: not chunked
    hold: frozenset[str] = frozenset()
    gated: bool = False
    rate: int = 0  # body bytes per second, 0: unlimited
    cut_at: str = ""
    reset: bool = False  # how it is cut
    close: bool = False  # the connection has to end after it

    @property
    def length(self) -> int:
        return sum(segment.length for segment in self.body)

    def stops(self, kind: str) -> list[int]:
        """Where "head" or "body" holds or is cut after its first byte, ascending."""
        points = [point.partition(":") for point in self.hold | {self.cut_at}]
        return sorted(int(at) for name, _, at in points if name == kind and int(at) > 0)

    def views(self, offset: int, length: int) -> Iterator[memoryview]:
        """Bytes [offset, offset + length) of the body, in pieces."""
        for segment in self.body:
            count = min(length, segment.length - offset)
            if count > 0:
                yield from segment.views(offset, count)
                length -= count
            offset = max(0, offset - segment.length)


def text_answer(status: int, text: str, *headers: tuple[str, str]) -> Answer:
    body = [{"text": text}]
    fields = [("Content-Type", "text/plain; charset=utf-8"), *headers]
    return parse_answer({"status": status, "headers": fields, "body": body})


def _reason(status: int) -> str:
    return next((known.phrase for known in HTTPStatus if known == status), "Unnamed")


def _head(fields: dict[str, Any], body_length: int, close: bool) -> bytes:
    status, framing = fields.get("status", 200), fields.get("framing", "length")
    status_line = f"HTTP/1.1 {status} {fields.get('reason', _reason(status))}"
    headers = list(fields.get("headers", []))
    bodiless = status in (204, 304) and not body_length
    lengths = [str(body_length)] if framing == "length" and not bodiless else []
    headers += [["Content-Length", text] for text in fields.get("content_length", lengths)]
    if framing == "chunked":
        headers.append(["Transfer-Encoding", "chunked"])
    if close:
        headers.append(["Connection", "close"])
    lines = [fields.get("status_line", status_line), *map(": ".join, headers), "", ""]
    return "\r\n".join(lines).encode("latin-1")


def _parse_cut(value: Any) -> tuple[str, bool]:
    cut = take_fields(value, "cut", {"at": str, "how": str})
    require(cut.get("how", "fin") in ("fin", "reset"), "cut: how must be fin or reset")
    return check_point(cut.get("at")), cut.get("how") == "reset"


def _parse(value: Any) -> Answer:
    fields = take_fields(value, "answer", _FIELDS)
    status, framing = fields.get("status", 200), fields.get("framing", "length")
    require(100 <= status <= 999, "status must have three digits")
    require(framing in ("length", "chunked", "close"), "framing must be length, chunked or close")
    require(fields.get("chunk_size") != 0, "chunk_size must not be 0")
    names = [name.lower() for name, _ in fields.get("headers", [])]
    require("content-length" not in names, "Content-Length is set by content_length")
    body = tuple(map(_segment, fields.get("body", [])))
    length = sum(segment.length for segment in body)
    cut_at, reset = _parse_cut(fields["cut"]) if "cut" in fields else ("", False)
    # Behind what no client can delimit, the connection has to end.
    odd = not {"raw", "status_line", "content_length"}.isdisjoint(fields) or framing == "close"
    close = odd or fields.get("close", False) or (status in (204, 304) and length > 0)
    raw = fields.get("raw")
    answer = Answer(
        head=_head(fields, length, close) if raw is None else base64.b64decode(raw, validate=True),
        body=body,
        status=status,
        chunk_size=fields.get("chunk_size", 65536) if framing == "chunked" else 0,
        hold=frozenset(map(check_point, fields.get("hold", []))),
        gated=fields.get("gated", False),
        rate=fields.get("rate", 0),
        cut_at=cut_at,
        reset=reset,
        close=close,
    )
    require(max(answer.stops("body"), default=0) <= length, "a point lies after the body's end")
    return answer


def parse_answer(value: Any) -> Answer:
    """Makes an answer of its JSON object. Raises ScriptError."""
    try:
        return _parse(value)
    except (TypeError, ValueError) as error:  # of a header that is no pair of texts, of base64
        raise ScriptError(f"answer: {error}") from error
