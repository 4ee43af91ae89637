"""What the server's own tests share: a server process, a raw client and the control interface."""

import base64
import itertools
import json
import os
import select
import signal
import socket
import subprocess
import sys
import unittest
from http.client import HTTPConnection
from pathlib import Path
from typing import Any
from urllib.parse import urlencode

SERVER = Path(__file__).with_name("server.py")
TIMEOUT_S = 60  # no test waits that long unless it fails


class ServerProcess:
    """A server of its own. Ends with stop(), or with this process."""

    def __init__(self) -> None:
        # Warnings as errors: an unclosed connection or a deprecated call would show on stderr.
        self.process = subprocess.Popen(
            [sys.executable, "-W", "error", os.fspath(SERVER), "--exit-with-stdin"],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
        )
        assert self.process.stdout
        self.port = int(self.process.stdout.readline().decode().removeprefix("PORT "))

    def stop(self) -> tuple[int, bytes]:
        """Ends the server by SIGTERM and gives its exit code and all that it printed since."""
        self.process.send_signal(signal.SIGTERM)
        out, err = self.process.communicate(timeout=TIMEOUT_S)
        return self.process.returncode, out + err


class RawClient:
    """A plain socket to the server: sees every byte and can do what no good client does."""

    def __init__(self, port: int, receive_buffer: int | None = None):
        self.socket = socket.socket()
        if receive_buffer:
            self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        self.socket.settimeout(TIMEOUT_S)
        self.socket.connect(("127.0.0.1", port))

    def send_request(self, target: str, *headers: str) -> None:
        lines = [f"GET {target} HTTP/1.1", "Host: test", *headers, "", ""]
        self.socket.sendall("\r\n".join(lines).encode("latin-1"))

    def receive(self, count: int = sys.maxsize) -> bytes:
        """Exactly `count` bytes, fewer only if the server ends the stream; "RESET" for a reset."""
        data = bytearray()
        try:
            while len(data) < count:
                if not (piece := self.socket.recv(min(count - len(data), 1 << 20))):
                    break
                data += piece
        except ConnectionResetError:
            data += b"RESET"
        return bytes(data)

    def receive_head(self) -> str:
        """Status line and headers with the blank line."""
        data = b""
        while not data.endswith(b"\r\n\r\n"):
            byte = self.receive(1)
            assert len(byte) == 1, f"the stream ended within the head: {data + byte!r}"
            data += byte
        return data.decode("latin-1")

    def has_data(self) -> bool:
        """Whether something, the end included, has arrived."""
        return bool(select.select([self.socket], [], [], 0)[0])


def bytes_body(data: bytes) -> list[dict[str, str]]:
    return [{"bytes": base64.b64encode(data).decode("ascii")}]


class ServerTestCase(unittest.TestCase):
    """Base of the tests: one silent server for each class."""

    server: ServerProcess
    _numbers = itertools.count(1)

    @classmethod
    def setUpClass(cls) -> None:
        cls.server = ServerProcess()

    @classmethod
    def tearDownClass(cls) -> None:
        code, output = cls.server.stop()
        if code != 0 or output:
            raise AssertionError(f"the server ended with {code} and printed {output.decode()}")

    def connect(self, receive_buffer: int | None = None) -> RawClient:
        client = RawClient(self.server.port, receive_buffer)
        self.addCleanup(client.socket.close)
        return client

    def request(self, target: str, *headers: str) -> RawClient:
        client = self.connect()
        client.send_request(target, *headers)
        return client

    def control(self, method: str, name: str, body: Any = None, **query: Any) -> tuple[int, bytes]:
        connection = HTTPConnection("127.0.0.1", self.server.port, timeout=TIMEOUT_S)
        self.addCleanup(connection.close)
        text = None if body is None else json.dumps(body)
        connection.request(method, f"/_control/{name}?{urlencode(query)}", text)
        response = connection.getresponse()
        return response.status, response.read()

    def command(self, method: str, name: str, body: Any = None, **query: Any) -> bytes:
        status, text = self.control(method, name, body, **query)
        self.assertEqual(status, 200, text)
        return text

    def script(self, *answers: dict[str, Any], **fields: Any) -> str:
        """Scripts a new path and gives it."""
        path = fields.setdefault("path", f"/{self.id()}/{next(self._numbers)}")
        self.command("POST", "paths", {"answers": list(answers) or [{}], **fields})
        return path

    def allow(self, path: str, **what: Any) -> None:
        self.command("POST", "allow", path=path, **what)

    def log(self, path: str) -> list[dict[str, Any]]:
        return json.loads(self.command("GET", "log", path=path))["requests"]

    def wait(self, path: str, event: str, **query: Any) -> list[dict[str, Any]]:
        """Waits for an event, which must come, and gives the log."""
        query = {"timeout_ms": TIMEOUT_S * 1000, **query}
        result = json.loads(self.command("GET", "wait", path=path, event=event, **query))
        self.assertTrue(result["met"], f"{event} {query} did not come: {result['requests']}")
        return result["requests"]
