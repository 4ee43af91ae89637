"""Reads requests from a connection."""

from dataclasses import dataclass

import h11

from wire import Wire

_LARGEST_HEAD = 1024 * 1024
_LARGEST_BODY = 64 * 1024 * 1024


class BadRequest(Exception):
    """The client sent something that is no HTTP request, or one that is too large."""


@dataclass(frozen=True)
class Request:
    """A request. Texts are the bytes of the wire, read as Latin-1, nothing decoded."""

    method: str
    target: str
    version: str
    headers: tuple[tuple[str, str], ...]
    body: bytes

    @property
    def path(self) -> str:
        """The target before "?", without scheme and host if a client sends these to a proxy."""
        path = self.target.partition("?")[0]
        if path.lower().startswith("http://"):
            slash = path.find("/", len("http://"))
            return path[slash:] if slash >= 0 else "/"
        return path

    @property
    def query(self) -> str:
        return self.target.partition("?")[2]

    @property
    def body_length(self) -> int:
        return len(self.body)

    def header(self, name: str) -> str | None:
        """The first value of a header, None if there is none."""
        for key, value in self.headers:
            if key.lower() == name.lower():
                return value
        return None


class RequestReader:
    """Reads one request after the other, with the connection state in `h11`."""

    def __init__(self, wire: Wire):
        self.h11 = h11.Connection(h11.SERVER, max_incomplete_event_size=_LARGEST_HEAD)
        self._wire = wire
        self._exact_target: bytes | None = None

    def read(self) -> Request | None:
        """Waits for the next request, None at the end of the connection. Raises BadRequest."""
        try:
            return self._read()
        except h11.RemoteProtocolError as error:
            raise BadRequest(str(error)) from error

    def _read(self) -> Request | None:
        self._exact_target = None
        head: h11.Request | None = None
        body = bytearray()
        while True:
            event = self.h11.next_event()
            if event is h11.NEED_DATA:
                if head is not None and self.h11.they_are_waiting_for_100_continue:
                    go_on = h11.InformationalResponse(status_code=100, headers=[])
                    self._wire.send_all(self.h11.send(go_on) or b"")
                self.h11.receive_data(self._receive(first=head is None))
            elif isinstance(event, h11.Request):
                head = event
            elif isinstance(event, h11.Data):
                body += event.data
                if len(body) > _LARGEST_BODY:
                    raise BadRequest("the body is too large")
            elif isinstance(event, h11.EndOfMessage) and head is not None:
                return self._make_request(head, bytes(body))
            else:
                return None

    def _receive(self, first: bool) -> bytes:
        data = self._wire.receive()
        if not first or self._exact_target is not None or self.h11.trailing_data[0]:
            return data
        while data and b"\n" not in data and len(data) < _LARGEST_HEAD:
            more = self._wire.receive()
            if not more:
                break
            data += more
        return self._hide_odd_target(data)

    def _hide_odd_target(self, data: bytes) -> bytes:
        """Replaces bytes of the target that h11 refuses, and remembers the true target.

        Some clients put bytes outside ASCII into the request line just as they find them in an
        address, and the tests want to see these.
        """
        line, end, rest = data.partition(b"\n")
        parts = line.split(b" ")
        if len(parts) == 3 and any(not 0x21 <= byte <= 0x7E for byte in parts[1]):
            self._exact_target = parts[1]
            parts[1] = b"/"
            return b" ".join(parts) + end + rest
        return data

    def _make_request(self, head: h11.Request, body: bytes) -> Request:
        target = head.target if self._exact_target is None else self._exact_target
        return Request(
            method=head.method.decode("latin-1"),
            target=target.decode("latin-1"),
            version=head.http_version.decode("latin-1"),
            headers=tuple(
                (name.decode("latin-1"), value.decode("latin-1"))
                for name, value in head.headers.raw_items()
            ),
            body=body,
        )
