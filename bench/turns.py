"""Measures contenders in turns and compares them round by round."""

import statistics
from collections.abc import Callable
from dataclasses import dataclass

Contenders = dict[str, Callable[[], float]]
Results = dict[str, list[float]]


def take_turns(contenders: Contenders, rounds: int) -> Results:
    """A B C, A B C, ...: whatever disturbs the machine for a while disturbs them all.

    The first round, which finds caches empty, does not count. Prints a dot for each round.
    """
    results: Results = {name: [] for name in contenders}
    for number in range(rounds + 1):
        for name, measure in contenders.items():
            value = measure()
            if number > 0:
                results[name].append(value)
        print(".", end="", flush=True)
    return results


@dataclass(frozen=True)
class Ratio:
    """Of two contenders, taken in each round by itself: the median and the extremes."""

    median: float
    low: float
    high: float

    @staticmethod
    def of(ours: list[float], theirs: list[float]) -> "Ratio":
        ratios = [a / b for a, b in zip(ours, theirs, strict=True)]
        return Ratio(statistics.median(ratios), min(ratios), max(ratios))
