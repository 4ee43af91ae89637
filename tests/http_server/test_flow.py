"""Answers that wait, trickle or break off, their log, and the control interface."""

import os
import socket
import struct
import subprocess
import sys
import time
import unittest

from harness import SERVER, TIMEOUT_S, ServerProcess, ServerTestCase, bytes_body
from pattern import pattern_bytes

BODY = bytes_body(b"0123456789")
HEAD = b"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n"
CHUNKED = {"framing": "chunked", "chunk_size": 5}
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


class HoldTest(ServerTestCase):
    def test_each_point_holds_until_all_is_allowed(self) -> None:
        for point, before in POINTS.items():
            with self.subTest(point=point):
                path = self.script({"hold": [point], "body": BODY})
                client = self.request(path)
                request = self.wait(path, "held", point=point)[0]
                sent = len(before.partition(b"\r\n\r\n")[2])
                self.assertEqual((request["state"], request["body_sent"]), ("active", sent))
                self.assertEqual(client.receive(len(before)), before)
                self.assertFalse(client.has_data())
                self.allow(path, all=1)
                rest = HEAD + b"0123456789"
                self.assertEqual(client.receive(len(rest) - len(before)), rest[len(before) :])
                self.assertEqual(self.wait(path, "ended")[0]["state"], "finished")

    def test_point_in_the_body_passes_when_more_is_allowed(self) -> None:
        path = self.script({"hold": ["body:3", "body:7"], "body": BODY, **CHUNKED})
        client = self.request(path)
        client.receive_head()
        self.wait(path, "held", point="body:3")
        self.assertEqual(client.receive(6), b"5\r\n012")
        self.allow(path, limit=4)
        self.wait(path, "held", point="body:7")
        self.assertEqual(client.receive(9), b"34\r\n5\r\n56")

    def test_gated_bytes_flow_as_far_as_allowed(self) -> None:
        path = self.script({"gated": True, "body": [{"pattern": {"seed": 4, "length": 200_000}}]})
        client = self.request(path)
        client.receive_head()
        position = 0
        for limit in (1, 11, 65_541, 165_541):
            self.wait(path, "held", point=f"body:{position}")
            self.assertFalse(client.has_data())
            self.allow(path, limit=limit)
            step = limit - position
            self.assertEqual(client.receive(step), pattern_bytes(4, position, step))
            self.assertEqual(self.wait(path, "bytes", bytes=limit)[0]["body_sent"], limit)
            position = limit
        self.allow(path, all=1)
        self.assertEqual(client.receive(34_459), pattern_bytes(4, position, 34_459))
        self.assertEqual(self.log(path)[0]["state"], "finished")

    def test_script_that_is_removed_or_replaced_releases_its_answers(self) -> None:
        for answer in (
            {"hold": ["before_headers", "body:3", "end"]},
            {"gated": True},
            {"rate": 1},
        ):
            with self.subTest(answer=answer):
                path = self.script({**answer, "body": BODY})
                clients = [self.request(path, "Connection: close")]
                self.wait(path, "request")
                self.script({**answer, "body": BODY}, path=path)
                clients.append(self.request(path, "Connection: close"))
                self.wait(path, "request")
                self.command("DELETE", "paths", path=path)
                for client in clients:
                    self.assertTrue(client.receive().endswith(b"\r\n\r\n0123456789"))
                self.assertIn(" 404 ", self.request(path).receive_head())

    def test_rate_takes_the_time(self) -> None:
        path = self.script({"rate": 100_000, "body": [{"pattern": {"length": 50_000}}]})
        begin = time.monotonic()
        client = self.request(path)
        client.receive_head()
        self.assertEqual(client.receive(50_000), pattern_bytes(0, 0, 50_000))
        self.assertGreater(time.monotonic() - begin, 0.4)

    def test_hundreds_of_held_connections(self) -> None:
        path = self.script({"hold": ["body:5"], "body": BODY})
        clients = [self.request(path) for _ in range(300)]
        self.wait(path, "held", count=300)
        self.allow(path, all=1)
        for client in clients:
            self.assertEqual(client.receive(len(HEAD) + 10), HEAD + b"0123456789")
        self.assertEqual({request["state"] for request in self.log(path)}, {"finished"})


class LeaveTest(ServerTestCase):
    def test_client_that_leaves_a_held_answer_is_noticed(self) -> None:
        for point, before in POINTS.items():
            for reset in (False, True):
                with self.subTest(point=point, reset=reset):
                    path = self.script({"hold": [point], "body": BODY})
                    client = self.request(path)
                    client.receive(len(before))
                    self.wait(path, "held", point=point)
                    linger = struct.pack("ii", reset, 0)
                    client.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, linger)
                    client.socket.close()
                    request = self.wait(path, "ended")[0]
                    self.assertEqual((request["state"], request["held_at"]), ("aborted", ""))

    def test_client_that_leaves_a_flowing_answer_is_noticed(self) -> None:
        for received in (0, 1_000_000):
            with self.subTest(received=received):
                path = self.script({"body": [{"pattern": {"length": 1 << 40}}]})
                client = self.connect(receive_buffer=65536)
                client.send_request(path)
                client.receive(received)
                self.wait(path, "bytes", bytes=1)
                client.socket.close()
                request = self.wait(path, "ended")[0]
                self.assertEqual(request["state"], "aborted")
                self.assertGreater(request["body_sent"], received - 1000)
                self.assertLess(request["body_sent"], 1 << 30)


