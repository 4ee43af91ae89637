"""What a scripted path answers: status, headers, bodies, framing, order of answers, credentials."""

import base64
import tempfile
import time
import unittest

from harness import ServerTestCase, base64_text, bytes_body
from pattern import pattern_bytes


def decode_chunks(data: bytes) -> tuple[list[int], bytes]:
    """The chunk sizes and the body of a chunked message."""
    sizes, body = [], b""
    while True:
        line, _, data = data.partition(b"\r\n")
        size = int(line, 16)
        sizes.append(size)
        body += data[:size]
        assert data[size : size + 2] == b"\r\n"
        data = data[size + 2 :]
        if size == 0:
            assert data == b""
            return sizes, body


class HeadTest(ServerTestCase):
    def head_of(self, **answer: object) -> str:
        return self.request(self.script(answer)).receive_head()

    def test_the_plain_answer(self) -> None:
        client = self.request(self.script())
        self.assertEqual(client.receive_head(), "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n")

    def test_status_and_reason(self) -> None:
        self.assertTrue(self.head_of(status=404).startswith("HTTP/1.1 404 Not Found\r\n"))
        head = self.head_of(status=599, reason="Odd \xe4")
        self.assertTrue(head.startswith("HTTP/1.1 599 Odd \xe4\r\n"))

    def test_no_content_has_no_length(self) -> None:
        self.assertEqual(self.head_of(status=204), "HTTP/1.1 204 No Content\r\n\r\n")

    def test_extra_headers_keep_their_order_and_case(self) -> None:
        head = self.head_of(headers=[["X-One", "1"], ["x-TWO", "b"], ["X-One", "2"]])
        self.assertIn("\r\nX-One: 1\r\nx-TWO: b\r\nX-One: 2\r\n", head)

    def test_header_of_100_kilobytes(self) -> None:
        value = "a" * 102400
        self.assertIn(f"\r\nX-Big: {value}\r\n", self.head_of(headers=[["X-Big", value]]))

    def test_header_with_nul(self) -> None:
        head = self.head_of(headers=[["X-Nul", "a\0b"]], body=bytes_body(b"xyz"))
        self.assertIn("\r\nX-Nul: a\0b\r\nContent-Length: 3\r\n", head)

    def test_garbage_status_line(self) -> None:
        head = self.head_of(status_line="ICY 2oo fine", body=bytes_body(b"xyz"))
        self.assertEqual(head, "ICY 2oo fine\r\nContent-Length: 3\r\nConnection: close\r\n\r\n")

    def test_raw_answer(self) -> None:
        raw = b"\x00\xffnothing like HTTP"
        client = self.request(self.script({"raw": base64_text(raw)}))
        self.assertEqual(client.receive_all(), raw)

    def test_raw_head_with_a_body(self) -> None:
        answer = {"raw": base64_text(b"HTTP/0.9 hm\n\n"), "body": bytes_body(b"text")}
        self.assertEqual(self.request(self.script(answer)).receive_all(), b"HTTP/0.9 hm\n\ntext")

    def test_redirect(self) -> None:
        head = self.head_of(status=302, headers=[["Location", "/elsewhere?x#y"]])
        self.assertIn("HTTP/1.1 302 Found\r\nLocation: /elsewhere?x#y\r\n", head)


