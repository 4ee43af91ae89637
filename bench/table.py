"""The rows of the table, and how they are printed."""

from dataclasses import dataclass

from turns import Ratio

_WIDTH = 66


@dataclass(frozen=True)
class Row:
    """One comparison: `what` against what, and how often as much time or memory it took."""

    what: str
    ratio: str
    spread: str
    goal: str
    met: bool | None  # None: there is no goal, the ratio is stated

    @property
    def verdict(self) -> str:
        return {None: "stated", True: "goal met", False: "goal missed"}[self.met]


def ratio_row(what: str, ratio: Ratio, at_most: float | None = None) -> Row:
    """A row whose goal, if it has one, is a ratio of `at_most`."""
    goal, met = "", None
    if at_most is not None:
        goal = f"<= {at_most:.2f}"
        met = ratio.value <= at_most
    spread = f"{ratio.low:.2f} .. {ratio.high:.2f}"
    return Row(what, f"{ratio.value:.2f}", spread, goal, met)


def print_table(rows: list[Row]) -> None:
    print(f"\n{'':{_WIDTH}} {'ratio':>7}  {'spread':<16} {'goal':<9} verdict")
    for row in rows:
        print(f"{row.what:{_WIDTH}} {row.ratio:>7}  {row.spread:<16} {row.goal:<9} {row.verdict}")
