"""One client's connection: reads requests and answers them until one side has enough."""

import asyncio
import contextlib
import fcntl
import http.client
import io
import itertools
import socket
import struct
import termios
import time
from collections.abc import Callable

from answer import Answer, text_answer
from control import CONTROL_PREFIX, answer_control
from path_script import PathScript, Registry, Request, Signal

_LINGER_S = 1.0
_DRAIN_S = 5.0
_SLICES_PER_S = 50  # with a rate: small steps, so that progress looks even
_numbers = itertools.count(1)


class ClientGone(Exception):
    """The client closed or reset the connection."""


class _AnswerCut(Exception):
    """The script has ended the connection."""


class Connection:
    """One accepted connection; run() is its task.

    All connections share one thread, and what is sent is recorded before anything is awaited: a
    client that has read a byte never gets a log that does not know about this byte.
    """

    def __init__(
        self, registry: Registry, reader: asyncio.StreamReader, writer: asyncio.StreamWriter
    ):
        self._registry = registry
        self._reader = reader
        self._writer = writer
        self._number = next(_numbers)
        self._plain = PathScript("/")  # for what no test has scripted
        writer.transport.set_write_buffer_limits(0)
        # Read ahead while an answer waits: this is how the client's end is noticed.
        self._next = asyncio.create_task(self._read_request())

    async def run(self) -> None:
        try:
            while (request := await self._next) is not None:
                self._next = asyncio.create_task(self._read_request())
                if not await self._answer(request):
                    break
            await self._end_gracefully()
        except _AnswerCut:
            await self._end_gracefully()
        except (ClientGone, asyncio.CancelledError):
            pass  # cancelled: the server stops
        finally:
            self._next.cancel()
            self._writer.transport.abort()

    async def _read_request(self) -> Request | None:
        """The next request; None at the end of the connection, or when it is no request. Libraries
        that read the request line refuse bytes that WinINet sends as it finds them in an address."""
        try:
            head = await self._reader.readuntil(b"\r\n\r\n")
            line, _, fields = head.partition(b"\r\n")
            method, target, _ = line.decode("latin-1").split(" ")
            headers = http.client.parse_headers(io.BytesIO(fields))
            content = await self._reader.readexactly(int(headers.get("Content-Length", 0)))
        except (OSError, ValueError, EOFError, asyncio.LimitOverrunError):
            return None
        return Request(method, target, headers.items(), content, self._number)

    async def _answer(self, request: Request) -> bool:
        """Answers a request. False when the connection has to end after that."""
        script = self._plain
        if request.path.startswith(CONTROL_PREFIX):
            answer = await answer_control(self._registry, request, self.wait)
        elif found := self._registry.find(request.path):
            script = found
            answer = script.begin(request)
        else:
            answer = text_answer(404, f"nothing at {request.path}\n")
        writing = _Writing(self, script, request, answer)
        try:
            await writing.write()
            request.state = "finished"
        except ClientGone:
            request.state = "aborted"
            raise
        finally:
            if request.state == "active":
                request.state = "failed"
            request.held_at = ""
            script.progressed.notify()
        return not answer.close and (request.header("Connection") or "").lower() != "close"

    def _is_gone(self) -> bool:
        return self._writer.is_closing() or (self._next.done() and self._next.result() is None)

    async def wait(
        self, signal: Signal, ready: Callable[[], bool], timeout_s: float | None = None
    ) -> bool:
        """Waits until ready() holds, asked again at each signal; False after the time-out.

        A client that closes its side, even one direction only, counts as gone: no client of this
        server has a use for an answer after that. Raises ClientGone.
        """
        deadline = None if timeout_s is None else time.monotonic() + timeout_s
        while not ready():
            if self._is_gone():
                raise ClientGone
            left = None if deadline is None else deadline - time.monotonic()
            if left is not None and left <= 0:
                return False
            events = {signal.next()} if self._next.done() else {signal.next(), self._next}
            await asyncio.wait(events, timeout=left, return_when=asyncio.FIRST_COMPLETED)
        return True

    async def send(self, view: memoryview, count: Callable[[int], None]) -> None:
        """Sends a piece and calls count() with what the network has taken of it."""
        await asyncio.sleep(0)  # the others' turn
        self._writer.write(view)
        left = self._writer.transport.get_write_buffer_size()
        if self._writer.is_closing():
            raise ClientGone
        count(len(view) - left)
        if left:
            try:
                await self._writer.drain()
            except ConnectionError as error:
                raise ClientGone from error
            count(left)

    async def drain_network(self) -> None:
        """Waits a limited time until the client's system has taken everything sent so far: a reset
        throws away what is still in the send queue. The system reports its length, but no event."""
        sock = self._writer.get_extra_info("socket")
        deadline = time.monotonic() + _DRAIN_S
        while struct.unpack("i", fcntl.ioctl(sock, termios.TIOCOUTQ, b"\0" * 4))[0]:
            if self._is_gone() or time.monotonic() > deadline:
                break
            await asyncio.sleep(0.001)

    def finish(self, reset: bool) -> None:
        """Ends the stream, by RST or FIN."""
        if reset:
            sock = self._writer.get_extra_info("socket")
            sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            self._writer.transport.abort()
        else:
            with contextlib.suppress(OSError):  # the client was quicker
                self._writer.write_eof()

    async def _end_gracefully(self) -> None:
        """Sends FIN and waits a moment for the client's: closing with unread bytes in the socket
        would turn the graceful end into a reset."""
        self.finish(reset=False)
        self._next.cancel()
        with contextlib.suppress(OSError, TimeoutError):
            async with asyncio.timeout(_LINGER_S):
                await asyncio.wait({self._next})
                while await self._reader.read(65536):
                    pass