class BodyTest(ServerTestCase):
    def body_of(self, *segments: dict) -> bytes:
        client = self.request(self.script({"body": list(segments)}), "Connection: close")
        client.receive_head()
        return client.receive_all()

    def test_literal_bytes(self) -> None:
        self.assertEqual(self.body_of(*bytes_body(bytes(range(256)))), bytes(range(256)))

    def test_pattern_behind_prefix(self) -> None:
        body = self.body_of(*bytes_body(b"HEAD"), {"pattern": {"seed": 5, "length": 1_000_003}})
        self.assertEqual(body, b"HEAD" + pattern_bytes(5, 0, 1_000_003))

    def test_pattern_from_the_middle(self) -> None:
        body = self.body_of({"pattern": {"seed": 5, "length": 99, "start": 10_000_000_000}})
        self.assertEqual(body, pattern_bytes(5, 10_000_000_000, 99))

    def test_file(self) -> None:
        with tempfile.NamedTemporaryFile() as file:
            file.write(pattern_bytes(9, 0, 700_000))
            file.flush()
            body = self.body_of({"text": "\u00e4"}, {"file": file.name}, {"text": "end"})
        self.assertEqual(body, b"\xc3\xa4" + pattern_bytes(9, 0, 700_000) + b"end")

    def test_head_request_gets_no_body(self) -> None:
        path = self.script({"body": bytes_body(b"12345")})
        client = self.request(path, "Connection: close", method="HEAD")
        self.assertIn("\r\nContent-Length: 5\r\n", client.receive_head())
        self.assertEqual(client.receive_all(), b"")

    def test_50_megabytes_at_200_megabytes_per_second(self) -> None:
        size = 50_000_000
        path = self.script({"body": [{"pattern": {"seed": 1, "length": size}}]})
        best = 0.0
        for _ in range(5):  # the machine may be busy; the server must be able to, not win each time
            client = self.request(path, "Connection: close")
            buffer = bytearray(1 << 20)
            begin = time.monotonic()
            received = 0
            while count := client.socket.recv_into(buffer):
                received += count
            best = max(best, received / (time.monotonic() - begin))
            self.assertGreater(received, size)
        self.assertGreater(best, 200e6)


class FramingTest(ServerTestCase):
    def test_right_length_keeps_the_connection(self) -> None:
        path = self.script({"body": bytes_body(b"abc")})
        client = self.connect()
        for _ in range(3):
            client.send_request(path)
            self.assertIn("\r\nContent-Length: 3\r\n", client.receive_head())
            self.assertEqual(client.receive(3), b"abc")
        self.assertEqual(len({record["connection"] for record in self.log(path)}), 1)

    def test_pipelined_requests_are_answered_in_order(self) -> None:
        paths = [self.script({"body": bytes_body(text)}) for text in (b"one", b"two")]
        client = self.connect()
        client.socket.sendall(
            b"".join(f"GET {path} HTTP/1.1\r\nHost: x\r\n\r\n".encode() for path in paths)
        )
        client.receive_head()
        self.assertEqual(client.receive(3), b"one")
        client.receive_head()
        self.assertEqual(client.receive(3), b"two")

    def test_client_asks_to_close(self) -> None:
        client = self.request(self.script({"body": bytes_body(b"abc")}), "Connection: close")
        self.assertIn("\r\nConnection: close\r\n", client.receive_head())
        self.assertEqual(client.receive_all(), b"abc")

    def test_server_closes_on_demand(self) -> None:
        client = self.request(self.script({"body": bytes_body(b"abc"), "close": True}))
        self.assertIn("\r\nConnection: close\r\n", client.receive_head())
        self.assertEqual(client.receive_all(), b"abc")

    def test_old_clients_get_one_answer(self) -> None:
        path = self.script({"framing": "chunked", "body": bytes_body(b"abc")})
        client = self.connect()
        client.socket.sendall(f"GET {path} HTTP/1.0\r\n\r\n".encode())
        self.assertNotIn("chunked", client.receive_head())
        self.assertEqual(client.receive_all(), b"abc")

    def test_no_length(self) -> None:
        client = self.request(self.script({"framing": "close", "body": bytes_body(b"abc")}))
        self.assertEqual(client.receive_head(), "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n")
        self.assertEqual(client.receive_all(), b"abc")

    def test_false_lengths(self) -> None:
        for claims in (["2"], ["10"], ["abc"], ["3", "7"], [""], ["-1"], []):
            with self.subTest(claims=claims):
                path = self.script({"content_length": claims, "body": bytes_body(b"abc")})
                client = self.request(path)
                lines = client.receive_head().split("\r\n")
                expected = [f"Content-Length: {claim}" for claim in claims]
                self.assertEqual([line for line in lines if "Content" in line], expected)
                self.assertEqual(client.receive_all(), b"abc")

    def test_chunks(self) -> None:
        body = pattern_bytes(2, 0, 2500)
        for size, sizes in ((1000, [1000, 1000, 500, 0]), (5000, [2500, 0])):
            with self.subTest(size=size):
                answer = {"framing": "chunked", "chunk_size": size, "body": bytes_body(body)}
                client = self.request(self.script(answer), "Connection: close")
                self.assertIn("\r\nTransfer-Encoding: chunked\r\n", client.receive_head())
                self.assertEqual(decode_chunks(client.receive_all()), (sizes, body))

    def test_chunks_keep_the_connection(self) -> None:
        path = self.script({"framing": "chunked", "body": bytes_body(b"abc")})
        client = self.connect()
        for _ in range(2):
            client.send_request(path)
            client.receive_head()
            self.assertEqual(client.receive(13), b"3\r\nabc\r\n0\r\n\r\n")

    def test_chunks_with_a_length(self) -> None:
        answer = {"framing": "chunked", "content_length": ["3"], "body": bytes_body(b"abc")}
        client = self.request(self.script(answer))
        head = client.receive_head()
        self.assertIn("\r\nContent-Length: 3\r\nTransfer-Encoding: chunked\r\n", head)
        self.assertEqual(client.receive_all(), b"3\r\nabc\r\n0\r\n\r\n")

    def test_body_behind_a_status_that_has_none(self) -> None:
        client = self.request(self.script({"status": 204, "body": bytes_body(b"abc")}))
        self.assertIn("\r\nContent-Length: 3\r\n", client.receive_head())
        self.assertEqual(client.receive_all(), b"abc")


