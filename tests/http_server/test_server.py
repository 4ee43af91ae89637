"""The server as a process, requests as they are logged, the control interface, plain files."""

import os
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

from harness import SERVER, TIMEOUT_S, RawClient, ServerProcess, ServerTestCase, bytes_body
from pattern import pattern_bytes


class ProcessTest(unittest.TestCase):
    def start(self, *arguments: str) -> ServerProcess:
        server = ServerProcess(*arguments)
        self.addCleanup(server.process.communicate)
        self.addCleanup(server.process.kill)
        return server

    def test_first_line_and_quiet_end(self) -> None:
        server = self.start()
        self.assertRegex(server.first_line, r"\APORT [1-9][0-9]*\n\Z")
        self.assertEqual(server.stop(), (0, b""))

    def test_ends_with_stdin(self) -> None:
        server = self.start()
        self.assertEqual(server.process.communicate(timeout=TIMEOUT_S), (b"", b""))
        self.assertEqual(server.process.returncode, 0)

    def test_ends_while_clients_are_held(self) -> None:
        server = self.start()
        script = b'{"path": "/x", "answers": [{"hold": ["before_headers"]}]}'
        post = b"POST /_control/paths HTTP/1.1\r\nHost: x\r\nContent-Length: %d\r\n\r\n"
        with RawClient(server.port) as control, RawClient(server.port) as held:
            control.socket.sendall(post % len(script) + script)
            control.receive_head()
            held.send_request("/x")
            control.send_request("/_control/wait?path=/x&event=held")
            control.receive_head()
            begin = time.monotonic()
            self.assertEqual(server.stop(), (0, b""))
            self.assertLess(time.monotonic() - begin, 1.5)
            self.assertEqual(held.receive_all(), b"")

    def test_given_port(self) -> None:
        first = self.start()
        port = first.port
        first.stop()
        self.assertEqual(self.start("--port", str(port)).port, port)

    def test_port_in_use(self) -> None:
        port = self.start().port
        command = [sys.executable, os.fspath(SERVER), "--port", str(port)]
        result = subprocess.run(command, capture_output=True, timeout=TIMEOUT_S, check=False)
        self.assertEqual(result.returncode, 1)
        self.assertIn(b"cannot listen on port", result.stderr)

    def test_help(self) -> None:
        command = [sys.executable, os.fspath(SERVER), "--help"]
        result = subprocess.run(command, capture_output=True, timeout=TIMEOUT_S, check=True)
        for option in (b"--port", b"--root", b"--rate", b"--exit-with-stdin"):
            self.assertIn(option, result.stdout)


