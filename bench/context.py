"""What every measurement works with."""

from dataclasses import dataclass

from fixtures import Bodies, Scratch
from programs import Programs
from turns import Contenders, Results, Rounds, take_turns

MIB = 1 << 20


@dataclass(frozen=True)
class Scale:
    """How much is measured."""

    rounds: Rounds
    many: Rounds  # of what takes milliseconds, so that a disturbance multiplies it
    few: Rounds  # of what is no time
    transfer: int  # bytes of the file whose transfer is timed
    big: int  # bytes of the file at which the memory is looked


FULL = Scale(
    rounds=Rounds(most=9, least=2, seconds=30),
    many=Rounds(most=18, least=8, seconds=20),
    few=Rounds(most=3, least=1, seconds=10),
    transfer=64 * MIB,
    big=1024 * MIB,
)
QUICK = Scale(
    rounds=Rounds(most=3, least=1, seconds=5),
    many=Rounds(most=5, least=2, seconds=5),
    few=Rounds(most=1, least=1, seconds=5),
    transfer=16 * MIB,
    big=64 * MIB,
)


@dataclass(frozen=True)
class Bench:
    programs: Programs
    bodies: Bodies
    scratch: Scratch
    scale: Scale
    results: dict[str, Results]  # every single value, by measurement

    def take_turns(self, name: str, contenders: Contenders, rounds: Rounds) -> Results:
        """Measures the contenders and keeps the values under the name."""
        return self.keep(name, take_turns(contenders, rounds))

    def keep(self, name: str, results: Results) -> Results:
        self.results[name] = results
        return results
