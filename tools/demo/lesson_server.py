"""The scriptable server of tests/http_server, as the demo's web site on loopback."""

import base64
import json
import select
import subprocess
import sys
from http.client import HTTPConnection, HTTPException
from pathlib import Path
from typing import IO, Any
from urllib.parse import quote, urlencode

from lessons import Lesson
from wine import DemoError

_SCRIPT = Path(__file__).parents[2] / "tests" / "http_server" / "server.py"
_START_S = 60
_GOODBYE_S = 60
_PLUGIN_AGENT = "FolivoAX"


class LessonServer:
    """The server process; it ends with close(), and with this process."""

    def __init__(self, log: IO[bytes]):
        self._process = subprocess.Popen(
            [sys.executable, str(_SCRIPT), "--exit-with-stdin"],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=log,
        )
        assert self._process.stdout
        ready, _, _ = select.select([self._process.stdout], [], [], _START_S)
        line = self._process.stdout.readline().decode() if ready else ""
        if not line.startswith("PORT "):
            self.close()
            raise DemoError(f'the web server did not start (it said "{line.strip()}")')
        self._port = int(line.removeprefix("PORT "))

    def close(self) -> None:
        self._process.terminate()
        try:
            self._process.wait(_GOODBYE_S)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()

    def url(self, path: str) -> str:
        return f"http://127.0.0.1:{self._port}{path}"

    def _control(
        self, method: str, name: str, body: Any = None, wait_s: float = 10, **query: Any
    ) -> bytes:
        connection = HTTPConnection("127.0.0.1", self._port, timeout=wait_s + 10)
        try:
            text = None if body is None else json.dumps(body)
            connection.request(method, f"/_control/{name}?{urlencode(query)}", text)
            response = connection.getresponse()
            answer = response.read()
        except (OSError, HTTPException) as error:
            raise DemoError(f"the web server does not answer: {error}") from error
        finally:
            connection.close()
        if response.status != 200:
            raise DemoError(f"the web server refused {name}: {answer.decode()}")
        return answer

    def serve(self, path: str, kind: str = "application/octet-stream", **answer: Any) -> str:
        """Serves an answer of the server's README under a path; gives the URL."""
        answer = {"headers": [["Content-Type", kind]], **answer}
        self._control("POST", "paths", {"path": path, "answers": [answer]})
        return self.url(path)

    def serve_lesson(self, lesson: Lesson, folder: str = "/lessons", **answer: Any) -> str:
        return self.serve(f"{folder}/{quote(lesson.name)}", body=lesson.body(), **answer)

    def serve_bytes(self, path: str, data: bytes, **answer: Any) -> str:
        body = [{"bytes": base64.b64encode(data).decode()}]
        return self.serve(path, body=body, **answer)

    def named_url(self, host: str, path: str) -> str:
        """The URL of a path under a name that stands for this machine."""
        return f"http://{host}:{self._port}{path}"

    def _path(self, url: str) -> str:
        return url.removeprefix(self.url(""))

    def allow(self, url: str, limit: int | None = None) -> None:
        """Lets a gated body flow up to so many bytes in all, or to its end."""
        parameters = {"all": 1} if limit is None else {"limit": limit}
        self._control("POST", "allow", path=self._path(url), **parameters)

    def wait(self, url: str, event: str, timeout_s: float = 60, **query: Any) -> None:
        """Waits until a request for the URL has got so far."""
        path = self._path(url)
        query |= {"path": path, "event": event, "timeout_ms": int(timeout_s * 1000)}
        if not json.loads(self._control("GET", "wait", wait_s=timeout_s, **query))["met"]:
            raise DemoError(f"{path}: no request {event} within {timeout_s:.0f} s")

    def requests(self, url: str) -> list[dict[str, Any]]:
        """What was asked for under the URL's path, oldest first."""
        return json.loads(self._control("GET", "log", path=self._path(url)))["requests"]

    def askers(self, url: str) -> str:
        """Who has asked for the URL, in order: "plug-in" or "browser"."""
        return ", ".join(
            "plug-in" if dict(request["headers"]).get("User-Agent") == _PLUGIN_AGENT else "browser"
            for request in self.requests(url)
        ) or "nobody"
