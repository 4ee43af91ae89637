"""Answers that wait, trickle or break off, and what the log says about them."""

import socket
import struct
import threading
import time
import unittest
from collections.abc import Iterator

from harness import RawClient, ServerTestCase, bytes_body
from pattern import pattern_bytes

BODY = bytes_body(b"0123456789")


class HoldTest(ServerTestCase):
    def assert_silent(self, client: RawClient) -> None:
        self.assertFalse(client.has_data())

    def test_before_the_headers(self) -> None:
        path = self.script({"hold": ["before_headers"], "body": BODY})
        client = self.request(path)
        record = self.wait(path, "held", point="before_headers")[0]
        self.assertEqual((record["state"], record["head_sent"]), ("active", 0))
        self.assert_silent(client)
        self.command("POST", "allow", path=path, point="before_headers")
        client.receive_head()
        self.assertEqual(client.receive(10), b"0123456789")

    def test_within_the_headers(self) -> None:
        path = self.script({"hold": ["head:12"]})
        client = self.request(path)
        self.assertEqual(self.wait(path, "held", point="head:12")[0]["head_sent"], 12)
        self.assertEqual(client.receive(12), b"HTTP/1.1 200")
        self.assert_silent(client)
        self.command("POST", "allow", path=path, point="head:12")
        self.assertTrue(client.receive_head().startswith(" OK\r\n"))

    def test_after_the_headers(self) -> None:
        path = self.script({"hold": ["after_headers"], "body": BODY})
        client = self.request(path)
        client.receive_head()
        self.assertEqual(self.wait(path, "held", point="after_headers")[0]["body_sent"], 0)
        self.assert_silent(client)
        self.command("POST", "allow", path=path, point="after_headers")
        self.assertEqual(client.receive(10), b"0123456789")

    def test_within_the_body_until_enough_is_allowed(self) -> None:
        path = self.script({"hold": ["body:3", "body:7"], "body": BODY})
        client = self.request(path)
        client.receive_head()
        self.assertEqual(client.receive(3), b"012")
        self.wait(path, "held", point="body:3")
        self.command("POST", "allow", path=path, limit=4)
        self.assertEqual(client.receive(4), b"3456")
        self.assertEqual(self.wait(path, "held", point="body:7")[0]["body_sent"], 7)
        self.assert_silent(client)
        self.command("POST", "allow", path=path, point="body:7")
        self.assertEqual(client.receive(3), b"789")

    def test_at_the_end(self) -> None:
        path = self.script({"hold": ["end"], "framing": "close", "body": BODY})
        client = self.request(path)
        client.receive_head()
        self.assertEqual(client.receive(10), b"0123456789")
        self.assertEqual(self.wait(path, "held", point="end")[0]["state"], "active")
        self.assert_silent(client)
        self.command("POST", "allow", path=path, point="end")
        self.assertEqual(client.receive_all(), b"")
        self.assertEqual(self.log(path)[0]["state"], "finished")

    def test_within_a_chunk(self) -> None:
        answer = {"hold": ["body:3"], "framing": "chunked", "chunk_size": 5, "body": BODY}
        path = self.script(answer)
        client = self.request(path)
        client.receive_head()
        self.assertEqual(client.receive(6), b"5\r\n012")
        self.wait(path, "held")
        self.assert_silent(client)
        self.command("POST", "allow", path=path, all=1)
        self.assertEqual(client.receive(19), b"34\r\n5\r\n56789\r\n0\r\n\r\n")

    def test_permits_are_used_up(self) -> None:
        path = self.script({"hold": ["before_headers"]})
        clients = [self.request(path) for _ in range(3)]
        self.wait(path, "held", count=3)
        self.command("POST", "allow", path=path, point="before_headers", times=2)
        self.wait(path, "finished", count=2)
        self.assertEqual(sum(record["state"] == "active" for record in self.log(path)), 1)
        self.command("POST", "allow", path=path, point="before_headers", times=1)
        self.wait(path, "finished", count=3)
        for client in clients:
            client.receive_head()

    def test_gated_bytes_flow_as_far_as_allowed(self) -> None:
        path = self.script({"gated": True, "body": [{"pattern": {"seed": 4, "length": 200_000}}]})
        client = self.request(path)
        client.receive_head()
        position = 0
        for step in (1, 10, 65_530, 100_000):
            self.wait(path, "held", point=f"body:{position}")
            self.assert_silent(client)
            self.command("POST", "allow", path=path, bytes=step)
            self.assertEqual(client.receive(step), pattern_bytes(4, position, step))
            position += step
            self.assertEqual(self.wait(path, "bytes", bytes=position)[0]["body_sent"], position)
        self.command("POST", "allow", path=path, all=1)
        self.assertEqual(client.receive(200_000 - position), pattern_bytes(4, position, 34_459))
        self.assertEqual(self.log(path)[0]["state"], "finished")

    def test_removing_the_script_releases_everything(self) -> None:
        answers = [
            {"hold": ["before_headers", "body:3", "end"], "body": BODY},
            {"gated": True, "body": BODY},
            {"rate": 1, "body": BODY},
        ]
        for answer in answers:
            with self.subTest(answer=answer):
                path = self.script(answer)
                client = self.request(path, "Connection: close")
                self.wait(path, "request")
                self.command("DELETE", "paths", path=path)
                self.assertTrue(client.receive_all().endswith(b"\r\n\r\n0123456789"))

    def test_a_new_script_for_the_path_releases_the_old_one(self) -> None:
        path = self.script({"hold": ["before_headers"], "status": 201})
        client = self.request(path)
        self.wait(path, "held")
        self.script({"status": 202}, path=path)
        self.assertIn(" 201 ", client.receive_head())
        self.assertIn(" 202 ", self.request(path).receive_head())

    def test_client_leaves_a_held_answer(self) -> None:
        for point in ("before_headers", "head:5", "after_headers", "body:4", "end"):
            with self.subTest(point=point):
                path = self.script({"hold": [point], "body": BODY})
                client = self.request(path)
                self.wait(path, "held", point=point)
                client.socket.close()
                record = self.wait(path, "aborted")[0]
                self.assertGreaterEqual(record["ended_ms"], record["started_ms"])
                self.assertEqual(record["held_at"], "")

    def test_client_resets_a_held_answer(self) -> None:
        path = self.script({"gated": True, "body": BODY})
        client = self.request(path)
        self.wait(path, "held")
        client.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        client.socket.close()
        self.assertEqual(self.wait(path, "aborted")[0]["body_sent"], 0)

    def test_client_leaves_a_flowing_answer(self) -> None:
        path = self.script({"body": [{"pattern": {"length": 1 << 40}}]})
        client = self.request(path)
        client.receive(1_000_000)
        client.socket.close()
        record = self.wait(path, "aborted")[0]
        self.assertGreater(record["body_sent"], 900_000)
        self.assertEqual(record["body_total"], 1 << 40)

    def test_client_does_not_read(self) -> None:
        path = self.script({"body": [{"pattern": {"length": 1 << 30}}]})
        client = self.connect(receive_buffer=65536)
        client.send_request(path)
        self.wait(path, "bytes", bytes=1)
        client.socket.close()
        self.assertLess(self.wait(path, "aborted")[0]["body_sent"], 1 << 30)


