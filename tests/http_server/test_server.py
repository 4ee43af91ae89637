"""What other tests trust the server in: it holds, ends and logs answers where a script says so."""

import base64
import itertools
import json
import select
import socket
import subprocess
import sys
import unittest
from http.client import HTTPConnection
from pathlib import Path
from typing import Any
from urllib.parse import urlencode

from pattern import pattern_bytes

TIMEOUT_S = 60  # no test waits that long unless it fails
BODY = [{"bytes": base64.b64encode(b"0123456789").decode()}]
LINES = b"HTTP/1.1 200 OK\r\n"
CLOSE = b"Connection: close\r\n\r\n"
HEAD = LINES + b"Content-Length: 10\r\n\r\n"
# Each point, and what of HEAD and BODY is sent before it.
POINTS = {
    "before_headers": b"",
    "head:8": HEAD[:8],
    "after_headers": HEAD,
    "body:0": HEAD,
    "body:4": HEAD + b"0123",
    "body:10": HEAD + b"0123456789",
    "end": HEAD + b"0123456789",
}


class RawClient:
    """A plain socket to the server that sees every byte."""

    def __init__(self, port: int):
        self.socket = socket.socket()
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
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

    def has_data(self) -> bool:
        """Whether something, the end included, has arrived."""
        return bool(select.select([self.socket], [], [], 0)[0])


