"""Measures contenders in turns and compares them."""

import time
from collections.abc import Callable
from dataclasses import dataclass

Contenders = dict[str, Callable[[], float]]
Results = dict[str, list[float]]


@dataclass(frozen=True)
class Rounds:
    """How many: so many in about so many seconds, and fewer on a machine that is too busy for
    that, but not fewer than `least`."""

    most: int
    least: int
    seconds: float


def take_turns(contenders: Contenders, rounds: Rounds,
               clock: Callable[[], float] = time.monotonic) -> Results:
    """A B C, A B C, ...: whatever disturbs the machine for a while disturbs them all. Prints a dot
    for each round."""
    results: Results = {name: [] for name in contenders}
    start = clock()
    for number in range(rounds.most):
        if number >= rounds.least and clock() - start >= rounds.seconds:
            break
        for name, measure in contenders.items():
            results[name].append(measure())
        print(".", end="", flush=True)
    return results


@dataclass(frozen=True)
class Ratio:
    """Of two contenders: that of the values that stand for them, and the extremes of the rounds."""

    value: float
    low: float
    high: float

    @staticmethod
    def of(ours: list[float], theirs: list[float],
           pick: Callable[[list[float]], float] = min) -> "Ratio":
        """By the least value of each, as empty caches and other programs only add to a time."""
        ratios = [a / b for a, b in zip(ours, theirs, strict=True)]
        return Ratio(pick(ours) / pick(theirs), min(ratios), max(ratios))
