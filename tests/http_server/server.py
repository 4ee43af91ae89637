"""A scriptable HTTP/1.1 server on the loopback interface, for tests and demonstrations.

Prints "PORT <n>" as its first line. README.md in this folder explains the scripts.
"""

import argparse
import os
import resource
import select
import signal
import socket
import sys
import threading
from pathlib import Path

from connection import Connection, Fallback, not_found
from registry import Registry
from static_files import StaticFiles
from wire import Wire

_BACKLOG = 1024
_THREAD_STACK = 512 * 1024
_GOODBYE_S = 2.0


class Server:
    """Accepts connections on 127.0.0.1 and serves each on a thread of its own."""

    def __init__(self, port: int, fallback: Fallback):
        self._registry = Registry()
        self._fallback = fallback
        self._lock = threading.Lock()
        self._connections: dict[Wire, threading.Thread] = {}
        self._stop = os.eventfd(0, os.EFD_NONBLOCK | os.EFD_CLOEXEC)
        self._listener = socket.create_server(("127.0.0.1", port), backlog=_BACKLOG)
        self._listener.setblocking(False)
        self.port: int = self._listener.getsockname()[1]

    def run(self) -> None:
        """Serves until stop()."""
        poll = select.poll()
        poll.register(self._listener, select.POLLIN)
        poll.register(self._stop, select.POLLIN)
        number = 0
        while not any(descriptor == self._stop for descriptor, _ in poll.poll()):
            try:
                sock, _ = self._listener.accept()
            except OSError:
                continue  # the client has left before it was accepted
            number += 1
            self._start(sock, number)
        self._listener.close()
        self._stop_connections()

    def stop(self) -> None:
        """Ends run(); may be called from any thread and from a signal handler."""
        os.eventfd_write(self._stop, 1)

    def _start(self, sock: socket.socket, number: int) -> None:
        wire = Wire(sock)
        thread = threading.Thread(target=self._serve, args=(wire, number), daemon=True)
        with self._lock:
            self._connections[wire] = thread
        thread.start()

    def _serve(self, wire: Wire, number: int) -> None:
        try:
            Connection(wire, number, self._registry, self._fallback).run()
        finally:
            with self._lock:
                del self._connections[wire]

    def _stop_connections(self) -> None:
        with self._lock:
            connections = dict(self._connections)
        for wire in connections:
            wire.stop()
        for thread in connections.values():
            thread.join(_GOODBYE_S)


def _raise_descriptor_limit() -> None:
    """Two descriptors for each connection: the usual limit of 1024 would end at 500 clients."""
    _, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))


def _stop_with_stdin(server: Server) -> None:
    """Stops the server when nobody holds the other end of standard input any more."""
    while sys.stdin and os.read(sys.stdin.fileno(), 4096):
        pass
    server.stop()


def main() -> None:
    parser = argparse.ArgumentParser(description="Scriptable HTTP/1.1 test server on 127.0.0.1.")
    parser.add_argument("--port", type=int, default=0, help="port (default: a free one)")
    parser.add_argument("--root", type=Path, help="folder whose files are served as they are")
    parser.add_argument(
        "--rate", type=int, default=0, help="limit for files of --root in bytes per second"
    )
    parser.add_argument(
        "--exit-with-stdin", action="store_true", help="quit when standard input is closed"
    )
    arguments = parser.parse_args()
    if arguments.root and not arguments.root.is_dir():
        parser.error(f"{arguments.root} is not a folder")

    _raise_descriptor_limit()
    threading.stack_size(_THREAD_STACK)
    fallback = StaticFiles(arguments.root, arguments.rate) if arguments.root else not_found
    try:
        server = Server(arguments.port, fallback)
    except OSError as error:
        sys.exit(f"cannot listen on port {arguments.port}: {error}")
    for number in (signal.SIGTERM, signal.SIGINT):
        signal.signal(number, lambda *_: server.stop())
    if arguments.exit_with_stdin:
        threading.Thread(target=_stop_with_stdin, args=(server,), daemon=True).start()
    print(f"PORT {server.port}", flush=True)
    server.run()


if __name__ == "__main__":
    main()