class CutTest(ServerTestCase):
    def test_cut_ends_the_connection_at_its_point(self) -> None:
        for how, end in (("fin", b""), ("reset", b"RESET")):
            for point, before in POINTS.items():
                for hold in ([], [point]):
                    with self.subTest(how=how, point=point, hold=hold):
                        cut = {"at": point, "how": how}
                        path = self.script({"cut": cut, "hold": hold, "body": BODY})
                        client = self.request(path)
                        if hold:
                            self.wait(path, "held", point=point)
                            self.assertEqual(client.receive(len(before)), before)
                            self.assertFalse(client.has_data())
                            self.allow(path, all=1)
                        self.assertEqual(client.receive(), end if hold else before + end)
                        request = self.log(path)[0]
                        sent = len(before.partition(b"\r\n\r\n")[2])
                        self.assertEqual((request["state"], request["body_sent"]), ("cut", sent))

    def test_cut_within_a_chunk(self) -> None:
        path = self.script({"cut": {"at": "body:7"}, "body": BODY, **CHUNKED})
        client = self.request(path)
        client.receive_head()
        self.assertEqual(client.receive(), b"5\r\n01234\r\n5\r\n56")

    def test_reset_delivers_what_was_sent_before(self) -> None:
        # More than the client's system takes, but not more than the server's: the rest still waits
        # in the server's send queue when the reset is due.
        size = 300_000
        body = [{"pattern": {"seed": 8, "length": 2 * size}}]
        path = self.script({"body": body, "cut": {"at": f"body:{size}", "how": "reset"}})
        client = self.connect(receive_buffer=4096)
        client.send_request(path)
        self.wait(path, "bytes", bytes=size)
        self.assertEqual(self.log(path)[0]["state"], "active")
        data = client.receive()
        self.assertTrue(data.partition(b"\r\n\r\n")[2] == pattern_bytes(8, 0, size) + b"RESET")


class ControlTest(ServerTestCase):
    def test_mistakes_are_refused(self) -> None:
        scripts = [
            *({}, [], {"path": "x"}, {"path": "/x", "answers": []}, {"path": "/x", "answer": []}),
            *({"path": "/x", "match": "glob"}, {"path": "/x", "match": "prefix"}),
            {"path": "/x", "auth": {"name": "a"}},
        ]
        answers = [
            *({"stauts": 200}, {"status": "200"}, {"status": 20}, {"status": True}, {"rate": -1}),
            *({"framing": "none"}, {"chunk_size": 0}, {"content_length": [5]}),
            *({"headers": [["a"]]}, {"headers": [["Content-Length", "5"]]}),
            *({"headers": [["a", "\u4f60"]]}, {"hold": ["middle"]}),
            {"hold": ["body:11"], "body": BODY},
            *({"cut": {"at": "end", "how": "bang"}}, {"cut": {}}, {"body": [{"bytes": "*"}]}),
            *({"body": [{"bytes": "", "text": ""}]}, {"body": [{"pattern": {"size": 5}}]}),
            {"body": [{"file": "/nonexistent/file"}]},
        ]
        for mistake in scripts + [{"path": "/x", "answers": [answer]} for answer in answers]:
            with self.subTest(mistake=mistake):
                self.assertEqual(self.control("POST", "paths", mistake)[0], 400)
        path = self.script()
        for method, name, query in (
            ("GET", "log", {"path": "/x"}),
            ("DELETE", "paths", {"path": "/x"}),
            ("GET", "nothing", {"path": path}),
            ("GET", "wait", {"path": path, "event": "lunch"}),
            ("GET", "wait", {"path": path, "event": "held", "point": "middle"}),
            ("POST", "allow", {"path": path, "limit": "some"}),
            ("POST", "allow", {"path": path}),
            ("POST", "allow", {"path": path, "limits": 1}),
        ):
            with self.subTest(name=name, query=query):
                self.assertEqual(self.control(method, name, **query)[0], 400)

    def test_wait_counts_and_runs_out(self) -> None:
        path = self.script({"hold": ["end"]})
        for _ in range(2):
            self.request(path).receive_head()
        for query, met in (
            ({"event": "request", "count": 2}, b"true"),
            ({"event": "request", "count": 3}, b"false"),
            ({"event": "held", "count": 2}, b"true"),
            ({"event": "held", "point": "body:0"}, b"false"),
            ({"event": "bytes", "bytes": 1}, b"false"),
            ({"event": "ended"}, b"false"),
        ):
            with self.subTest(query=query):
                text = self.command("GET", "wait", path=path, timeout_ms=50, **query)
                self.assertIn(b'"met": ' + met, text)
        lines = self.command("GET", "wait", path=path, event="request", format="lines")
        self.assertEqual(lines.splitlines()[0], b"met=1")


class ProcessTest(unittest.TestCase):
    def test_server_ends_quietly_with_its_standard_input(self) -> None:
        process = ServerProcess().process
        self.assertEqual(process.communicate(timeout=TIMEOUT_S), (b"", b""))
        self.assertEqual(process.returncode, 0)

    def test_port_in_use_is_reported(self) -> None:
        server = ServerProcess()
        self.addCleanup(server.stop)
        command = [sys.executable, os.fspath(SERVER), "--port", str(server.port)]
        result = subprocess.run(command, capture_output=True, timeout=TIMEOUT_S, check=False)
        self.assertEqual(result.returncode, 1)
        self.assertIn(b"cannot listen on port", result.stderr)


if __name__ == "__main__":
    unittest.main()