class RequestTest(ServerTestCase):
    def test_everything_is_logged(self) -> None:
        path = self.script({"body": bytes_body(b"abc")})
        client = self.request(path + "?a=b&c?d", "X-Twice: 1", "x-twice: 2")
        client.receive_head()
        client.receive(3)
        (record,) = self.log(path)
        self.assertEqual(record["method"], "GET")
        self.assertEqual(record["target"], path + "?a=b&c?d")
        self.assertEqual((record["path"], record["query"]), (path, "a=b&c?d"))
        self.assertEqual(record["version"], "1.1")
        self.assertEqual(record["headers"], [["Host", "test"], ["X-Twice", "1"], ["x-twice", "2"]])
        self.assertEqual((record["state"], record["status"]), ("finished", 200))
        self.assertEqual(record["request"], 1)
        self.assertEqual((record["body_sent"], record["body_total"]), (3, 3))
        self.assertEqual(record["head_sent"], len("HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\n"))
        self.assertLessEqual(0, record["started_ms"])
        self.assertLessEqual(record["started_ms"], record["head_ms"])
        self.assertLessEqual(record["head_ms"], record["ended_ms"])

    def test_connections_are_told_apart(self) -> None:
        path = self.script()
        for _ in range(2):
            self.request(path).receive_head()
        self.assertEqual(len({record["connection"] for record in self.log(path)}), 2)

    def test_paths_match_as_they_are_sent(self) -> None:
        path = self.script(path="/exact/a%20b")
        self.assertIn(" 200 ", self.request("/exact/a%20b?x").receive_head())
        for other in ("/exact/a%20B", "/exact/a+b", "/exact/a%20b/", "/exact/%61%20b"):
            self.assertIn(" 404 ", self.request(other).receive_head())
        self.assertEqual(len(self.log(path)), 1)

    def test_a_query_can_have_a_script_of_its_own(self) -> None:
        path = self.script({"status": 201})
        self.script({"status": 202}, path=path, query="v=2")
        statuses = [self.request(path + end).receive_head()[9:12] for end in ("", "?v=1", "?v=2")]
        self.assertEqual(statuses, ["201", "201", "202"])

    def test_prefixes(self) -> None:
        self.script({"status": 201}, path="/pre/", match="prefix")
        self.script({"status": 202}, path="/pre/fix/", match="prefix")
        self.script({"status": 203}, path="/pre/fix/exact")
        targets = ("/pre/", "/pre/a/b", "/pre/fix/x", "/pre/fix/exact", "/pre", "/prefix")
        statuses = [self.request(target).receive_head()[9:12] for target in targets]
        self.assertEqual(statuses, ["201", "201", "202", "203", "404", "404"])

    def test_bytes_outside_ascii_in_the_target(self) -> None:
        path = self.script(path="/odd/", match="prefix")
        self.assertIn(" 200 ", self.request("/odd/\xe4\xbd\xa0?q=\xff").receive_head())
        self.assertEqual(self.log(path)[0]["target"], "/odd/\xe4\xbd\xa0?q=\xff")

    def test_target_of_a_proxy_request(self) -> None:
        path = self.script()
        self.assertIn(" 200 ", self.request(f"http://host:81{path}").receive_head())
        self.assertEqual(self.log(path)[0]["target"], f"http://host:81{path}")

    def test_request_body(self) -> None:
        path = self.script()
        client = self.connect()
        client.send_request(path, "Content-Length: 6", "Expect: 100-continue", method="POST")
        self.assertIn(" 100 ", client.receive_head())
        client.socket.sendall(b"abcdef")
        self.assertIn(" 200 ", client.receive_head())
        self.assertEqual(self.log(path)[0]["request_body_length"], 6)

    def test_request_in_small_pieces(self) -> None:
        client = self.connect()
        for byte in f"GET {self.script()} HTTP/1.1\r\nHost: x\r\n\r\n".encode():
            client.socket.sendall(bytes([byte]))
        self.assertIn(" 200 ", client.receive_head())

    def test_nonsense_is_refused(self) -> None:
        client = self.connect()
        client.socket.sendall(b"this is no request\r\n\r\n")
        self.assertTrue(client.receive_all().startswith(b"HTTP/1.1 400 "))

    def test_unscripted_requests_are_in_the_log_of_all(self) -> None:
        self.assertIn(" 404 ", self.request("/unscripted?1").receive_head())
        self.assertIn(b"/unscripted?1", self.command("GET", "log"))


