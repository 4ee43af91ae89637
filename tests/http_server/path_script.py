"""The scripted paths: their answers, what the test has allowed, and their request logs."""

import asyncio
import base64
from dataclasses import dataclass, field
from typing import Any
from urllib.parse import quote

from answer import Answer, parse_answer, require, take_fields, text_answer

_FIELDS = {"path": str, "match": str, "auth": dict, "answers": list}


class Signal:
    """Wakes all who wait for a change."""

    def __init__(self) -> None:
        self._change: asyncio.Future[None] = asyncio.get_running_loop().create_future()

    def next(self) -> "asyncio.Future[None]":
        """Done at the next change; shared, not to be cancelled."""
        return self._change

    def notify(self) -> None:
        self._change.set_result(None)
        self._change = asyncio.get_running_loop().create_future()


@dataclass
class Request:
    """A request and how its answer went. Texts are the bytes of the wire (Latin-1), undecoded."""

    method: str
    target: str
    headers: list[tuple[str, str]]
    content: bytes
    connection: int
    status: int = 0
    state: str = "active"  # then "finished", "aborted" (the client left), "cut" or "failed"
    auth: str = "none"
    held_at: str = ""
    body_sent: int = 0

    @property
    def path(self) -> str:
        return self.target.partition("?")[0]

    @property
    def query(self) -> str:
        return self.target.partition("?")[2]

    def header(self, name: str) -> str | None:
        return next((text for key, text in self.headers if key.lower() == name.lower()), None)

    def report(self) -> dict[str, Any]:
        names = "connection method path query status state auth held_at body_sent headers".split()
        return {name: getattr(self, name) for name in names}

    def report_line(self) -> str:
        """The report as tab-separated key=value fields, values percent-encoded."""
        fields = [*self.report().items()]
        fields[-1:] = [("header", f"{name}: {text}") for name, text in self.headers]
        texts = [f"{key}={quote(str(value), ' :/,;=*', 'latin-1')}" for key, value in fields]
        return "\t".join(texts) + "\n"


@dataclass
class PathScript:
    """One scripted path. `permitted` tells what the test allows, `progressed` what was logged: two
    signals, so that counting bytes does not wake all answers that wait."""

    path: str
    prefix: bool = False
    credentials: str | None = None  # the value of Authorization
    realm: str = ""
    answers: list[Answer] = field(default_factory=list)
    allowed: float = 0  # body bytes of each gated answer
    requests: list[Request] = field(default_factory=list)
    permitted: Signal = field(default_factory=Signal)
    progressed: Signal = field(default_factory=Signal)
    _answered: int = 0

    def begin(self, request: Request) -> Answer:
        """Picks the answer to a request and logs the request."""
        answer = self._pick(request)
        request.status = answer.status
        self.requests.append(request)
        self.progressed.notify()
        return answer

    def _pick(self, request: Request) -> Answer:
        if self.credentials is not None:
            given = request.header("Authorization")
            request.auth = "missing" if given is None else "wrong"
            if given != self.credentials:
                challenge = f'Basic realm="{self.realm}"'
                return text_answer(401, "credentials needed\n", ("WWW-Authenticate", challenge))
            request.auth = "right"
        self._answered += 1
        return self.answers[min(self._answered, len(self.answers)) - 1]

    @property
    def is_open(self) -> bool:
        return self.allowed == float("inf")

    def allow(self, limit: float) -> None:
        """Lets so many body bytes of each answer pass; infinity opens every point too."""
        self.allowed = max(self.allowed, limit)
        self.permitted.notify()

    def passes(self, point: str) -> bool:
        """Whether an answer may go on from a held point."""
        kind, _, offset = point.partition(":")
        return self.is_open or (kind == "body" and self.allowed > int(offset))


def parse_script(value: Any) -> PathScript:
    """Makes a script of its JSON object. Raises ScriptError."""
    fields = take_fields(value, "script", _FIELDS)
    path, match = fields.get("path", ""), fields.get("match", "exact")
    require(path.startswith("/"), "path must begin with /")
    require(match in ("exact", "prefix"), "match must be exact or prefix")
    require(match == "exact" or path.endswith("/"), "a prefix ends with /")
    answers = [parse_answer(item) for item in fields.get("answers", [{}])]
    require(answers, "answers must not be empty")
    script = PathScript(path, match == "prefix", answers=answers)
    if "auth" in fields:
        types = {"user": str, "password": str, "realm": str}
        auth = {"user": "", "password": "", **take_fields(fields["auth"], "auth", types)}
        token = base64.b64encode(f"{auth['user']}:{auth['password']}".encode("latin-1"))
        script.credentials = "Basic " + token.decode()
        script.realm = auth.get("realm", "")
    return script


class Registry:
    """Finds the script of a request."""

    def __init__(self) -> None:
        self._scripts: dict[str, PathScript] = {}

    def add(self, script: PathScript) -> None:
        """Adds a script; an older one of the same path is removed first."""
        self.remove(script.path)
        self._scripts[script.path] = script

    def remove(self, path: str) -> None:
        """Forgets a script and lets its running answers flow to their end."""
        if script := self._scripts.pop(path, None):
            script.allow(float("inf"))

    def get(self, path: str) -> PathScript | None:
        return self._scripts.get(path)

    def find(self, path: str) -> PathScript | None:
        """The script of the path itself, or the one with the longest prefix."""
        if script := self._scripts.get(path):
            return script
        while path:
            path = path[:-1].rpartition("/")[0]
            script = self._scripts.get(path + "/")
            if script and script.prefix:
                return script
        return None
