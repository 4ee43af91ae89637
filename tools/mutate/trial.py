"""What becomes of one fault: builds what is needed, runs programs until one notices it."""

import dataclasses
import filecmp
import pathlib
import subprocess
import time

import ninja as ninja_module
import programs as programs_module
from mutant import Mutant
from source_copy import ASIDE

KILLED = "killed"
SURVIVED = "survived"
TIME_LIMIT = "time limit"
NOT_COMPILING = "not compiling"
SAME_CODE = "same code"

OBJCOPY = "/usr/bin/x86_64-w64-mingw32-objcopy"
# A program that takes longer is first run with the cases that noticed faults of the file before.
SHORT_SECONDS = 3.0
# For how long a test waits for what must happen. Less than the shortest limit: then the test fails
# before the limit ends its program.
PATIENCE = {"FOLIVO_PATIENCE_MS": "7000"}
# Compilers do not come to an end with everything that a fault can make of a constant.
BUILD_SECONDS = 900


@dataclasses.dataclass
class Result:
    mutant: Mutant
    outcome: str
    seconds: float = 0.0
    program: str = ""
    case: str = ""
    # Programs that failed once and passed when they were run again.
    unsteady: list = dataclasses.field(default_factory=list)


def batches(items):
    """One, two, four ...: the first program often suffices; others are linked side by side."""
    size = 1
    while items:
        yield items[:size]
        items = items[size:]
        size = min(2 * size, 8)


def same_code(path, other):
    """Whether two objects differ in nothing but debug information."""
    contents = []
    for file in path, other:
        stripped = pathlib.Path(f"{path}.stripped")
        subprocess.run([OBJCOPY, "--strip-debug", str(file), str(stripped)], check=True,
                       capture_output=True)
        contents.append(stripped.read_bytes())
        stripped.unlink()
    return contents[0] == contents[1]


class Trials:
    """`renew` brings the machine's state back after a program that ended in the middle."""

    def __init__(self, copy, graph, ninja, baseline, history, renew, run=programs_module.run):
        self.copy = copy
        self.graph = graph
        self.ninja = ninja
        self.baseline = baseline
        self.history = history
        self.renew = renew
        self.run = run
        # What programs get beside CTest's environment.
        self.environment = {}

    def attempt(self, mutant, programs):
        """`programs`: those that can see the file."""
        start = time.monotonic()
        source = str(self.copy.sources / mutant.path)
        outputs = self.graph.files_built_from([source])
        result = Result(mutant, SURVIVED)
        with self.copy.planted(mutant, outputs):
            try:
                if self.changes_nothing(source):
                    result.outcome = SAME_CODE
                else:
                    self.run_programs(result, programs)
            except ninja_module.BuildError:
                result.outcome = NOT_COMPILING
        result.seconds = time.monotonic() - start
        return result

    def changes_nothing(self, source):
        """Whether the compiler makes the same code of a source as before. Headers are not looked
        at: too much would have to be compiled."""
        if source.endswith(".h"):
            return False
        objects = [output for output in self.graph.readers.get(source, ())
                   if (self.copy.build / (output + ASIDE)).exists()]
        self.ninja.build(objects, BUILD_SECONDS)
        return bool(objects) and all(
            same_code(self.copy.build / output, self.copy.build / (output + ASIDE))
            for output in objects)

    def run_programs(self, result, programs):
        file = result.mutant.path
        order = self.history.order(file, programs, self.baseline.seconds)
        for batch in batches(order):
            self.ninja.build(set().union(*(program.targets for program in batch)), BUILD_SECONDS)
            for program in batch:
                if not self.is_unchanged(program) and self.is_noticed(result, program):
                    return

    def judge_programs(self, result, programs):
        """As run_programs, where all is built already."""
        for program in self.history.order(result.mutant.path, programs, self.baseline.seconds, 0):
            if self.is_noticed(result, program):
                return

    def is_noticed(self, result, program):
        outcome, case = self.verdict(program, result)
        self.history.add(result.mutant.path, program.name, outcome != SURVIVED, case)
        if outcome != SURVIVED:
            result.outcome, result.program, result.case = outcome, program.name, case
        return outcome != SURVIVED

    def is_unchanged(self, program):
        """Whether a program was linked without what is built from the faulty file: a library that
        it is linked with has more in it than the program uses."""
        for part in self.graph.parts(program.targets):
            path, before = self.copy.build / part, self.copy.build / (part + ASIDE)
            if before.exists() and not filecmp.cmp(path, before, shallow=False):
                return False
        return True

    def run_once(self, program, cases=None):
        """Unit tests that end by themselves leave nothing; others may leave processes, or what they
        have registered."""
        own = dataclasses.replace(program, environment={
            **program.environment, **PATIENCE, **self.environment})
        run = self.run(own, self.baseline.limit(program), cases)
        if not run.orderly or (run.outcome != "passed" and program.label != "unit"):
            self.renew()
        return run

    def verdict(self, program, result):
        """Runs a program; a failure must show twice, as some come by chance."""
        first = None
        likely = self.history.cases(result.mutant.path, program.name)
        if likely and self.baseline.seconds.get(program.name, 0) > SHORT_SECONDS:
            first = self.run_once(program, likely)
        # A failure that names no case may mean that the remembered cases are gone.
        if not first or first.outcome == "passed" or not first.case:
            first = self.run_once(program)
        if first.outcome == "passed":
            return SURVIVED, ""
        cases = first.case or None
        second = self.run_once(program, cases)
        if second.outcome == "passed" and cases:
            # Alone it passes: perhaps another case before it has to do with it.
            second = self.run_once(program)
        if second.outcome == "passed":
            result.unsteady.append(program.name)
            return SURVIVED, ""
        both = {first.outcome, second.outcome}
        return (TIME_LIMIT if both == {TIME_LIMIT} else KILLED), first.case
