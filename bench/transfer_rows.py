"""Measurements of whole transfers."""

import os
import statistics
from pathlib import Path

from context import MIB, Bench
from programs import curl
from table import Row, ratio_row
from turns import Ratio, Rounds, take_turns

_FILE = "Lesson.folivo"
_IDLE_S = 1


def _download(bench: Bench, mode: str, size: int) -> float:
    """One download by bench_transfer; what it prints."""
    url, target = bench.bodies.url(size), bench.scratch.name(_FILE)
    value = bench.programs.number("transfer", mode, url, target)
    bench.scratch.take(_FILE, size)
    return value


def _curl(bench: Bench, size: int) -> float:
    """One download by curl, in seconds."""
    seconds = curl(bench.bodies.url(size), bench.scratch.path / _FILE)
    bench.scratch.take(_FILE, size)
    return seconds


def transfer(bench: Bench) -> list[Row]:
    size = bench.scale.transfer
    rounds, target = bench.scale.rounds, bench.scratch.name(_FILE)
    values = bench.programs.rounds("transfer", "turns", bench.bodies.url(size), target, size,
                                   rounds.most, rounds.seconds)
    count = len(values["dialog"])
    values |= take_turns(
        {
            "curl": lambda: _curl(bench, size),
            # Seconds that the server needs for a body which nobody keeps.
            "server": lambda: curl(bench.bodies.url(size), Path(os.devnull)),
        },
        Rounds(most=count, least=count, seconds=0),
    )
    results = bench.keep("transfer, s", values)

    def of(ours: str, theirs: str) -> Ratio:
        return Ratio.of(results[ours], results[theirs])

    return [
        ratio_row(f"transfer of {size // MIB} MiB, dialog shown / bare loop of its calls",
                  of("dialog", "loop"), 1.10),
        ratio_row("  / the calls that are required, and nothing else",
                  of("dialog", "required"), 1.10),
        ratio_row("  the required calls by themselves / bare loop", of("required", "loop")),
        ratio_row("  / bare loop, the file then copied and deleted as delivery does",
                  of("dialog", "loop-and-copy")),
        ratio_row("  / URLDownloadToFile", of("dialog", "urlmon"), 1.00),
        ratio_row("  / curl outside of Wine", of("dialog", "curl")),
        ratio_row("  the server by itself / bare loop", of("server", "loop")),
    ]


def memory(bench: Bench) -> list[Row]:
    big = bench.scale.big
    results = bench.take_turns(
        "peak memory, bytes",
        {
            "big": lambda: _download(bench, "dialog-memory", big),
            "small": lambda: _download(bench, "dialog-memory", MIB),
        },
        bench.scale.few,
    )
    what = f"peak memory, transfer of {big // MIB:,} MiB / of 1 MiB"
    ratio = Ratio.of(results["big"], results["small"], statistics.median)
    return [ratio_row(what, ratio, 1.02)]


def silence(bench: Bench) -> list[Row]:
    size = bench.scale.transfer
    results = bench.take_turns(
        "longest silence, s",
        {
            "transfer": lambda: _download(bench, "dialog-silence", size),
            "idle": lambda: bench.programs.number("transfer", "idle-silence", _IDLE_S),
        },
        bench.scale.rounds,
    )
    what = f"longest silence of the browser, transfer of {size // MIB} MiB / idle"
    ratio = Ratio.of(results["transfer"], results["idle"], statistics.median)
    return [ratio_row(what, ratio)]
