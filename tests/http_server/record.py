"""What the server reports about one request."""

import threading
import time
from typing import Any
from urllib.parse import quote

from answer import Answer
from request_reader import Request

_EPOCH = time.monotonic()
_PLAIN = " :/,;=*"


def now_ms() -> int:
    """Milliseconds since the server started, monotonic."""
    return int((time.monotonic() - _EPOCH) * 1000)


class RequestRecord:
    """One request and how its answer went.

    The connection's thread writes, any thread reads through snapshot(). The writer holds `lock`
    around each send together with the counting of what it sent: a client that has read a byte
    never gets a log that does not know about this byte.
    """

    def __init__(self, request: Request, connection: int):
        self.lock = threading.Lock()
        self.index = 0
        self.connection = connection
        self.request = request
        self.status = 0
        self.state = "active"
        self.auth = "none"
        self.auth_attempts = 0
        self.held_at = ""
        self.body_total = 0
        self.body_sent = 0
        self.head_sent = 0
        self.started_ms = now_ms()
        self.head_ms = -1
        self.ended_ms = -1

    def set_answer(self, answer: Answer) -> None:
        """Notes what will be answered; called before other threads see the record."""
        self.status = answer.status
        self.body_total = answer.body.length

    def count(self, part: str, sent: int) -> None:
        """Adds bytes of the "head", "body" or "framing"; called with the lock held."""
        if part == "body":
            self.body_sent += sent
        elif part == "head":
            self.head_sent += sent
        if self.head_ms < 0:
            self.head_ms = now_ms()

    def end(self, state: str) -> None:
        """Sets the final state, the first one counts; called with the lock held."""
        if self.state == "active":
            self.state = state
            self.held_at = ""
            self.ended_ms = now_ms()

    def snapshot(self) -> dict[str, Any]:
        """A consistent copy of every reported field."""
        with self.lock:
            return {
                "request": self.index,
                "connection": self.connection,
                "method": self.request.method,
                "target": self.request.target,
                "path": self.request.path,
                "query": self.request.query,
                "version": self.request.version,
                "headers": [list(header) for header in self.request.headers],
                "request_body_length": self.request.body_length,
                "status": self.status,
                "state": self.state,
                "auth": self.auth,
                "auth_attempts": self.auth_attempts,
                "held_at": self.held_at,
                "body_total": self.body_total,
                "body_sent": self.body_sent,
                "head_sent": self.head_sent,
                "started_ms": self.started_ms,
                "head_ms": self.head_ms,
                "ended_ms": self.ended_ms,
            }


def to_line(snapshot: dict[str, Any]) -> str:
    """One line of tab-separated key=value fields, values percent-encoded, header= once each."""
    fields = [
        (key, str(value)) for key, value in snapshot.items() if key != "headers"
    ] + [("header", f"{name}: {value}") for name, value in snapshot["headers"]]
    return "\t".join(
        f"{key}={quote(value, safe=_PLAIN, encoding='latin-1')}" for key, value in fields
    )
