"""Runs the programs without any fault: they must pass, and their times set the limits."""

import hashlib
import json

import programs as programs_module

LIMIT_FACTOR = 5
# A short program's time is mostly that of its start, which varies.
SHORTEST_LIMIT = 10.0


class BaselineError(Exception):
    """A program fails without any fault."""


class Baseline:
    """Remembers from run to run the times of programs that passed and have not changed since."""

    def __init__(self, path, build_dir, graph):
        self.path = path
        self.build_dir = build_dir
        self.graph = graph
        self.seconds = {}
        try:
            self.known = json.loads(path.read_text())
        except (FileNotFoundError, json.JSONDecodeError):
            self.known = {}

    def limit(self, program):
        return max(LIMIT_FACTOR * self.seconds[program.name], SHORTEST_LIMIT)

    def digest(self, program):
        """Of the program and all that it loads and starts."""
        state = hashlib.sha256(" ".join(program.command).encode())
        for part in sorted(self.graph.parts(program.targets)):
            state.update(part.encode())
            path = self.build_dir / part
            if path.is_file():
                state.update(hashlib.sha256(path.read_bytes()).digest())
        return state.hexdigest()

    def check(self, program, run=programs_module.run):
        """Returns whether the program had to be run; raises BaselineError when it does not pass."""
        digest = self.digest(program)
        known = self.known.get(program.name)
        if known and known["digest"] == digest:
            self.seconds[program.name] = known["seconds"]
            return False
        outcome = run(program, program.timeout)
        if outcome.outcome != "passed":
            # Once more: what fails by chance is for the tests to mend, not for this run to end.
            outcome = run(program, program.timeout)
        if outcome.outcome != "passed":
            raise BaselineError(f"{program.name} fails without any fault"
                                f" ({outcome.case or outcome.outcome}):\n{outcome.output[-2000:]}")
        self.seconds[program.name] = outcome.seconds
        self.known[program.name] = {"digest": digest, "seconds": round(outcome.seconds, 2)}
        new = self.path.with_suffix(".new")
        new.write_text(json.dumps(self.known, indent=1, sort_keys=True))
        new.replace(self.path)
        return True
