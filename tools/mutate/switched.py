"""Many faults in one build, each behind a condition that the environment turns on."""

import contextlib
import dataclasses
import re
import time

from mutant import PLANTED, line_of
from ninja import BuildError
from trial import BUILD_SECONDS, KILLED, SURVIVED, TIME_LIMIT, Result

HEADER = "tools/mutate/fault_switch.h"
PLACE = re.compile(r"^(/[^\s:]+):(\d+):", re.MULTILINE)
MOST_BUILDS = 12
KEEP_GOING = ("-k", "0")


def crosses(one, other):
    """Whether two ranges overlap without one being within the other."""
    first, second = sorted([one, other], key=lambda guard: (guard.start, -guard.end))
    return second.start < first.end < second.end


def choose(mutants):
    """Numbers those of the mutants that can be in one build: {number: mutant}."""
    result, guards = {}, {}
    for mutant in mutants:
        guard, others = mutant.edit.guard, guards.setdefault(mutant.path, [])
        if not guard or mutant.path.endswith(".c") or any(crosses(guard, it) for it in others):
            continue
        others.append(guard)
        result[len(result) + 1] = mutant
    return result


def render(text, header, rows):
    """The bytes of a file with guards: rows of (number, guard). Lines keep their numbers."""
    insertions = []
    for number, guard in rows:
        condition = f"FOLIVO_FAULT({number})"
        # At one place, what ends comes before what begins; outer ones begin first and end last.
        insertions.append((guard.end, 0, -guard.start, -number, guard.behind, condition))
        insertions.append((guard.start, 1, -guard.end, number, guard.before, condition))
    result, position = [f'#include "{header}"\n#line 1\n'.encode()], 0
    for place, *_, words, condition in sorted(insertions):
        result += [text[position:place], words.replace(PLANTED, condition).encode()]
        position = place
    return b"".join([*result, text[position:]])


def blamed(log, folder, texts, numbered):
    """The numbers of mutants on lines that the compiler names, or else of those next to one: a return
    that is left out shows elsewhere in its function. `texts`: the files without faults, to which the
    numbers of lines belong."""
    lines = {(place, int(line)) for place, line in PLACE.findall(log)}
    distances = {}
    for number, mutant in numbered.items():
        text, guard = texts[mutant.path], mutant.edit.guard
        first, last = line_of(text, guard.start), line_of(text, guard.end)
        found = [max(first - line, line - last, 0) for place, line in lines
                 if place == str(folder / mutant.path)]
        if found:
            distances[number] = min(found)
    return {number for number, distance in distances.items()
            if distance == min(distances.values())}


class Switched:
    """`trials` tells how a program is run and judged, `seeing` the programs that can see a file."""

    def __init__(self, trials, seeing, folder, say):
        self.trials = trials
        self.copy = trials.copy
        self.ninja = trials.ninja
        self.seeing = seeing
        self.reached_file = folder / "reached"
        self.say = say

    def results(self, mutants, end):
        """{name: result} of the mutants that are killed; begins none after `end`. Others must be
        built by themselves: they may be the same code, or be read by the compiler alone."""
        numbered = choose(mutants)
        results = {}
        with contextlib.ExitStack() as stack:
            stack.callback(lambda: setattr(self.trials, "environment", {}))
            numbered = self.build(numbered, stack)
            reaching = self.find_reaching(numbered)
            for count, (number, mutant) in enumerate(numbered.items(), 1):
                if time.monotonic() >= end:
                    break
                result = self.attempt(number, mutant, reaching)
                if result.outcome in (KILLED, TIME_LIMIT):
                    results[mutant.name] = result
                self.say(count, len(numbered), result)
        return results

    def outputs(self, files):
        sources = [str(self.copy.sources / file) for file in files]
        return self.trials.graph.files_built_from(sources)

    def build(self, numbered, stack):
        """Builds until no fault is left that does not compile; returns the others."""
        files = {mutant.path for mutant in numbered.values()}
        before = {file: (self.copy.sources / file).read_bytes() for file in files}
        targets = {target for file in files for program in self.seeing(file)
                   for target in program.targets}
        outputs = self.outputs(files)
        # Most of what does not compile shows in the product's own objects, which are few.
        own = {output for output in outputs & self.trials.graph.objects
               if not output.startswith(("tests/", "tools/", "bench/"))}
        stack.enter_context(self.copy.replaced(before, outputs))
        changed = files
        for _ in range(MOST_BUILDS):
            for file in changed:
                rows = [(number, mutant.edit.guard) for number, mutant in numbered.items()
                        if mutant.path == file]
                (self.copy.sources / file).write_bytes(
                    render(before[file], self.copy.sources / HEADER, rows))
            try:
                self.ninja.build(own, 4 * BUILD_SECONDS, KEEP_GOING)
                self.ninja.build(targets, 4 * BUILD_SECONDS, KEEP_GOING)
                return numbered
            except BuildError:
                log = self.ninja.log.read_text(encoding="utf-8", errors="replace")
                wrong = blamed(log, self.copy.sources, before, numbered)
                if not wrong:
                    raise
                changed = {numbered[number].path for number in wrong}
                numbered = {number: mutant for number, mutant in numbered.items()
                            if number not in wrong}
        raise BuildError("the faults cannot be built together; try --apart")

    def find_reaching(self, numbered):
        """{number: names of the programs that come to its place}. A program that fails with nothing
        planted is not asked further: its faults are built by themselves."""
        result = {number: set() for number in numbered}
        programs = {program.name: program for mutant in numbered.values()
                    for program in self.seeing(mutant.path)}
        for program in programs.values():
            self.reached_file.write_bytes(bytes(max(numbered, default=0) + 1))
            self.trials.environment = {"FOLIVO_FAULTS_REACHED": f"Z:{self.reached_file}"}
            if self.trials.run_once(program).outcome != "passed":
                continue
            for number, reached in enumerate(self.reached_file.read_bytes()):
                if reached and number in result:
                    result[number].add(program.name)
        return result

    def attempt(self, number, mutant, reaching):
        start = time.monotonic()
        result = Result(mutant, SURVIVED)
        programs = [program for program in self.seeing(mutant.path)
                    if program.name in reaching[number]]
        self.trials.environment = {"FOLIVO_FAULT": str(number)}
        self.trials.judge_programs(result, programs)
        result.seconds = time.monotonic() - start
        return result
