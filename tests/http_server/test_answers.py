"""What a scripted path answers and logs: heads, bodies, order of answers, credentials."""

import base64
import tempfile
import unittest

from harness import ServerTestCase, bytes_body
from pattern import BLOCK, pattern_bytes

ABC = bytes_body(b"abc")
LINES = b"HTTP/1.1 200 OK\r\n"
CLOSE = b"Connection: close\r\n\r\n"


class AnswerTest(ServerTestCase):
    def test_each_field_of_an_answer(self) -> None:
        raw = b"HTTP/0.9 hm\n\n\x00\xff"
        long_value = "a" * 102400
        rows = [  # answer, everything that is sent
            ({}, LINES + b"Content-Length: 0\r\n\r\n"),
            ({"status": 404}, b"HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n"),
            (
                {"status": 599, "reason": "Odd \xe4"},
                b"HTTP/1.1 599 Odd \xe4\r\nContent-Length: 0\r\n\r\n",
            ),
            ({"status": 204}, b"HTTP/1.1 204 No Content\r\n\r\n"),
            (
                {"status": 204, "body": ABC},
                b"HTTP/1.1 204 No Content\r\nContent-Length: 3\r\n" + CLOSE + b"abc",
            ),
            (
                {"headers": [["X-One", "1"], ["x-TWO", "a\0b"], ["X-One", long_value]]},
                LINES
                + b"X-One: 1\r\nx-TWO: a\0b\r\nX-One: %s\r\n" % long_value.encode()
                + b"Content-Length: 0\r\n\r\n",
            ),
            (
                {"status_line": "ICY 2oo fine", "body": ABC},
                b"ICY 2oo fine\r\nContent-Length: 3\r\n" + CLOSE + b"abc",
            ),
            ({"raw": base64.b64encode(raw).decode(), "body": ABC}, raw + b"abc"),
            ({"close": True, "body": ABC}, LINES + b"Content-Length: 3\r\n" + CLOSE + b"abc"),
            ({"framing": "close", "body": ABC}, LINES + CLOSE + b"abc"),
            ({"content_length": [], "body": ABC}, LINES + CLOSE + b"abc"),
            (
                {"content_length": ["-x", "7"], "body": ABC},
                LINES + b"Content-Length: -x\r\nContent-Length: 7\r\n" + CLOSE + b"abc",
            ),
            (
                {"framing": "chunked", "chunk_size": 2, "body": ABC},
                LINES + b"Transfer-Encoding: chunked\r\n\r\n2\r\nab\r\n1\r\nc\r\n0\r\n\r\n",
            ),
            (
                {"framing": "chunked", "content_length": ["9"], "body": ABC},
                LINES
                + b"Content-Length: 9\r\nTransfer-Encoding: chunked\r\n"
                + CLOSE
                + b"3\r\nabc\r\n0\r\n\r\n",
            ),
        ]
        for answer, sent in rows:
            with self.subTest(answer=answer):
                client = self.request(self.script(answer), "Connection: close")
                self.assertEqual(client.receive(), sent)

    def test_each_kind_of_body(self) -> None:
        expected = bytes(range(256)) + b"\xc3\xa4" + pattern_bytes(5, 0, 12_000_003)
        content = pattern_bytes(9, 0, 700_000)
        with tempfile.NamedTemporaryFile() as file:
            file.write(content)
            file.flush()
            body = [
                *bytes_body(bytes(range(256))),
                {"text": "\u00e4"},
                {"pattern": {"seed": 5, "length": 12_000_003}},
                {"file": file.name},
                {"text": "end"},
            ]
            path = self.script({"body": body})
            client = self.connect(receive_buffer=65536)  # more than the network takes at once
            client.send_request(path, "Connection: close")
            client.receive_head()
            self.assertTrue(client.receive() == expected + content + b"end")
        self.assertEqual(self.log(path)[0]["body_sent"], len(expected + content + b"end"))

    def test_connection_stays_for_the_next_request(self) -> None:
        path = self.script({"body": ABC}, {"framing": "chunked", "body": ABC}, {"status": 204})
        client = self.connect()
        for end in (b"abc", b"3\r\nabc\r\n0\r\n\r\n", b""):
            client.send_request(path)
            client.receive_head()
            self.assertEqual(client.receive(len(end)), end)
        self.assertEqual(len({request["connection"] for request in self.log(path)}), 1)

    def test_answers_in_order_and_the_last_again(self) -> None:
        path = self.script({"status": 500}, {"status": 404}, {"status": 200})
        statuses = [int(self.request(path).receive_head()[9:12]) for _ in range(4)]
        self.assertEqual(statuses, [500, 404, 200, 200])
        self.assertEqual([request["status"] for request in self.log(path)], statuses)

    def test_credentials_use_no_answer_up(self) -> None:
        auth = {"user": "ann", "password": "p w:\xe4", "realm": "Lessons"}
        path = self.script({"status": 201}, {"status": 202}, auth=auth)
        right = "Authorization: Basic " + base64.b64encode(b"ann:p w:\xe4").decode()
        wrong = "Authorization: Basic " + base64.b64encode(b"ann:guess").decode()
        head = self.request(path).receive_head()
        self.assertIn('\r\nWWW-Authenticate: Basic realm="Lessons"\r\n', head)
        for header in (wrong, right, right):
            self.request(path, header).receive_head()
        log = [(request["status"], request["auth"]) for request in self.log(path)]
        self.assertEqual(log, [(401, "missing"), (401, "wrong"), (201, "right"), (202, "right")])


