"""Measurements of what is done once for each of many files."""

from context import Bench
from table import Row, ratio_row
from turns import Contenders, Ratio

# Ten times as many may take ten times as long, and the clock's noise on top; were the growth
# quadratic, they would take a hundred times as long.
_LINEAR = 1.15


def unique_name(bench: Bench) -> list[Row]:
    repeats = {0: 200, 100: 50, 10_000: 1}
    folders = {count: bench.scratch.folder_of_lessons(count) for count in repeats}

    def name(count: int) -> float:
        return bench.programs.number("growth", "names", folders[count], repeats[count])

    contenders = {str(count): lambda n=count: name(n) for count in repeats}
    results = bench.take_turns("unique name, s", contenders, bench.scale.rounds)
    return [
        ratio_row("a unique name, 100 files of that name there / none",
                  Ratio.of(results["100"], results["0"])),
        ratio_row("a unique name, 10,000 files of that name there / 100",
                  Ratio.of(results["10000"], results["100"]), 100 * _LINEAR),
    ]


def listing(bench: Bench) -> list[Row]:
    archives = {count: bench.scratch.archive(count) for count in (1000, 10_000)}

    def names_of(count: int) -> float:
        return bench.programs.number("growth", "listing", archives[count], count)

    contenders = {str(count): lambda n=count: names_of(n) for count in archives}
    results = bench.take_turns("listing, s", contenders, bench.scale.many)
    return [ratio_row("list of an archive of 10,000 entries / of 1,000",
                      Ratio.of(results["10000"], results["1000"]), 10 * _LINEAR)]


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
    results = bench.take_turns("adding, s", contenders, bench.scale.rounds)
    return [
        ratio_row("1,000 collections added, 20 to a folder / 100",
                  Ratio.of(results["1000"], results["100"]), 10 * _LINEAR),
        ratio_row("  all to one folder, each from an archive of that size",
                  Ratio.of(results["1000 together"], results["100 together"])),
    ]
