"""Which programs noticed faults before, and the order of programs that follows from it."""

import json

# How likely a program notices a fault, before anything is known about it.
SAME_FOLDER_UNIT, SAME_FOLDER, ELSEWHERE = 0.5, 0.35, 0.1
# What these guesses weigh, in runs.
GUESS_WEIGHT = 2
# What a program costs before it runs: linking it and starting it.
LINK_SECONDS = 3.0
# So many cases are tried before the whole program is.
CASES_KEPT = 12


class History:
    """For each product file and program: how often it ran against a fault and noticed it, and the
    cases that did, the last one first."""

    def __init__(self, path):
        self.path = path
        try:
            self.rows = json.loads(path.read_text())
        except (FileNotFoundError, json.JSONDecodeError):
            self.rows = {}

    def row(self, file, program):
        return self.rows.get(file, {}).get(program, {"runs": 0, "kills": 0, "cases": []})

    def add(self, file, program, noticed, case=""):
        row = self.row(file, program)
        cases = [case, *(old for old in row["cases"] if old != case)] if case else row["cases"]
        self.rows.setdefault(file, {})[program] = {
            "runs": row["runs"] + 1, "kills": row["kills"] + bool(noticed),
            "cases": cases[:CASES_KEPT]}

    def cases(self, file, program):
        """The cases of a program that noticed faults of a file, as a filter of GoogleTest's."""
        return ":".join(self.row(file, program)["cases"])

    def save(self):
        new = self.path.with_suffix(".new")
        new.write_text(json.dumps(self.rows, indent=1, sort_keys=True))
        new.replace(self.path)

    def chance(self, file, program):
        if program.folder != f"tests/{file.split('/')[0]}":
            guess = ELSEWHERE
        else:
            guess = SAME_FOLDER_UNIT if program.label == "unit" else SAME_FOLDER
        row = self.row(file, program.name)
        return (row["kills"] + GUESS_WEIGHT * guess) / (row["runs"] + GUESS_WEIGHT)

    def order(self, file, programs, seconds, link=LINK_SECONDS):
        """The programs in the order in which a fault is noticed at the least cost on average; `link`:
        seconds that a program costs before it runs."""
        return sorted(programs, key=lambda program: (
            (seconds.get(program.name, 0) + link) / self.chance(file, program), program.name))