class ServerTest(unittest.TestCase):
    _numbers = itertools.count(1)

    @classmethod
    def setUpClass(cls) -> None:
        # Warnings as errors: an unclosed connection would show on stderr.
        command = [sys.executable, "-W", "error", str(Path(__file__).with_name("server.py"))]
        cls.server = subprocess.Popen(
            [*command, "--exit-with-stdin"],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
        )
        cls.port = int(cls.server.stdout.readline().decode().removeprefix("PORT "))

    @classmethod
    def tearDownClass(cls) -> None:
        output = b"".join(cls.server.communicate(timeout=TIMEOUT_S))
        if cls.server.returncode != 0 or output:
            raise AssertionError(f"the server ended with {cls.server.returncode}, {output!r}")

    def request(self, target: str, *headers: str) -> RawClient:
        client = RawClient(self.port)
        self.addCleanup(client.socket.close)
        client.send_request(target, *headers)
        return client

    def control(self, method: str, name: str, body: Any = None, **query: Any) -> tuple[int, bytes]:
        connection = HTTPConnection("127.0.0.1", self.port, timeout=TIMEOUT_S)
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
        self.command("POST", "paths", {"answers": list(answers), **fields})
        return path

    def allow(self, path: str, **what: Any) -> None:
        self.command("POST", "allow", path=path, **what)

    def wait(self, path: str, event: str, **query: Any) -> dict[str, Any]:
        """Waits for an event, which must come, and gives the log of the first request."""
        query = {"timeout_ms": TIMEOUT_S * 1000, **query}
        result = json.loads(self.command("GET", "wait", path=path, event=event, **query))
        self.assertTrue(result["met"], f"{event} {query} did not come: {result['requests']}")
        return result["requests"][0]

    def test_each_field_of_an_answer(self) -> None:
        raw = b"HTTP/0.9 hm\n\n\x00\xff"
        for answer, sent in (
            ({"status": 599, "reason": "Odd \xe4"}, b"HTTP/1.1 599 Odd \xe4\r\n" + HEAD[17:]),
            ({"headers": [["X", "a\0b"]]}, LINES + b"X: a\0b\r\n" + HEAD[17:]),
            ({"status_line": "ICY 2oo"}, b"ICY 2oo\r\nContent-Length: 10\r\n" + CLOSE),
            ({"raw": base64.b64encode(raw).decode()}, raw),
            ({"close": True}, LINES + b"Content-Length: 10\r\n" + CLOSE),
            ({"framing": "close"}, LINES + CLOSE),
            (
                {"content_length": ["-x", "7"]},
                LINES + b"Content-Length: -x\r\nContent-Length: 7\r\n" + CLOSE,
            ),
        ):
            with self.subTest(answer=answer):
                client = self.request(self.script({**answer, "body": BODY}), "Connection: close")
                self.assertEqual(client.receive(), sent + b"0123456789")
        chunked = {"framing": "chunked", "chunk_size": 6, "body": BODY}
        client = self.request(self.script(chunked), "Connection: close")
        self.assertTrue(client.receive().endswith(b"\r\n\r\n6\r\n012345\r\n4\r\n6789\r\n0\r\n\r\n"))

    def test_answers_come_in_order_and_the_last_again(self) -> None:
        path = self.script({"status": 500}, {"status": 404})
        statuses = [self.request(path).receive(12)[9:] for _ in range(3)]
        self.assertEqual(statuses, [b"500", b"404", b"404"])

    def test_each_point_holds_until_all_is_allowed(self) -> None:
        for point, before in POINTS.items():
            with self.subTest(point=point):
                path = self.script({"hold": [point], "body": BODY})
                client = self.request(path)
                request = self.wait(path, "held", point=point)
                sent = len(before.partition(b"\r\n\r\n")[2])
                self.assertEqual((request["state"], request["body_sent"]), ("active", sent))
                self.assertEqual(client.receive(len(before)), before)
                self.assertFalse(client.has_data())
                self.allow(path, all=1)
                rest = (HEAD + b"0123456789")[len(before) :]
                self.assertEqual(client.receive(len(rest)), rest)
                self.assertEqual(self.wait(path, "ended")["state"], "finished")

    def test_gated_bytes_flow_as_far_as_allowed(self) -> None:
        path = self.script({"gated": True, "body": [{"pattern": {"seed": 4, "length": 200_000}}]})
        client = self.request(path)
        client.receive(len(HEAD) + 4)
        position = 0
        for limit in (1, 11, 165_541):
            self.wait(path, "held", point=f"body:{position}")
            self.assertFalse(client.has_data())
            self.allow(path, limit=limit)
            step = limit - position
            self.assertEqual(client.receive(step), pattern_bytes(4, position, step))
            self.assertEqual(self.wait(path, "bytes", bytes=limit)["body_sent"], limit)
            position = limit

    def test_client_that_leaves_is_noticed(self) -> None:
        for answer, before in (
            *(({"hold": [point], "body": BODY}, len(before)) for point, before in POINTS.items()),
            ({"body": [{"pattern": {"length": 1 << 40}}]}, 100_000),
        ):
            with self.subTest(answer=answer):
                path = self.script(answer)
                client = self.request(path)
                client.receive(before)
                self.wait(path, "held" if "hold" in answer else "bytes")
                client.socket.close()
                self.assertEqual(self.wait(path, "ended")["state"], "aborted")

    def test_cut_ends_the_connection_at_its_point(self) -> None:
        for how, end in (("fin", b""), ("reset", b"RESET")):
            for point, before in POINTS.items():
                with self.subTest(how=how, point=point):
                    cut = {"at": point, "how": how}
                    path = self.script({"cut": cut, "hold": [point], "body": BODY})
                    client = self.request(path)
                    self.wait(path, "held", point=point)
                    self.assertEqual(client.receive(len(before)), before)
                    self.allow(path, all=1)
                    self.assertEqual(client.receive(), end)
                    self.assertEqual(self.wait(path, "ended")["state"], "cut")

    def test_mistakes_are_refused(self) -> None:
        for answer in (
            *({"stauts": 200}, {"status": "200"}, {"framing": "none"}, {"hold": ["middle"]}),
            *({"hold": ["body:11"], "body": BODY}, {"cut": {"at": "end", "how": "bang"}}),
        ):
            with self.subTest(answer=answer):
                script = {"path": "/x", "answers": [answer]}
                self.assertEqual(self.control("POST", "paths", script)[0], 400)
        path = self.script({})
        for query in ({"event": "lunch"}, {"event": "held", "point": "middle"}):
            self.assertEqual(self.control("GET", "wait", path=path, **query)[0], 400)

    def test_wait_for_what_does_not_come_runs_out(self) -> None:
        path = self.script({"hold": ["end"]})
        self.request(path).receive(1)
        self.wait(path, "held")
        for query in (
            *({"event": "request", "count": 2}, {"event": "held", "point": "body:0"}),
            *({"event": "bytes", "bytes": 1}, {"event": "ended"}),
        ):
            with self.subTest(query=query):
                text = self.command("GET", "wait", path=path, timeout_ms=50, **query)
                self.assertIn(b'"met": false', text)


if __name__ == "__main__":
    unittest.main()
