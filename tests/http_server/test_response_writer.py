"""The order of sending and recording, which no client can observe reliably."""

import unittest
from typing import Any

import h11

from framing import make_plan
from harness import bytes_body
from path_script import PathScript
from record import RequestRecord
from request_reader import Request
from response_writer import ResponseWriter


class InstantWire:
    """Stands for a wire whose network takes everything at once."""

    def __init__(self) -> None:
        self.sent = b""

    def send_some(self, view: memoryview) -> int:
        self.sent += view
        return len(view)

    def wake(self) -> None:
        pass


class ObservedScript(PathScript):
    """Notes the end of what was sent and the state in the record whenever the log changes."""

    def __init__(self, wire: InstantWire, answer: dict[str, Any]):
        super().__init__({"path": "/", "answers": [answer]})
        self.wire = wire
        self.record = RequestRecord(Request("GET", "/", "1.1", (), b""), 1)
        self.seen: list[tuple[bytes, str]] = []

    def log_changed(self) -> None:
        self.seen.append((self.wire.sent[-5:], self.record.state))


class FinishTest(unittest.TestCase):
    def states_of(self, **fields: Any) -> list[tuple[bytes, str]]:
        wire = InstantWire()
        script = ObservedScript(wire, fields)
        answer = script.begin(script.record, None)
        connection = h11.Connection(h11.SERVER)
        connection.receive_data(b"GET / HTTP/1.1\r\nHost: x\r\n\r\n")
        connection.next_event()
        plan = make_plan(connection, "GET", answer)
        ResponseWriter(wire, script, script.record, answer).write(plan)  # type: ignore[arg-type]
        return script.seen

    def first_state(self, seen: list[tuple[bytes, str]], end: bytes) -> str:
        return next(state for sent, state in seen if sent.endswith(end))

    def test_the_record_is_finished_with_the_last_byte_of_the_body(self) -> None:
        for framing in ("length", "close"):
            with self.subTest(framing=framing):
                seen = self.states_of(body=bytes_body(b"abc"), framing=framing)
                self.assertEqual(self.first_state(seen, b"abc"), "finished")

    def test_the_record_is_finished_with_the_last_chunk(self) -> None:
        seen = self.states_of(body=bytes_body(b"abc"), framing="chunked")
        self.assertEqual(self.first_state(seen, b"abc"), "active")
        self.assertEqual(self.first_state(seen, b"0\r\n\r\n"), "finished")

    def test_the_record_is_finished_with_the_head_if_there_is_no_body(self) -> None:
        seen = self.states_of(status=204)
        self.assertEqual(self.first_state(seen, b"\r\n\r\n"), "finished")


if __name__ == "__main__":
    unittest.main()
