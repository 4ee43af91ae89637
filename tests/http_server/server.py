"""A scriptable HTTP/1.1 server on the loopback interface, for tests and demonstrations.

Prints "PORT <n>" as its first line. README.md in this folder explains the scripts.
"""

import argparse
import asyncio
import os
import signal
import sys

from connection import Connection
from path_script import Registry

_BACKLOG = 1024
_LARGEST_HEAD = 1024 * 1024


async def serve(port: int, exit_with_stdin: bool) -> None:
    """Serves until SIGTERM or SIGINT."""
    registry = Registry()
    stop = asyncio.Event()
    loop = asyncio.get_running_loop()
    for number in (signal.SIGTERM, signal.SIGINT):
        loop.add_signal_handler(number, stop.set)
    if exit_with_stdin:
        loop.add_reader(0, lambda: os.read(0, 4096) or stop.set())

    async def accept(reader: asyncio.StreamReader, writer: asyncio.StreamWriter) -> None:
        await Connection(registry, reader, writer).run()

    server = await asyncio.start_server(
        accept, "127.0.0.1", port, limit=_LARGEST_HEAD, backlog=_BACKLOG
    )
    async with server:
        print(f"PORT {server.sockets[0].getsockname()[1]}", flush=True)
        await stop.wait()  # the connections' tasks end with the event loop


def main() -> None:
    parser = argparse.ArgumentParser(description="Scriptable HTTP/1.1 test server on 127.0.0.1.")
    parser.add_argument("--port", type=int, default=0, help="port (default: a free one)")
    parser.add_argument(
        "--exit-with-stdin", action="store_true", help="quit when standard input is closed"
    )
    arguments = parser.parse_args()
    try:
        asyncio.run(serve(arguments.port, arguments.exit_with_stdin))
    except OSError as error:
        sys.exit(f"cannot listen on port {arguments.port}: {error}")


if __name__ == "__main__":
    main()
