"""Sends a planned answer, stops where the script says so, and keeps the request's record."""

import time
from collections.abc import Callable, Iterator

from answer import Answer
from framing import Part, Plan, Span
from path_script import PathScript
from record import RequestRecord
from wire import ClientGone, ServerStopping, Wire

_SLICES_PER_S = 50  # with a rate limit: small steps, so that progress looks even


class AnswerCut(Exception):
    """The script has broken the connection."""


def _with_last(items: Iterator[Part]) -> Iterator[tuple[Part, bool]]:
    """Pairs each non-empty item with whether it is the last one."""
    previous: Part | None = None
    for item in items:
        if item:
            if previous is not None:
                yield previous, False
            previous = item
    if previous is not None:
        yield previous, True


class ResponseWriter:
    """Writes one answer on the connection's thread.

    A point in the answer may hold it (until the test lets it pass), cut it, or both in this order.
    """

    def __init__(self, wire: Wire, script: PathScript, record: RequestRecord, answer: Answer):
        self._wire = wire
        self._script = script
        self._record = record
        self._answer = answer
        self._body_stops = answer.offsets("body")
        self._started = 0.0

    def write(self, plan: Plan) -> None:
        """Sends everything. Raises AnswerCut, ClientGone, ServerStopping after recording it."""
        try:
            with self._script.serve_with(self._wire):
                self._write(plan)
            self._end("finished")
        except ClientGone:
            self._end("aborted")
            raise
        except ServerStopping:
            self._end("stopped")
            raise
        except Exception:
            self._end("failed")  # a cut is already recorded, and the first state counts
            raise

    def _write(self, plan: Plan) -> None:
        parts = _with_last(plan.parts)
        first = next(parts, None)
        ends_early = not self._stops_behind_the_last_byte(bodiless=first is None)
        self._write_head(plan.head, last=ends_early and first is None)
        self._stop_at("after_headers")
        self._stop_at("body:0")
        self._started = time.monotonic()
        while first is not None:
            part, last = first
            if isinstance(part, Span):
                self._write_span(part, ends_early and last)
            else:
                self._push("framing", memoryview(part), ends_early and last)
            first = next(parts, None)
        self._stop_at("end")

    def _stops_behind_the_last_byte(self, bodiless: bool) -> bool:
        late = {"end", f"body:{self._answer.body.length}"}
        if bodiless:
            late |= {"after_headers", "body:0"}
        return bool(self._answer.points & late)

    def _write_head(self, head: bytes, last: bool) -> None:
        self._stop_at("before_headers")
        view = memoryview(head)
        position = 0
        for offset in self._answer.offsets("head"):
            if offset > len(head):
                break
            self._push("head", view[position:offset])
            position = offset
            self._stop_at(f"head:{offset}")
        self._push("head", view[position:], last)

    def _write_span(self, span: Span, last: bool) -> None:
        position = span.offset
        end = span.offset + span.length
        for offset in self._body_stops:
            if position < offset <= end:
                self._write_range(position, offset, last and offset == end)
                position = offset
                self._stop_at(f"body:{offset}")
        self._write_range(position, end, last)

    def _write_range(self, position: int, end: int, last: bool) -> None:
        if not self._answer.gated and not self._answer.rate:
            for view in self._answer.body.views(position, end - position):
                position += len(view)
                self._push("body", view, last and position == end)
            return
        while position < end:
            self._wait_for_gate(position)
            count = int(min(end - position, self._room(position)))
            for view in self._answer.body.views(position, count):
                position += len(view)
                self._push("body", view, last and position == end)
            self._wait_for_rate(position)

    def _room(self, position: int) -> float:
        room = self._script.allowed - position if self._answer.gated else float("inf")
        if self._answer.rate and not self._script.is_open:
            room = min(room, max(1, self._answer.rate // _SLICES_PER_S))
        return room

    def _wait_for_gate(self, position: int) -> None:
        if self._answer.gated:
            self._hold(f"body:{position}", lambda: self._script.allowed > position)

    def _wait_for_rate(self, position: int) -> None:
        if self._answer.rate:
            due = self._started + position / self._answer.rate
            self._wire.wait(lambda: self._script.is_open, due - time.monotonic())

    def _stop_at(self, point: str) -> None:
        if point in self._answer.hold:
            self._hold(point, lambda: self._script.try_pass(point))
        if self._answer.cut and self._answer.cut.at == point:
            self._cut(self._answer.cut.how)

    def _hold(self, point: str, ready: Callable[[], bool]) -> None:
        if ready():
            return
        with self._record.lock:
            self._record.held_at = point
        self._script.log_changed()
        self._wire.wait(ready)
        with self._record.lock:
            self._record.held_at = ""

    def _cut(self, how: str) -> None:
        if how == "reset":
            self._wire.drain()
        with self._record.lock:
            self._record.end("cut")
            if how == "reset":
                self._wire.reset()
            else:
                self._wire.finish_sending()
        self._script.log_changed()
        raise AnswerCut

    def _push(self, part: str, view: memoryview, last: bool = False) -> None:
        """Sends all of `view`, a stretch of the "head", "body" or "framing".

        With `last`, its last byte finishes the answer.
        """
        while view:
            with self._record.lock:
                sent = self._wire.send_some(view)
                if sent:
                    self._record.count(part, sent)
                if last and sent == len(view):
                    self._record.end("finished")
            view = view[sent:]
            if sent:
                self._script.log_changed()
            else:
                self._wire.wait_writable()

    def _end(self, state: str) -> None:
        with self._record.lock:
            self._record.end(state)
        self._script.log_changed()
