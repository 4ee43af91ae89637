"""What the server's own tests share: a server process, a raw client and the control interface."""

import base64
import itertools
import json
import os
import re
import select
import signal
import socket
import subprocess
import sys
import time
import unittest
from http.client import HTTPConnection
from pathlib import Path
from typing import Any
from urllib.parse import urlencode

SERVER = Path(__file__).with_name("server.py")
TIMEOUT_S = 60  # no test waits that long unless it fails


class ServerProcess:
    """A server of its own for a test class. Ends with stop(), or with this process."""

    def __init__(self, *arguments: str):
        # Warnings as errors: an unclosed file or a deprecated call would show on stderr.
        command = [sys.executable, "-W", "error", os.fspath(SERVER), "--exit-with-stdin"]
        self.process = subprocess.Popen(
            [*command, *arguments],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
        )
        assert self.process.stdout
        self.first_line = self.process.stdout.readline().decode()
        self.port = int(self.first_line.removeprefix("PORT "))

    def wait_for_threads(self, counts: range) -> None:
        """Waits until the number of the server's threads is in `counts`, which must happen."""
        status = Path(f"/proc/{self.process.pid}/status")
        deadline = time.monotonic() + TIMEOUT_S
        while (count := int(re.findall(r"Threads:\s*(\d+)", status.read_text())[0])) not in counts:
            if time.monotonic() > deadline:
                raise AssertionError(f"the server has {count} threads, not {counts}")
            time.sleep(0.01)  # threads of another process come and go without an event

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

    def __enter__(self) -> "RawClient":
        return self

    def __exit__(self, *_: object) -> None:
        self.socket.close()

    def send_request(self, target: str, *headers: str, method: str = "GET") -> None:
        lines = [f"{method} {target} HTTP/1.1", "Host: test", *headers, "", ""]
        self.socket.sendall("\r\n".join(lines).encode("latin-1"))

    def receive(self, count: int) -> bytes:
        """Exactly `count` bytes, fewer only if the server ends the stream."""
        data = bytearray()
        while len(data) < count:
            piece = self.socket.recv(min(count - len(data), 1 << 20))
            if not piece:
                break
            data += piece
        return bytes(data)

    def receive_all(self) -> bytes:
        """Everything up to the server's FIN."""
        return self.receive(sys.maxsize)

    def receive_until_reset(self) -> bytes:
        """Everything up to a reset. Raises AssertionError if the end is graceful."""
        data = bytearray()
        while True:
            try:
                piece = self.socket.recv(1 << 20)
            except ConnectionResetError:
                return bytes(data)
            if not piece:
                raise AssertionError("the connection ended without a reset")
            data += piece

    def receive_head(self) -> str:
        """Status line and headers with the blank line."""
        data = bytearray()
        while not data.endswith(b"\r\n\r\n"):
            byte = self.socket.recv(1)
            if not byte:
                raise AssertionError(f"the stream ended within the head: {data!r}")
            data += byte
        return data.decode("latin-1")

    def has_data(self) -> bool:
        """Whether something, the end included, has arrived."""
        return bool(select.select([self.socket], [], [], 0)[0])


def base64_text(data: bytes) -> str:
    return base64.b64encode(data).decode("ascii")


def bytes_body(data: bytes) -> list[dict[str, str]]:
    return [{"bytes": base64_text(data)}]


class ServerTestCase(unittest.TestCase):
    """Base of the tests: one silent server for each class."""

    server: ServerProcess
    arguments: tuple[str, ...] = ()
    _numbers = itertools.count(1)

    @classmethod
    def setUpClass(cls) -> None:
        cls.server = ServerProcess(*cls.arguments)

    @classmethod
    def tearDownClass(cls) -> None:
        code, output = cls.server.stop()
        if code != 0 or output:
            raise AssertionError(f"the server ended with {code} and printed {output.decode()}")

    def connect(self, receive_buffer: int | None = None) -> RawClient:
        client = RawClient(self.server.port, receive_buffer)
        self.addCleanup(client.socket.close)
        return client

    def request(self, target: str, *headers: str, method: str = "GET") -> RawClient:
        client = self.connect()
        client.send_request(target, *headers, method=method)
        return client

    def control(self, method: str, name: str, body: Any = None, **query: Any) -> tuple[int, bytes]:
        connection = HTTPConnection("127.0.0.1", self.server.port, timeout=TIMEOUT_S)
        try:
            text = None if body is None else json.dumps(body)
            connection.request(method, f"/_control/{name}?{urlencode(query)}", text)
            response = connection.getresponse()
            return response.status, response.read()
        finally:
            connection.close()

    def command(self, method: str, name: str, body: Any = None, **query: Any) -> bytes:
        status, text = self.control(method, name, body, **query)
        self.assertEqual(status, 200, text)
        return text

    def script(self, *answers: dict[str, Any], **fields: Any) -> str:
        """Scripts a new path and gives it."""
        path = fields.setdefault("path", f"/{self.id()}/{next(self._numbers)}")
        self.command("POST", "paths", {"answers": list(answers) or [{}], **fields})
        return path

    def log(self, path: str) -> list[dict[str, Any]]:
        return json.loads(self.command("GET", "log", path=path))["requests"]

    def wait(self, path: str, event: str, **query: Any) -> list[dict[str, Any]]:
        """Waits for an event, which must come, and gives the log."""
        query = {"timeout_ms": TIMEOUT_S * 1000, **query}
        result = json.loads(self.command("GET", "wait", path=path, event=event, **query))
        self.assertTrue(result["met"], f"{event} {query} did not come: {result['requests']}")
        return result["requests"]
