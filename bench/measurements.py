"""The measurements: each gives rows of the table."""

import os
from collections.abc import Callable
from dataclasses import dataclass
from pathlib import Path

from fixtures import Bodies, Scratch
from imports import calls_of_other_kinds
from programs import Programs, curl
from table import Row, ratio_row
from turns import Contenders, Ratio, Results, take_turns

MIB = 1 << 20
# Ten times as many may take ten times as long, and the clock's noise on top; were the growth
# quadratic, they would take a hundred times as long.
_LINEAR = 1.15
_COUNTED_EVENTS = 1000
_SENT_BEFORE_QUESTION = 64 << 10  # of the body, bytes


@dataclass(frozen=True)
class Scale:
    """How much is measured."""

    rounds: int
    transfer: int  # bytes of the file whose transfer is timed
    big: int  # bytes of the file at which the memory is looked


FULL = Scale(rounds=9, transfer=256 * MIB, big=1024 * MIB)
QUICK = Scale(rounds=3, transfer=64 * MIB, big=128 * MIB)


@dataclass(frozen=True)
class Bench:
    programs: Programs
    bodies: Bodies
    scratch: Scratch
    scale: Scale
    results: dict[str, Results]  # every single value, by measurement

    def take_turns(self, name: str, contenders: Contenders, more_rounds: int = 0) -> Results:
        """Measures the contenders and keeps the values under the name."""
        return self.keep(name, take_turns(contenders, self.scale.rounds + more_rounds))

    def keep(self, name: str, results: Results) -> Results:
        self.results[name] = results
        return results

    def transfer(self, mode: str, size: int) -> float:
        """One download by bench_transfer; what it prints."""
        file = "Lesson.folivo"
        url, target = self.bodies.url(size), self.scratch.name(file)
        value = self.programs.number("transfer", mode, url, target)
        self.scratch.take(file, size)
        return value

    def curl(self, size: int) -> float:
        """One download by curl, in seconds."""
        file = "Lesson.curl"
        seconds = curl(self.bodies.url(size), self.scratch.path / file)
        self.scratch.take(file, size)
        return seconds

    def server(self, size: int) -> float:
        """Seconds that the server needs for a body which nobody keeps."""
        return curl(self.bodies.url(size), Path(os.devnull))


def _compare(results: Results, ours: str, theirs: str) -> Ratio:
    return Ratio.of(results[ours], results[theirs])


def transfer(bench: Bench) -> list[Row]:
    size = bench.scale.transfer
    peers = ("loop", "loop-and-copy", "required", "urlmon")
    contenders = {mode: lambda m=mode: bench.transfer(m, size) for mode in ("dialog", *peers)}
    contenders["curl"] = lambda: bench.curl(size)
    contenders["server"] = lambda: bench.server(size)
    results = bench.take_turns("transfer, s", contenders)
    what = f"transfer of {size // MIB} MiB, dialog shown"
    return [
        ratio_row(f"{what} / bare loop of its calls", _compare(results, "dialog", "loop"), 1.10),
        ratio_row("  / bare loop, the file then copied and deleted as delivery does",
                  _compare(results, "dialog", "loop-and-copy")),
        ratio_row("  / the calls that are required, and nothing else",
                  _compare(results, "dialog", "required"), 1.10),
        ratio_row("  / URLDownloadToFile", _compare(results, "dialog", "urlmon"), 1.00),
        ratio_row("  / curl outside of Wine", _compare(results, "dialog", "curl")),
        ratio_row("  the server by itself / bare loop", _compare(results, "server", "loop")),
    ]


def prompt(bench: Bench) -> list[Row]:
    size = 50 * MIB
    programs = bench.programs

    def url() -> str:
        # What is behind the head is not looked at before the question. Sent, it would be read to
        # its end by Wine, on closing.
        return bench.bodies.url(size, sent=_SENT_BEFORE_QUESTION)

    results = bench.take_turns(
        "click to question, s",
        {
            "plugin": lambda: programs.number("helper", "prompt", programs.plugin, url()),
            "bare": lambda: programs.number("helper", "bare-prompt", url()),
        },
    )
    what = "click to question, lesson of 50 MiB / open, read, message box"
    return [ratio_row(what, _compare(results, "plugin", "bare"), 1.15)]