class RateTest(ServerTestCase):
    def test_takes_the_time(self) -> None:
        path = self.script({"rate": 100_000, "body": [{"pattern": {"length": 50_000}}]})
        begin = time.monotonic()
        client = self.request(path)
        client.receive_head()
        self.assertEqual(client.receive(50_000), pattern_bytes(0, 0, 50_000))
        self.assertGreater(time.monotonic() - begin, 0.4)

    def test_bytes_come_evenly(self) -> None:
        path = self.script({"rate": 10_000, "body": [{"pattern": {"length": 1 << 30}}]})
        client = self.request(path)
        self.wait(path, "bytes", bytes=2_000)
        record = self.log(path)[0]
        self.assertLess(record["body_sent"], 10_000)
        self.assertEqual(record["state"], "active")
        client.socket.close()
        self.wait(path, "aborted")


class CutTest(ServerTestCase):
    def cut(self, at: str, how: str, **answer: object) -> RawClient:
        self.path = self.script({"cut": {"at": at, "how": how}, "body": BODY, **answer})
        return self.request(self.path)

    def test_graceful(self) -> None:
        head = b"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n"
        expected = {
            "before_headers": b"",
            "head:8": b"HTTP/1.1",
            "after_headers": head,
            "body:4": head + b"0123",
            "end": head + b"0123456789",
        }
        for at, data in expected.items():
            with self.subTest(at=at):
                self.assertEqual(self.cut(at, "fin").receive_all(), data)
                record = self.log(self.path)[0]
                self.assertEqual(record["state"], "cut")
                self.assertEqual(record["body_sent"], len(data.partition(b"\r\n\r\n")[2]))

    def test_reset(self) -> None:
        for at in ("before_headers", "head:8", "after_headers", "body:4"):
            with self.subTest(at=at):
                self.cut(at, "reset").receive_until_reset()
                self.assertEqual(self.log(self.path)[0]["state"], "cut")

    def test_reset_delivers_what_was_sent_before(self) -> None:
        # More than the client's system takes, but not more than the server's: the rest still waits
        # in the server's send queue when the reset is due.
        size = 300_000
        path = self.script(
            {
                "body": [{"pattern": {"seed": 8, "length": 2 * size}}],
                "cut": {"at": f"body:{size}", "how": "reset"},
            }
        )
        client = self.connect(receive_buffer=4096)
        client.send_request(path)
        self.wait(path, "bytes", bytes=size)
        self.assertEqual(self.log(path)[0]["state"], "active")
        data = client.receive_until_reset()
        self.assertTrue(data.partition(b"\r\n\r\n")[2] == pattern_bytes(8, 0, size))

    def test_within_a_chunk(self) -> None:
        client = self.cut("body:7", "fin", framing="chunked", chunk_size=5)
        client.receive_head()
        self.assertEqual(client.receive_all(), b"5\r\n01234\r\n5\r\n56")

    def test_held_and_then_cut(self) -> None:
        client = self.cut("body:4", "reset", hold=["body:4"])
        client.receive_head()
        self.assertEqual(client.receive(4), b"0123")
        self.wait(self.path, "held", point="body:4")
        self.assertFalse(client.has_data())
        self.command("POST", "allow", path=self.path, point="body:4")
        self.assertEqual(client.receive_until_reset(), b"")

    def test_cut_within_a_raw_answer(self) -> None:
        client = self.cut("head:5", "fin", raw="SFRUUC8xLjEgMjAw", body=[])
        self.assertEqual(client.receive_all(), b"HTTP/")