class ControlTest(ServerTestCase):
    def test_mistakes_are_refused(self) -> None:
        mistakes = [
            {},
            [],
            {"path": "x"},
            {"path": "/x", "answers": []},
            {"path": "/x", "anwsers": [{}]},
            {"path": "/x", "match": "glob"},
            {"path": "/x", "match": "prefix"},
            {"path": "/x", "auth": {"name": "a"}},
            *(
                {"path": "/x", "answers": [answer]}
                for answer in (
                    {"stauts": 200},
                    {"status": "200"},
                    {"status": 20},
                    {"status": True},
                    {"rate": -1},
                    {"framing": "none"},
                    {"chunk_size": 0},
                    {"content_length": [5]},
                    {"headers": [["a"]]},
                    {"headers": [["Content-Length", "5"]]},
                    {"headers": [["a", "\u4f60"]]},
                    {"hold": ["middle"]},
                    {"hold": ["body:1"]},
                    {"cut": {"at": "end", "how": "bang"}},
                    {"cut": {}},
                    {"body": [{"bytes": "*"}]},
                    {"body": [{"bytes": "", "text": ""}]},
                    {"body": [{"pattern": {"size": 5}}]},
                    {"body": [{"file": "/nonexistent/file"}]},
                )
            ),
        ]
        for mistake in mistakes:
            with self.subTest(mistake=mistake):
                self.assertEqual(self.control("POST", "paths", mistake)[0], 400)
        self.assertEqual(self.control("GET", "log", path="/x")[0], 404)

    def test_unknown_commands_and_parameters(self) -> None:
        path = self.script()
        self.assertEqual(self.control("GET", "nothing")[0], 404)
        self.assertEqual(self.control("PUT", "paths")[0], 404)
        self.assertEqual(self.control("DELETE", "paths", path="/unknown")[0], 404)
        self.assertEqual(self.control("GET", "wait", path=path, event="lunch")[0], 400)
        self.assertEqual(self.control("GET", "wait", path=path)[0], 400)
        self.assertEqual(self.control("POST", "allow", path=path, bytes="some")[0], 400)
        self.assertEqual(self.control("POST", "allow", path=path)[0], 400)

    def test_removed_scripts_are_gone(self) -> None:
        path = self.script()
        self.assertIn(path.encode(), self.command("GET", "paths"))
        self.command("DELETE", "paths", path=path)
        self.assertNotIn(path.encode(), self.command("GET", "paths"))
        self.assertIn(" 404 ", self.request(path).receive_head())

    def test_wait_runs_out(self) -> None:
        path = self.script()
        text = self.command("GET", "wait", path=path, event="request", timeout_ms=20)
        self.assertIn(b'"met": false', text)

    def test_wait_for_the_nth_request(self) -> None:
        path = self.script()
        for _ in range(2):
            self.request(path).receive_head()
        query = {"path": path, "event": "finished", "timeout_ms": 20}
        self.assertIn(b'"met": true', self.command("GET", "wait", count=2, **query))
        self.assertIn(b'"met": false', self.command("GET", "wait", count=3, **query))
        self.assertIn(b'"met": true', self.command("GET", "wait", request=2, **query))
        self.assertIn(b'"met": false', self.command("GET", "wait", request=3, **query))

    def test_waits_of_clients_that_leave_end(self) -> None:
        target = f"/_control/wait?path={self.script()}&event=request&timeout_ms=600000"
        waiting = [self.request(target) for _ in range(50)]
        self.server.wait_for_threads(range(50, 100))
        for client in waiting:
            client.socket.close()
        self.server.wait_for_threads(range(20))

    def test_log_in_lines(self) -> None:
        path = self.script({"hold": ["after_headers"]})
        client = self.request(path + "?q", "X-Odd: a\tb%\xe4")
        client.receive_head()
        query = {"path": path, "event": "held", "format": "lines"}
        first, line = self.command("GET", "wait", **query).decode("ascii").splitlines()
        self.assertEqual(first, "met=1")
        fields = line.split("\t")
        for field in ("request=1", "query=q", "state=active", "header=Host: test"):
            self.assertIn(field, fields)
        self.assertIn("held_at=after_headers", fields)
        self.assertIn("header=X-Odd: a%09b%25%E4", fields)


class StaticFilesTest(ServerTestCase):
    @classmethod
    def setUpClass(cls) -> None:
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.root = Path(folder.name) / "root"
        (cls.root / "sub").mkdir(parents=True)
        (cls.root / "sub" / "a b.folivo").write_bytes(pattern_bytes(6, 0, 3_000_000))
        (cls.root / "page.html").write_text("<p>hello")
        (cls.root.parent / "secret").write_text("secret")
        cls.arguments = ("--root", os.fspath(cls.root), "--rate", "50000000")
        super().setUpClass()

    def test_file(self) -> None:
        client = self.request("/sub/a%20b.folivo?x=y")
        head = client.receive_head()
        self.assertIn("\r\nContent-Type: application/octet-stream\r\n", head)
        self.assertIn("\r\nContent-Length: 3000000\r\n", head)
        self.assertEqual(client.receive(3_000_000), pattern_bytes(6, 0, 3_000_000))

    def test_type_of_a_page(self) -> None:
        self.assertIn("\r\nContent-Type: text/html\r\n", self.request("/page.html").receive_head())

    def test_nothing_else_is_served(self) -> None:
        outside = ("/../secret", "/..%2fsecret", "/%2e%2e/secret")
        for target in ("/", "/sub", "/none", "/a%00b", *outside):
            with self.subTest(target=target):
                self.assertIn(" 404 ", self.request(target).receive_head())
        self.assertIn(" 405 ", self.request("/page.html", method="POST").receive_head())

    def test_scripts_come_first(self) -> None:
        self.script({"status": 418}, path="/page.html")
        self.addCleanup(self.command, "DELETE", "paths", path="/page.html")
        self.assertIn(" 418 ", self.request("/page.html").receive_head())


if __name__ == "__main__":
    unittest.main()