def other_links(bench: Bench) -> list[Row]:
    programs = bench.programs
    results = bench.keep("event of another link, s", programs.rounds(
        "helper", "other-links", programs.plugin, programs.minimal, bench.scale.rounds))
    lines = programs.lines("helper", "calls", programs.plugin, _COUNTED_EVENTS)
    others = calls_of_other_kinds(lines, _COUNTED_EVENTS)
    return [
        ratio_row("event of another link / a sink that copies the URL",
                  _compare(results, "plugin", "minimal"), 3.00),
        ratio_row("  / VariantCopy and VariantChangeType, which are required, and nothing else",
                  _compare(results, "plugin", "required"), 1.50),
        ratio_row("  these two / a sink that copies the URL",
                  _compare(results, "required", "minimal")),
        Row("  calls of anything but memory and text functions under it",
            str(sum(others.values())), ", ".join(others), "0", not others),
    ]


def load(bench: Bench) -> list[Row]:
    programs = bench.programs
    results = bench.take_turns(
        "loading, s",
        {
            "plugin": lambda: programs.number("helper", "load", programs.plugin),
            "minimal": lambda: programs.number("helper", "load", programs.minimal),
        },
        more_rounds=bench.scale.rounds,
    )
    what = "load, make the object, set its site / a DLL of one class"
    return [ratio_row(what, _compare(results, "plugin", "minimal"), 1.50)]


def memory(bench: Bench) -> list[Row]:
    big = bench.scale.big
    results = bench.take_turns(
        "peak memory, bytes",
        {
            "big": lambda: bench.transfer("dialog-memory", big),
            "small": lambda: bench.transfer("dialog-memory", MIB),
        },
    )
    what = f"peak memory, transfer of {big // MIB:,} MiB / of 1 MiB"
    return [ratio_row(what, _compare(results, "big", "small"), 1.02)]


def silence(bench: Bench) -> list[Row]:
    size = bench.scale.transfer
    results = bench.take_turns(
        "longest silence, s",
        {
            "transfer": lambda: bench.transfer("dialog-silence", size),
            "idle": lambda: bench.programs.number("transfer", "idle-silence", 1),
        },
    )
    what = f"longest silence of the browser, transfer of {size // MIB} MiB / idle"
    return [ratio_row(what, _compare(results, "transfer", "idle"))]


def names(bench: Bench) -> list[Row]:
    repeats = {0: 200, 100: 50, 10_000: 1}
    folders = {count: bench.scratch.folder_of_lessons(count) for count in repeats}

    def name(count: int) -> float:
        return bench.programs.number("growth", "names", folders[count], repeats[count])

    results = bench.take_turns("unique name, s", {str(n): lambda n=n: name(n) for n in repeats})
    return [
        ratio_row("a unique name, 100 files of that name there / none",
                  _compare(results, "100", "0")),
        ratio_row("a unique name, 10,000 files of that name there / 100",
                  _compare(results, "10000", "100"), 100 * _LINEAR),
    ]


def listing(bench: Bench) -> list[Row]:
    archives = {count: bench.scratch.archive(count) for count in (1000, 10_000)}

    def names_of(count: int) -> float:
        return bench.programs.number("growth", "listing", archives[count], count)

    results = bench.take_turns("listing, s", {str(n): lambda n=n: names_of(n) for n in archives})
    return [ratio_row("list of an archive of 10,000 entries / of 1,000",
                      _compare(results, "10000", "1000"), 10 * _LINEAR)]


def adding(bench: Bench) -> list[Row]:
    scratch, counts = bench.scratch, (100, 1000)
    archives = {count: scratch.archive(count) for count in counts}
    spread = {count: scratch.manifest(count, per_folder=20) for count in counts}
    together = {count: scratch.manifest(count, per_folder=count) for count in counts}

    def add(manifest: str, archive: str, count: int) -> float:
        folder = scratch.empty_folder("content")
        return bench.programs.number("growth", "adding", manifest, archive, folder, count)

    contenders: Contenders = {}
    for count in counts:
        contenders[f"{count}"] = lambda n=count: add(spread[n], archives[max(counts)], n)
        contenders[f"{count} together"] = lambda n=count: add(together[n], archives[n], n)
    results = bench.take_turns("adding, s", contenders)
    return [
        ratio_row("1,000 collections added, 20 to a folder / 100",
                  _compare(results, "1000", "100"), 10 * _LINEAR),
        ratio_row("  all to one folder, each from an archive of that size",
                  _compare(results, "1000 together", "100 together")),
    ]


MEASUREMENTS: dict[str, Callable[[Bench], list[Row]]] = {
    "whole transfers": transfer,
    "click to question": prompt,
    "other-links": other_links,
    "loading": load,
    "memory": memory,
    "the browser's patience": silence,
    "names beside many files": names,
    "large archives": listing,
    "large manifests": adding,
}
