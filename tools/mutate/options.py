"""The command line of ./run mutate; as a program, checks its arguments only."""

import argparse
import sys

HELP = """\
Plants faults into the product's code, one at a time, and shows which ones no test notices.

Faults are other operators, conditions that are always true or false, other constants and results,
statements, exits and branches left out, and neighbouring statements in the other order. Each is
built, and the test programs that can see the file run until one fails. A failure counts when it
shows twice. What does not compile, or compiles to the same code, does not count: another fault is
drawn.

All happens in a copy, build/mutate. The first run builds it, which takes minutes; later ones build
what has changed. The faults that survived are in build/mutate/survivors.diff, all results in
build/mutate/results.json."""


def positive(text):
    value = float(text)
    if value <= 0:
        raise ValueError
    return value


def parser():
    result = argparse.ArgumentParser(
        prog="./run mutate", description=HELP, allow_abbrev=False,
        formatter_class=argparse.RawDescriptionHelpFormatter)
    result.add_argument("--files", action="append", default=[], metavar="GLOB",
                        help="only files with such a path, or in such a folder; may be repeated"
                             " (default: the product's folders)")
    result.add_argument("--count", type=int, default=50, metavar="N",
                        help="how many faults are tried (default: 50)")
    result.add_argument("--seed", type=int, default=1, metavar="S",
                        help="decides which faults are drawn, and in which order (default: 1)")
    result.add_argument("--minutes", type=positive, metavar="M",
                        help="begin no further fault after this time (without what comes before)")
    result.add_argument("--only", action="append", default=[], metavar="ID",
                        help="this fault, as survivors.diff names it; may be repeated")
    result.add_argument("--apart", action="store_true",
                        help="build each fault by itself from the start; without this, runs of more"
                             " than 20 first build together what a condition can turn on")
    result.add_argument("--list", action="store_true",
                        help="show the faults that would be drawn, and try none")
    result.add_argument("--prepare", action="store_true", help=argparse.SUPPRESS)
    return result


def parse(arguments):
    result = parser().parse_args(arguments)
    if result.count < 1:
        parser().error("--count must be at least 1")
    if result.only and result.files:
        parser().error("--only names its file; --files does not go with it")
    return result


def files_of(names):
    """The files that names of mutants begin with."""
    return sorted({name.rpartition("@")[0] for name in names})


if __name__ == "__main__":
    parse(sys.argv[1:])