class SequenceTest(ServerTestCase):
    def test_answers_in_order_and_the_last_again(self) -> None:
        path = self.script({"status": 500}, {"status": 404}, {"status": 200})
        statuses = [self.request(path).receive_head()[9:12] for _ in range(4)]
        self.assertEqual(statuses, ["500", "404", "200", "200"])
        self.assertEqual([record["status"] for record in self.log(path)], [500, 404, 200, 200])

    def test_credentials(self) -> None:
        auth = {"user": "ann", "password": "p w:\xe4", "realm": "Lessons"}
        path = self.script({"body": bytes_body(b"in")}, {"status": 410}, auth=auth)

        def attempt(*headers: str) -> str:
            return self.request(path, *headers).receive_head()

        right = "Authorization: Basic " + base64.b64encode(b"ann:p w:\xe4").decode()
        wrong = "Authorization: Basic " + base64.b64encode(b"ann:guess").decode()
        self.assertIn('\r\nWWW-Authenticate: Basic realm="Lessons"\r\n', attempt())
        self.assertIn(" 401 ", attempt(wrong))
        self.assertIn(" 401 ", attempt("Authorization: Basic ***"))
        self.assertIn(" 401 ", attempt(right.replace("Basic", "Digest")))
        self.assertIn(" 200 ", attempt(right))
        self.assertIn(" 410 ", attempt(right))
        log = self.log(path)
        self.assertEqual(
            [record["auth"] for record in log],
            ["missing", "wrong", "wrong", "wrong", "right", "right"],
        )
        self.assertEqual([record["auth_attempts"] for record in log], [0, 1, 2, 3, 4, 5])

    def test_credentials_on_one_connection(self) -> None:
        path = self.script(auth={"user": "u", "password": "p", "realm": "r"})
        client = self.request(path)
        client.receive_head()
        client.receive(len("credentials needed\n"))
        client.send_request(path, "Authorization: Basic dTpw")
        self.assertIn(" 200 ", client.receive_head())


if __name__ == "__main__":
    unittest.main()
