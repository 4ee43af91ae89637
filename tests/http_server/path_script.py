"""The state of one scripted path: its answers, what the test has allowed, its request log."""

import threading
from collections.abc import Callable
from typing import Any

from answer import Answer, Fields, ScriptError, parse_answer
from credentials import parse_credentials
from record import RequestRecord
from wire import Wire

Key = tuple[str, str | None]


class PathScript:
    """One scripted path.

    Everything is guarded by one lock. Threads that serve the path wait for permission and threads
    of the control interface wait for log entries; each kind is woken through its own set of wires,
    so that counting bytes does not wake the whole crowd.
    """

    def __init__(self, value: Any):
        """Makes the script of its JSON object. Raises ScriptError."""
        fields = Fields(value, "script")
        self.path: str = fields.take("path", str, "")
        self.query: str | None = fields.take("query", str)
        self.match: str = fields.take("match", str, "exact")
        self._credentials = parse_credentials(fields.take("auth", dict))
        self._answers = [parse_answer(item) for item in fields.take("answers", list, [{}])]
        fields.finish()
        if not self.path.startswith("/"):
            raise ScriptError("path must begin with /")
        if self.match not in ("exact", "prefix"):
            raise ScriptError("match must be exact or prefix")
        if self.match == "prefix" and (not self.path.endswith("/") or self.query is not None):
            raise ScriptError("a prefix ends with / and has no query")
        if not self._answers:
            raise ScriptError("answers must not be empty")
        self._lock = threading.Lock()
        self._answered = 0
        self._auth_attempts = 0
        self._allowed = 0
        self._open = False
        self._permits: dict[str, float] = {}
        self._records: list[RequestRecord] = []
        self._servers: set[Wire] = set()
        self._watchers: set[Wire] = set()

    @property
    def key(self) -> Key:
        return (self.path, self.query)

    @property
    def is_open(self) -> bool:
        """True once everything is allowed, also because the script has been removed."""
        return self._open

    @property
    def allowed(self) -> float:
        """How many body bytes of each answer the test has let through so far."""
        return float("inf") if self._open else self._allowed

    def begin(self, record: RequestRecord, authorization: str | None) -> Answer:
        """Picks the answer to a request and logs the request."""
        with self._lock:
            answer = self._pick(record, authorization)
            record.index = len(self._records) + 1
            record.set_answer(answer)
            self._records.append(record)
        self.log_changed()
        return answer

    def _pick(self, record: RequestRecord, authorization: str | None) -> Answer:
        if self._credentials:
            record.auth = self._credentials.judge(authorization)
            self._auth_attempts += record.auth != "missing"
            record.auth_attempts = self._auth_attempts
            if record.auth != "right":
                return self._credentials.challenge()
        answer = self._answers[min(self._answered, len(self._answers) - 1)]
        self._answered += 1
        return answer

    def records(self) -> list[RequestRecord]:
        with self._lock:
            return list(self._records)

    def allow_bytes(self, count: int) -> None:
        self._change(lambda: setattr(self, "_allowed", self._allowed + count))

    def allow_up_to(self, limit: int) -> None:
        self._change(lambda: setattr(self, "_allowed", max(self._allowed, limit)))

    def allow_point(self, point: str, times: float) -> None:
        self._change(lambda: self._permits.update({point: self._permits.get(point, 0) + times}))

    def open(self) -> None:
        """Lets everything through from now on, without rate limits."""
        self._change(lambda: setattr(self, "_open", True))
        self.log_changed()

    def try_pass(self, point: str) -> bool:
        """Whether an answer may go on from a held point; uses one permit up."""
        with self._lock:
            if self._open:
                return True
            kind, _, offset = point.partition(":")
            if kind == "body" and self._allowed > int(offset):
                return True
            if self._permits.get(point, 0) < 1:
                return False
            self._permits[point] -= 1
            return True

    def serve_with(self, wire: Wire) -> "_Membership":
        """While entered, `wire` is woken when the test allows something."""
        return _Membership(self._servers, wire, self._lock)

    def watch_with(self, wire: Wire) -> "_Membership":
        """While entered, `wire` is woken when the log changes."""
        return _Membership(self._watchers, wire, self._lock)

    def log_changed(self) -> None:
        if self._watchers:
            self._wake(self._watchers)

    def _change(self, action: Callable[[], None]) -> None:
        with self._lock:
            action()
        self._wake(self._servers)

    def _wake(self, wires: set[Wire]) -> None:
        with self._lock:
            for wire in wires:
                wire.wake()


class _Membership:
    """Keeps a wire in a set for the time of a with statement."""

    def __init__(self, wires: set[Wire], wire: Wire, lock: threading.Lock):
        self._wires, self._wire, self._lock = wires, wire, lock

    def __enter__(self) -> None:
        with self._lock:
            self._wires.add(self._wire)

    def __exit__(self, *_: object) -> None:
        with self._lock:
            self._wires.discard(self._wire)
