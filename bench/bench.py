"""Measures, and prints the table, in the environment of bench.sh. Exits 0 when every measurement
came to its end."""

import argparse
import json
import os
import shutil
import signal
import sys
import time
from pathlib import Path

from context import FULL, MIB, QUICK, Bench
from fixtures import Bodies, Scratch
from imports import imported_dlls
from lesson_server import LessonServer
from measurements import MEASUREMENTS
from origins import print_origins
from programs import MeasurementError, Programs
from selection import UnknownNameError, choose
from table import Row, print_table
from wine import DemoError

_QUIET = 0.5  # load of a machine at rest
_DISK = 3072 * MIB


def _measure(bench: Bench, names: list[str]) -> tuple[list[Row], list[str]]:
    """Their rows, and what went wrong."""
    rows, failures = [], []
    for name in names:
        measure = MEASUREMENTS[name]
        start = time.monotonic()
        print(f"  {name} ", end="", flush=True)
        try:
            rows += measure(bench)
            print(f" {time.monotonic() - start:.0f} s")
        except (MeasurementError, DemoError, OSError) as error:
            print(" broken")
            failures.append(f"{name}: {error}")
    return rows, failures


def _run(build: Path, output: Path, quick: bool, names: list[str]) -> int:
    if (load := os.getloadavg()[0]) > _QUIET:
        print(f"Other programs are at work here (load {load:.1f}): the spread will be wide.")
    if not quick and shutil.disk_usage(output).free < _DISK:
        print(f"There is less than {_DISK // MIB:,} MiB of disk left.")
    with (output / "server.log").open("wb") as log:
        server = LessonServer(log)
        scratch = Scratch()
        try:
            scale = QUICK if quick else FULL
            bench = Bench(Programs(build), Bodies(server, output), scratch, scale, {})
            rows, failures = _measure(bench, names)
        finally:
            scratch.remove()
            server.close()
    values = output / "values.json"
    values.write_text(json.dumps(bench.results, indent=1), encoding="ascii")
    print_table(rows)
    dll = build / "FolivoPlugin.dll"
    print(f"\n{dll.name}: {dll.stat().st_size:,} bytes; imports {', '.join(imported_dlls(dll))}")
    print_origins(dll)
    print(f"Every single value: {os.path.relpath(values)}")
    for failure in failures:
        print(f"BROKEN: {failure}", file=sys.stderr)
    return 1 if failures else 0


def main() -> int:
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    parser = argparse.ArgumentParser()
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--only", action="append", default=[], metavar="NAME")
    parser.add_argument("build", type=Path)
    parser.add_argument("output", type=Path)
    arguments = parser.parse_args()
    try:
        names = choose(arguments.only)
    except UnknownNameError as error:
        parser.error(str(error))
    shutil.rmtree(arguments.output, ignore_errors=True)
    arguments.output.mkdir(parents=True)
    try:
        return _run(arguments.build, arguments.output, arguments.quick, names)
    except (DemoError, MeasurementError) as error:
        print(f"bench: {error}", file=sys.stderr)
        return 1


if __name__ == "__main__":
    sys.exit(main())
