"""The control interface, on the server's own port: script paths, allow bytes, read the log."""

import json
from collections.abc import Awaitable, Callable
from urllib.parse import parse_qsl

from answer import Answer, ScriptError, check_point, require, text_answer
from path_script import PathScript, Registry, Request, Signal, parse_script

CONTROL_PREFIX = "/_control/"
_PARAMETERS = {"path", "format", "event", "count", "bytes", "point", "timeout_ms", "limit", "all"}

# Waits until a condition holds, which is asked again at each signal; False after so many seconds.
Wait = Callable[[Signal, Callable[[], bool], float], Awaitable[bool]]


def _fits(request: Request, event: str, wanted_bytes: int, point: str) -> bool:
    match event:
        case "request":
            return True
        case "bytes":
            return request.body_sent >= wanted_bytes
        case "held":
            return bool(request.held_at) and point in ("", request.held_at)
        case "ended":
            return request.state != "active"
    raise ScriptError("event must be request, bytes, held or ended")


async def _wait(script: PathScript, parameters: dict[str, str], wait: Wait) -> bool:
    event = parameters.get("event", "")
    count, wanted_bytes = int(parameters.get("count", 1)), int(parameters.get("bytes", 0))
    point = check_point(parameters["point"]) if "point" in parameters else ""
    _fits(Request("", "", [], b"", 0), event, 0, "")  # refuses an unknown event at once

    def met() -> bool:
        fitting = (_fits(request, event, wanted_bytes, point) for request in script.requests)
        return sum(fitting) >= count

    return await wait(script.progressed, met, int(parameters.get("timeout_ms", 10000)) / 1000)


async def _handle(registry: Registry, request: Request, wait: Wait) -> str:
    command = f"{request.method} {request.path.removeprefix(CONTROL_PREFIX)}"
    if command == "POST paths":
        registry.add(parse_script(json.loads(request.content)))
        return ""
    parameters = dict(parse_qsl(request.query, keep_blank_values=True, encoding="latin-1"))
    require(parameters.keys() <= _PARAMETERS, f"unknown parameter in {request.query}")
    script = registry.get(parameters.get("path", ""))
    if script is None:
        raise ScriptError(f"no script for {parameters.get('path')}")
    first: dict[str, bool] = {}
    match command:
        case "DELETE paths":
            registry.remove(script.path)
            return ""
        case "POST allow":
            script.allow(float("inf") if "all" in parameters else int(parameters["limit"]))
            return ""
        case "GET wait":
            first = {"met": await _wait(script, parameters, wait)}
        case "GET log":
            pass
        case _:
            raise ScriptError(f"no {command}")
    if parameters.get("format") == "lines":
        heads = [f"{key}={int(value)}\n" for key, value in first.items()]
        return "".join(heads + [logged.report_line() for logged in script.requests])
    return json.dumps({**first, "requests": [logged.report() for logged in script.requests]}) + "\n"


async def answer_control(registry: Registry, request: Request, wait: Wait) -> Answer:
    """Performs a control request; 400 with the reason where that cannot be done."""
    try:
        return text_answer(200, await _handle(registry, request, wait))
    except (ValueError, KeyError) as error:
        return text_answer(400, f"{error}\n")
