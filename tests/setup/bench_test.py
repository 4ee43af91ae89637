#!/usr/bin/env python3
"""Checks which measurements ./run bench chooses, how it takes turns, and when a goal is met."""

import pathlib
import statistics
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "bench"))

from selection import NAMES, UnknownNameError, choose  # noqa: E402
from table import ratio_row  # noqa: E402
from turns import Ratio, Rounds, take_turns  # noqa: E402


class SelectionTest(unittest.TestCase):
    def test_chosen_ones_come_in_the_tables_order_and_once(self):
        self.assertEqual(choose([]), list(NAMES))
        self.assertEqual(choose(["loading", "transfer", "loading"]), ["transfer", "loading"])

    def test_wrong_name_is_refused_with_the_nearest_and_all(self):
        for wrong in ("loadin", "load", "", "Loading", "loading "):
            with self.assertRaises(UnknownNameError) as caught:
                choose(["transfer", wrong])
            self.assertIn(f'"{wrong}"', str(caught.exception))
            self.assertIn(", ".join(NAMES), str(caught.exception))
        self.assertIn("Did you mean other-links?", self.refusal("otherlinks"))
        self.assertNotIn("Did you mean", self.refusal("xyz"))

    def refusal(self, name):
        with self.assertRaises(UnknownNameError) as caught:
            choose([name])
        return str(caught.exception)


class TurnsTest(unittest.TestCase):
    def turns(self, round_seconds, rounds):
        """What two contenders gave, and their order, on a clock that only they move."""
        order, now = [], [0.0]

        def contender(name):
            def measure():
                order.append(name)
                now[0] += round_seconds / 2
                return float(len(order))
            return measure

        contenders = {"a": contender("a"), "b": contender("b")}
        return take_turns(contenders, rounds, lambda: now[0]), order

    def test_busy_machine_gets_fewer_rounds_but_not_fewer_than_the_least(self):
        for seconds, count in ((1, 9), (2, 5), (4, 3), (5, 2), (50, 2)):
            results, order = self.turns(seconds, Rounds(most=9, least=2, seconds=10))
            self.assertEqual(order, ["a", "b"] * count, seconds)
            self.assertEqual(results["b"], [2 * i + 2 for i in range(count)])

    def test_one_disturbed_run_does_not_change_the_ratio(self):
        ratio = Ratio.of([2.0, 9.0, 3.3], [1.0, 1.1, 4.0])
        self.assertEqual(ratio.value, 2.0)
        self.assertEqual((ratio.low, ratio.high), (3.3 / 4.0, 9.0 / 1.1))
        by_median = Ratio.of([2.0, 9.0, 3.3], [1.0, 1.1, 4.0], statistics.median)
        self.assertAlmostEqual(by_median.value, 3.0)

    def test_goal_is_met_up_to_its_ratio(self):
        for value, verdict in ((1.09, "goal met"), (1.10, "goal met"), (1.11, "goal missed")):
            self.assertEqual(ratio_row("x", Ratio(value, 1, 2), 1.10).verdict, verdict)
        self.assertEqual(ratio_row("x", Ratio(9, 1, 2)).verdict, "stated")


if __name__ == "__main__":
    unittest.main()