class CrowdTest(ServerTestCase):
    def clients(self, path: str, count: int) -> Iterator[RawClient]:
        for _ in range(count):
            yield self.request(path)

    def test_hundreds_of_held_connections(self) -> None:
        path = self.script({"hold": ["body:5"], "body": BODY})
        clients = list(self.clients(path, 400))
        self.wait(path, "held", count=400)
        self.command("POST", "allow", path=path, all=1)
        for client in clients:
            client.receive_head()
            self.assertEqual(client.receive(10), b"0123456789")
        self.assertEqual({record["state"] for record in self.log(path)}, {"finished"})

    def test_a_crowd_that_leaves_frees_its_threads(self) -> None:
        path = self.script({"hold": ["before_headers"]})
        for client in list(self.clients(path, 300)):
            client.socket.close()
        self.wait(path, "aborted", count=300)
        self.server.wait_for_threads(range(20))

    def test_large_bodies_in_parallel(self) -> None:
        size = 3_000_000
        wrong: list[int] = []

        def fetch(seed: int) -> None:
            body = [{"pattern": {"seed": seed, "length": size}}]
            with RawClient(self.server.port) as client:
                client.send_request(self.script({"body": body}, path=f"/parallel/{seed}"))
                client.receive_head()
                if client.receive(size) != pattern_bytes(seed, 0, size):
                    wrong.append(seed)

        workers = [threading.Thread(target=fetch, args=(seed,)) for seed in range(30)]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
        self.assertEqual(wrong, [])


if __name__ == "__main__":
    unittest.main()
