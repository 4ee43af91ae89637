#!/usr/bin/env python3
"""./run mutate: see options.py for what it does, mutate.sh for what must run beside it."""

import os
import pathlib
import signal
import subprocess
import sys
import time

import build_graph
import options as options_module
import planner as planner_module
import product
import programs as programs_module
import report
from baseline import Baseline, BaselineError
from history import History
from ninja import BuildError, Ninja
from source_copy import SourceCopy
from switched import Switched
from syntax import ParseError
from trial import Trials

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDER = ROOT / "build" / "mutate"
LOGS = ROOT / "build" / "logs"
COMPILER_SECONDS = 3600
# Building faults together pays from about so many on.
FEW = 20


def say(text):
    print(text, flush=True)


def interrupt(*_):
    """The first signal ends the run in good order; further ones must not disturb that."""
    for number in signal.SIGINT, signal.SIGTERM, signal.SIGHUP:
        signal.signal(number, signal.SIG_IGN)
    raise KeyboardInterrupt


def renew_wine():
    subprocess.run([str(ROOT / "tools/mutate/renew_wine.sh")], check=True, cwd=ROOT,
                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)


def prepare(copy):
    """Brings the copy up to date and configures it."""
    changed = copy.update()
    say(f"{changed} files of the copy brought up to date")
    LOGS.mkdir(parents=True, exist_ok=True)
    with open(LOGS / "mutate-configure.log", "w", encoding="utf-8") as log:
        code = subprocess.run(
            ["/usr/bin/cmake", "--preset", "release", "-B", str(copy.build),
             f"-DFOLIVO_DEPS_DIR={ROOT / 'build' / 'deps'}"],
            cwd=copy.sources, stdin=subprocess.DEVNULL, stdout=log, stderr=log).returncode
    if code != 0:
        raise BuildError("configuring failed; see build/logs/mutate-configure.log")


class Session:
    """One call of ./run mutate, from the files to the report."""

    def __init__(self, options):
        self.options = options
        self.copy = SourceCopy(ROOT, FOLDER)
        self.ninja = Ninja(self.copy.build, LOGS / "mutate-build.log")
        self.results = []
        self.reload()

    def reload(self):
        """Looks again at what depends on what, after a build."""
        self.graph = build_graph.load(self.copy.build, self.ninja.environment)
        self.programs = programs_module.load(self.graph, self.copy.build, dict(os.environ))

    def seeing(self, file):
        """The programs that are, or load, or start, what is built from a file."""
        built = self.graph.may_be_built_from(str(self.copy.sources / file))
        return [program for program in self.programs
                if self.graph.parts(program.targets) & built]

    def files(self):
        if self.options.only:
            return options_module.files_of(self.options.only)
        folders = product.product_folders((self.copy.sources / "CMakeLists.txt").read_text())
        every = [str(path.relative_to(self.copy.sources))
                 for path in self.copy.sources.rglob("*") if path.is_file()]
        return product.chosen_files(every, folders, self.options.files)

    def build(self, files):
        """Builds the programs that can see the files; afterwards the headers are known too."""
        targets = set()
        for file in files:
            for program in self.seeing(file):
                targets |= program.targets
        start = time.monotonic()
        if targets:
            self.ninja.build(targets, COMPILER_SECONDS)
        self.reload()
        say(f"{len(targets)} programs and libraries built in {time.monotonic() - start:.0f} s")

    def draw(self, files):
        planner = planner_module.Planner(self.copy.sources, self.copy.build, FOLDER / "faults")
        start = time.monotonic()
        mutants = planner.mutants(files)
        say(f"{len(mutants)} faults possible in {len(files)} files"
            f" (read in {time.monotonic() - start:.0f} s)")
        if self.options.only:
            return planner_module.named(mutants, self.options.only)
        return planner_module.draw(mutants, self.options.seed)

    def check_baseline(self, files):
        baseline = Baseline(FOLDER / "baseline.json", self.copy.build, self.graph)
        wanted = {program.name: program for file in files for program in self.seeing(file)}
        start, runs = time.monotonic(), 0
        for program in wanted.values():
            runs += baseline.check(program)
        say(f"{len(wanted)} programs pass without a fault"
            f" ({runs} run now, in {time.monotonic() - start:.0f} s)")
        return baseline

    def try_mutants(self, mutants):
        """Tries mutants until as many counted as are asked for. The baseline is checked for what
        will be drawn in any case, and once more for each further file."""
        count = len(mutants) if self.options.only else self.options.count
        files = sorted({mutant.path for mutant in mutants[:count]})
        history = History(FOLDER / "history.json")
        trials = Trials(self.copy, self.graph, self.ninja, self.check_baseline(files), history,
                        renew_wine)
        end = time.monotonic() + 60 * (self.options.minutes or 1e6)
        counted, known = 0, {}
        if count > FEW and not self.options.apart:
            known = self.try_together(mutants[:count], trials, end)
            history.save()
        for mutant in mutants:
            if counted >= count:
                break
            if time.monotonic() >= end:
                say("The time is over.")
                break
            if mutant.path not in files:
                files.append(mutant.path)
                trials.baseline = self.check_baseline(files)
            result = known.get(mutant.name)
            if not result:
                result = trials.attempt(mutant, self.seeing(mutant.path))
                say(f"{counted:3}/{count} counted; {report.progress_line(result)}")
            self.results.append(result)
            counted += result.outcome in report.COUNTED
            history.save()

    def try_together(self, mutants, trials, end):
        """{name: result} of what is killed in one build with all faults in it."""
        def progress(count, total, result):
            say(f"{count:3}/{total} {report.progress_line(result)}")

        switched = Switched(trials, self.seeing, FOLDER, progress)
        start = time.monotonic()
        results = switched.results(mutants, end)
        say(f"{len(results)} of {len(mutants)} faults noticed in one build with the others, in"
            f" {time.monotonic() - start:.0f} s; the rest is built one by one")
        return results

    def run(self):
        files = self.files()
        if not files:
            raise KeyError("no file matches")
        self.build(files)
        mutants = self.draw(files)
        if self.options.list:
            shown = mutants if self.options.only else mutants[:self.options.count]
            for mutant in shown:
                say(f"{mutant.name}: line {mutant.line}, {mutant.edit.kind}\n"
                    f"{mutant.diff(self.text_of(mutant.path))}")
            return
        try:
            self.try_mutants(mutants)
        finally:
            self.report()

    def text_of(self, path):
        return (self.copy.sources / path).read_bytes()

    def report(self):
        if not self.results:
            return
        report.write(FOLDER, self.results, self.text_of)
        text = report.survivors(self.results, self.text_of)
        if text:
            say(f"\n{text}")
        say("\n".join(["", *report.table(self.results), *report.closing_lines(self.results)]))


def main():
    options = options_module.parse(sys.argv[1:])
    for number in signal.SIGINT, signal.SIGTERM, signal.SIGHUP:
        signal.signal(number, interrupt)
    try:
        if options.prepare:
            prepare(SourceCopy(ROOT, FOLDER))
        else:
            Session(options).run()
    except (BaselineError, BuildError, ParseError, KeyError) as error:
        message = error.args[0] if isinstance(error, KeyError) else error
        print(f"run: mutate: {message}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        print("run: mutate: interrupted; the copy is as it was", file=sys.stderr)
        return 130
    return 0


if __name__ == "__main__":
    sys.exit(main())
