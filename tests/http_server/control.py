"""The control interface, on the server's own port: script paths, allow bytes, read the log."""

import json
from typing import Any
from urllib.parse import parse_qsl

from answer import ScriptError, parse_point
from path_script import PathScript
from record import RequestRecord, to_line
from registry import Registry
from request_reader import Request
from wire import Wire

CONTROL_PREFIX = "/_control/"
_LONGEST_WAIT_MS = 10 * 60 * 1000
_STATES = {
    "finished": ("finished",),
    "aborted": ("aborted",),
    "cut": ("cut",),
    "ended": ("finished", "aborted", "cut", "failed", "stopped"),
}
_EVENTS = ("request", "bytes", "held", *_STATES)

Reply = tuple[int, bytes, str]


class _NotFound(Exception):
    """There is no such script or resource."""


class _Parameters:
    """The query of a control request. Raises ScriptError where it cannot be used."""

    def __init__(self, query: str):
        strict = bool(query)  # an empty query is no error
        self._values = dict(
            parse_qsl(query, keep_blank_values=True, strict_parsing=strict, encoding="latin-1")
        )

    def text(self, name: str, default: str | None = None) -> str:
        value = self._values.get(name, default)
        if value is None:
            raise ScriptError(f"parameter {name} is missing")
        return value

    def number(self, name: str, default: int | None = None) -> int:
        text = self.text(name, None if default is None else str(default))
        if not (text.isascii() and text.isdigit()):
            raise ScriptError(f"parameter {name} must be a number")
        return int(text)

    def has(self, name: str) -> bool:
        return name in self._values


class ControlInterface:
    """Handles the control requests of one connection, on this connection's thread."""

    def __init__(self, registry: Registry, wire: Wire):
        self._registry = registry
        self._wire = wire

    def handle(self, request: Request) -> Reply:
        """Answers a control request with status, reason and text."""
        try:
            return 200, b"OK", self._dispatch(request)
        except (ScriptError, ValueError) as error:
            return 400, b"Bad Request", f"{error}\n"
        except _NotFound as error:
            return 404, b"Not Found", f"{error}\n"

    def _dispatch(self, request: Request) -> str:
        parameters = _Parameters(request.query)
        match request.method, request.path[len(CONTROL_PREFIX) :]:
            case "POST", "paths":
                return self._add(request.body)
            case "GET", "paths":
                return self._list()
            case "DELETE", "paths":
                return self._remove(parameters)
            case "GET", "log":
                return self._log(parameters)
            case "GET", "wait":
                return self._wait(parameters)
            case "POST", "allow":
                return self._allow(parameters)
        raise _NotFound(f"no {request.method} {request.path}")

    def _add(self, body: bytes) -> str:
        self._registry.add(PathScript(json.loads(body)))
        return ""

    def _list(self) -> str:
        keys = [{"path": path, "query": query} for path, query in self._registry.keys()]
        return json.dumps(keys, indent=1) + "\n"

    def _remove(self, parameters: _Parameters) -> str:
        if not self._registry.remove(self._key(parameters)):
            raise _NotFound(f"no script for {parameters.text('path')}")
        return ""

    @staticmethod
    def _key(parameters: _Parameters) -> tuple[str, str | None]:
        query = parameters.text("query") if parameters.has("query") else None
        return parameters.text("path"), query

    def _script(self, parameters: _Parameters) -> PathScript:
        script = self._registry.get(self._key(parameters))
        if script is None:
            raise _NotFound(f"no script for {parameters.text('path')}")
        return script

    def _log(self, parameters: _Parameters) -> str:
        if parameters.has("path"):
            records = self._script(parameters).records()
        else:
            records = self._registry.logged()
        return self._format(parameters, {}, records)

    def _wait(self, parameters: _Parameters) -> str:
        script = self._script(parameters)
        event = parameters.text("event")
        if event not in _EVENTS:
            raise ScriptError(f"event must be one of {', '.join(_EVENTS)}")
        count = parameters.number("count", 1)
        wanted = parameters.number("bytes", 0)
        only = parameters.number("request", 0)
        point = parse_point(parameters.text("point")) if parameters.has("point") else ""
        timeout_ms = min(parameters.number("timeout_ms", 10000), _LONGEST_WAIT_MS)

        def fits(record: RequestRecord) -> bool:
            if only and record.index != only:
                return False
            if event == "request":
                return True
            if event == "bytes":
                return record.body_sent >= wanted
            if event == "held":
                return record.held_at == point if point else bool(record.held_at)
            return record.state in _STATES[event]

        def met() -> bool:
            return sum(map(fits, script.records())) >= count

        with script.watch_with(self._wire):
            result = self._wire.wait(met, timeout_ms / 1000)
        return self._format(parameters, {"met": result}, script.records())

    def _allow(self, parameters: _Parameters) -> str:
        script = self._script(parameters)
        if parameters.has("all"):
            script.open()
        elif parameters.has("point"):
            times = parameters.number("times") if parameters.has("times") else float("inf")
            script.allow_point(parse_point(parameters.text("point")), times)
        elif parameters.has("limit"):
            script.allow_up_to(parameters.number("limit"))
        else:
            script.allow_bytes(parameters.number("bytes"))
        return ""

    @staticmethod
    def _format(
        parameters: _Parameters, first: dict[str, Any], records: list[RequestRecord]
    ) -> str:
        snapshots = [record.snapshot() for record in records]
        if parameters.text("format", "json") == "lines":
            heads = [f"{key}={int(value)}" for key, value in first.items()]
            return "".join(line + "\n" for line in heads + [to_line(item) for item in snapshots])
        return json.dumps({**first, "requests": snapshots}, indent=1) + "\n"
