"""One client's socket, whose waits end when the client leaves or the server stops."""

import fcntl
import os
import select
import socket
import struct
import termios
import threading
import time
from collections.abc import Callable

_HUNG_UP = select.POLLRDHUP | select.POLLHUP | select.POLLERR | select.POLLNVAL
_RECEIVE_SIZE = 65536
_LINGER_S = 1.0
_DRAIN_S = 5.0


class ClientGone(Exception):
    """The client closed or reset the connection."""


class ServerStopping(Exception):
    """The server is going down; connections end at once."""


class Wire:
    """A connected socket with waits that other threads can end by wake().

    The thread of the connection does everything else; wake() and stop() may come from any thread.
    """

    def __init__(self, sock: socket.socket):
        sock.setblocking(False)
        sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self._socket = sock
        self._event = os.eventfd(0, os.EFD_NONBLOCK | os.EFD_CLOEXEC)
        self._event_lock = threading.Lock()
        self._closed = False
        self._stopping = False

    def wake(self) -> None:
        with self._event_lock:
            if not self._closed:
                os.eventfd_write(self._event, 1)

    def stop(self) -> None:
        self._stopping = True
        self.wake()

    def close(self) -> None:
        with self._event_lock:
            if self._closed:
                return
            self._closed = True
            os.close(self._event)
        self._socket.close()

    def receive(self) -> bytes:
        """Waits for bytes; b"" when the client has closed or reset."""
        while True:
            try:
                return self._socket.recv(_RECEIVE_SIZE)
            except BlockingIOError:
                self._poll(select.POLLIN, None)
            except OSError:
                return b""

    def send_some(self, view: memoryview) -> int:
        """Sends what the network takes right now, 0 if nothing. Raises ClientGone."""
        try:
            return self._socket.send(view)
        except BlockingIOError:
            return 0
        except OSError as error:
            raise ClientGone from error

    def send_all(self, data: bytes) -> None:
        view = memoryview(data)
        while view:
            sent = self.send_some(view)
            view = view[sent:]
            if not sent:
                self.wait_writable()

    def wait_writable(self) -> None:
        self._poll(select.POLLOUT, None)

    def wait(self, ready: Callable[[], bool], timeout_s: float | None = None) -> bool:
        """Waits until ready() is true, asked again after each wake-up; False after the time-out.

        A client that closes its side, even one direction only, counts as gone: no client of this
        server has a use for an answer after that. Raises ClientGone, ServerStopping.
        """
        deadline = None if timeout_s is None else time.monotonic() + timeout_s
        while True:
            self._forget_wake_ups()
            if ready():
                return True
            left = None if deadline is None else deadline - time.monotonic()
            if left is not None and left <= 0:
                return False
            if self._poll(select.POLLRDHUP, left) & _HUNG_UP:
                raise ClientGone

    def finish_sending(self) -> None:
        """Sends FIN: the graceful end."""
        try:
            self._socket.shutdown(socket.SHUT_WR)
        except OSError:
            pass  # the client was quicker

    def linger(self) -> None:
        """Waits a moment for the client's FIN after ours.

        Closing with unread bytes in the socket would turn the graceful end into a reset.
        """
        deadline = time.monotonic() + _LINGER_S
        while (left := deadline - time.monotonic()) > 0:
            try:
                if not self._socket.recv(_RECEIVE_SIZE):
                    return
            except BlockingIOError:
                self._poll(select.POLLIN, left)
            except OSError:
                return

    def drain(self) -> None:
        """Waits a limited time until the client's system has taken everything sent so far.

        A reset throws away what is still in the send queue; after this the client gets exactly
        the bytes that were sent before it. The system reports the queue's length, but no event.
        """
        deadline = time.monotonic() + _DRAIN_S
        while self._queued() and time.monotonic() < deadline:
            self.wait(lambda: not self._queued(), 0.001)

    def reset(self) -> None:
        """Breaks the connection with RST."""
        self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.close()

    def _queued(self) -> int:
        return struct.unpack("i", fcntl.ioctl(self._socket, termios.TIOCOUTQ, b"\0" * 4))[0]

    def _forget_wake_ups(self) -> None:
        try:
            os.eventfd_read(self._event)
        except BlockingIOError:
            pass
        if self._stopping:
            raise ServerStopping

    def _poll(self, events: int, timeout_s: float | None) -> int:
        """Waits for the socket or a wake-up and gives the socket's events."""
        poll = select.poll()
        poll.register(self._socket, events)
        poll.register(self._event, select.POLLIN)
        socket_events = 0
        woken = False
        # Rounded up: a wait of less than a millisecond must not become a busy loop.
        for descriptor, seen in poll.poll(None if timeout_s is None else int(timeout_s * 1000) + 1):
            if descriptor == self._event:
                woken = True
            else:
                socket_events = seen
        if self._stopping:
            raise ServerStopping
        if woken and events != select.POLLRDHUP:
            # Nobody here asks what the wake-up was for; left alone it would end every later poll.
            self._forget_wake_ups()
        return socket_events