class RequestTest(ServerTestCase):
    def test_request_is_logged_as_it_was_sent(self) -> None:
        path = self.script({"body": ABC})
        self.request(path + "?a=b&c?d\xe4", "X-Twice: 1\t%", "x-twice: \xe4").receive_head()
        expected = {
            "method": "GET",
            "path": path,
            "query": "a=b&c?d\xe4",
            "headers": [["Host", "test"], ["X-Twice", "1\t%"], ["x-twice", "\xe4"]],
            "state": "finished",
            "status": 200,
            "auth": "none",
            "held_at": "",
            "body_sent": 3,
        }
        (request,) = self.log(path)
        del request["connection"]
        self.assertEqual(request, expected)
        line = self.command("GET", "log", path=path, format="lines").decode("ascii")
        for field in ("query=a=b%26c%3Fd%E4", "header=Host: test", "header=X-Twice: 1%09%25"):
            self.assertIn(field, line.rstrip("\n").split("\t"))

    def test_path_matches_as_sent_then_its_longest_prefix(self) -> None:
        self.script({"status": 201}, path="/pre/", match="prefix")
        self.script({"status": 202}, path="/pre/fix/", match="prefix")
        self.script({"status": 203}, path="/pre/fix/a%20b")
        for target, status in (
            ("/pre/", 201),
            ("/pre/a/b?x", 201),
            ("/pre/fix/x", 202),
            ("/pre/fix/a%20b?x", 203),
            ("/pre/fix/a+b", 202),
            ("/pre", 404),
            ("/prefix", 404),
        ):
            with self.subTest(target=target):
                self.assertIn(f" {status} ", self.request(target).receive_head())


class PatternTest(unittest.TestCase):
    def test_any_piece_equals_the_same_piece_of_the_whole(self) -> None:
        whole = pattern_bytes(7, 0, 5 * BLOCK + 123)
        for offset, length in [(0, 1), (1, 9), (BLOCK - 1, 2), (BLOCK, BLOCK), (100, 4 * BLOCK)]:
            with self.subTest(offset=offset, length=length):
                self.assertEqual(pattern_bytes(7, offset, length), whole[offset : offset + length])

    def test_seeds_and_blocks_differ(self) -> None:
        self.assertEqual(len({pattern_bytes(seed, 0, 16) for seed in range(200)}), 200)
        self.assertEqual(len({pattern_bytes(3, n * BLOCK + 4096, 16) for n in range(2000)}), 2000)


if __name__ == "__main__":
    unittest.main()