class _Writing:
    """Sends one answer. A point may hold it (until the test lets it pass), cut it, or both."""

    def __init__(
        self, connection: Connection, script: PathScript, request: Request, answer: Answer
    ):
        self._connection = connection
        self._script = script
        self._request = request
        self._answer = answer
        self._started = 0.0

    async def write(self) -> None:
        """Raises ClientGone, or _AnswerCut where the script has ended the connection."""
        answer = self._answer
        await self._stop_at("before_headers")
        position = 0
        for offset in (at for at in answer.stops("head") if at < len(answer.head)):
            await self._send(answer.head[position:offset])
            await self._stop_at(f"head:{offset}")
            position = offset
        await self._send(answer.head[position:])
        await self._stop_at("after_headers")
        await self._stop_at("body:0")
        self._started = time.monotonic()
        step = answer.chunk_size or max(answer.length, 1)
        for offset in range(0, answer.length, step):
            end = min(offset + step, answer.length)
            if answer.chunk_size:
                await self._send(b"%x\r\n" % (end - offset))
            await self._send_body(offset, end)
            if answer.chunk_size:
                await self._send(b"\r\n")
        if answer.chunk_size:
            await self._send(b"0\r\n\r\n")
        await self._stop_at("end")

    async def _send(self, data: bytes) -> None:
        if data:
            await self._connection.send(memoryview(data), lambda count: None)

    async def _send_body(self, position: int, end: int) -> None:
        for offset in [*(at for at in self._answer.stops("body") if position < at < end), end]:
            while position < offset:
                await self._wait_for_gate(position)
                count = int(min(offset - position, self._room(position)))
                for view in self._answer.views(position, count):
                    await self._connection.send(view, self._count)
                position += count
                await self._wait_for_rate(position)
            await self._stop_at(f"body:{offset}")

    def _count(self, sent: int) -> None:
        self._request.body_sent += sent
        self._script.progressed.notify()

    def _room(self, position: int) -> float:
        room = self._script.allowed - position if self._answer.gated else float("inf")
        if self._answer.rate and not self._script.is_open:
            room = min(room, max(1, self._answer.rate // _SLICES_PER_S))
        return room

    async def _wait_for_gate(self, position: int) -> None:
        if self._answer.gated:
            await self._hold(f"body:{position}")

    async def _wait_for_rate(self, position: int) -> None:
        if self._answer.rate:
            due = self._started + position / self._answer.rate
            left = due - time.monotonic()
            await self._connection.wait(self._script.permitted, lambda: self._script.is_open, left)

    async def _stop_at(self, point: str) -> None:
        if point in self._answer.hold:
            await self._hold(point)
        if self._answer.cut_at == point:
            if self._answer.reset:
                await self._connection.drain_network()
            self._request.state = "cut"
            self._connection.finish(self._answer.reset)
            raise _AnswerCut

    async def _hold(self, point: str) -> None:
        if self._script.passes(point):
            return
        self._request.held_at = point
        self._script.progressed.notify()
        passes = self._script.passes
        await self._connection.wait(self._script.permitted, lambda: passes(point))
        self._request.held_at = ""
