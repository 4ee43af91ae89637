"""Turns an answer into what goes over the wire: a head and a row of body parts.

h11 produces every answer that it agrees to. What it refuses, because a test wants something
illegal, is put together here byte by byte.
"""

from collections.abc import Iterator
from dataclasses import dataclass

import h11

from answer import Answer


@dataclass(frozen=True)
class Span:
    """Stands for bytes [offset, offset + length) of the answer's body, which are not loaded yet.

    h11 asks body data for nothing but its length and hands it through, so it can frame a Span.
    """

    offset: int
    length: int

    def __len__(self) -> int:
        return self.length

    def __bool__(self) -> bool:
        return self.length > 0


Part = bytes | Span


@dataclass(frozen=True)
class Plan:
    """`parts` may be iterated once. After a plan with `close` the connection has to end."""

    head: bytes
    parts: Iterator[Part]
    close: bool


def make_plan(connection: h11.Connection, method: str, answer: Answer) -> Plan:
    """Plans the answer to the request that `connection` has read last."""
    if _looks_legal(method, answer):
        try:
            return _legal_plan(connection, method, answer)
        except h11.LocalProtocolError:
            pass  # for example a header value with a NUL: the test gets what it has asked for
    return _raw_plan(method, answer)


def _looks_legal(method: str, answer: Answer) -> bool:
    if (answer.raw, answer.status_line, answer.content_length) != (None, None, None):
        return False
    if answer.framing == "close" or answer.status < 200:
        return False
    if any(name.lower() == b"transfer-encoding" for name, _ in answer.headers):
        return False
    return method == "HEAD" or not answer.body.length or answer.status not in (204, 304)


def _spans(answer: Answer) -> Iterator[Span]:
    """The body in one span, or in one span for each chunk."""
    total = answer.body.length
    step = answer.chunk_size if answer.framing == "chunked" else max(total, 1)
    for offset in range(0, total, step):
        yield Span(offset, min(step, total - offset))


def _legal_plan(connection: h11.Connection, method: str, answer: Answer) -> Plan:
    headers = list(answer.headers)
    if answer.framing == "chunked":
        headers.append((b"Transfer-Encoding", b"chunked"))
    elif answer.status not in (204, 304):
        headers.append((b"Content-Length", b"%d" % answer.body.length))
    if answer.close:
        headers.append((b"Connection", b"close"))
    response = h11.Response(status_code=answer.status, reason=answer.reason, headers=headers)
    head = connection.send(response)
    assert head is not None

    def parts() -> Iterator[Part]:
        if method != "HEAD":
            for span in _spans(answer):
                yield from connection.send_with_data_passthrough(h11.Data(data=span)) or []
        yield from connection.send_with_data_passthrough(h11.EndOfMessage()) or []

    return Plan(head, parts(), close=False)


def _raw_plan(method: str, answer: Answer) -> Plan:
    head = _raw_head(answer) if answer.raw is None else answer.raw
    return Plan(head, iter(()) if method == "HEAD" else _raw_parts(answer), close=True)


def _raw_head(answer: Answer) -> bytes:
    lines = [answer.status_line]
    if answer.status_line is None:
        lines = [b"HTTP/1.1 %d %s" % (answer.status, answer.reason)]
    lines += [name + b": " + value for name, value in answer.headers]
    lengths = answer.content_length
    if lengths is None:
        lengths = (b"%d" % answer.body.length,) if answer.framing == "length" else ()
    lines += [b"Content-Length: " + text for text in lengths]
    if answer.framing == "chunked":
        lines.append(b"Transfer-Encoding: chunked")
    # Without it a client would keep the connection and run into its end with the next request.
    if not any(name.lower() == b"connection" for name, _ in answer.headers):
        lines.append(b"Connection: close")
    return b"\r\n".join(lines) + b"\r\n\r\n"


def _raw_parts(answer: Answer) -> Iterator[Part]:
    chunked = answer.framing == "chunked" and answer.raw is None
    for span in _spans(answer):
        if chunked:
            yield b"%x\r\n" % len(span)
        yield span
        if chunked:
            yield b"\r\n"
    if chunked:
        yield b"0\r\n\r\n"
