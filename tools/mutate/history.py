"""Which programs noticed faults before, and the order of programs that follows from it."""

import json

# How likely a program notices a fault, before anything is known about it.
SAME_FOLDER_UNIT, SAME_FOLDER, ELSEWHERE = 0.5, 0.35, 0.1
# What these guesses weigh, in runs.
GUESS_WEIGHT = 2
# What a program costs before it runs: linking it and starting it.
LINK_SECONDS = 3.0


class History:
    """For each product file and program: how often it ran against a fault and noticed it."""

    def __init__(self, path):
        self.path = path
        try:
            self.counts = json.loads(path.read_text())
        except (FileNotFoundError, json.JSONDecodeError):
            self.counts = {}

    def add(self, file, program, noticed):
        runs, kills = self.counts.setdefault(file, {}).get(program, (0, 0))
        self.counts[file][program] = (runs + 1, kills + bool(noticed))

    def save(self):
        new = self.path.with_suffix(".new")
        new.write_text(json.dumps(self.counts, indent=1, sort_keys=True))
        new.replace(self.path)

    def chance(self, file, program):
        if program.folder != f"tests/{file.split('/')[0]}":
            guess = ELSEWHERE
        else:
            guess = SAME_FOLDER_UNIT if program.label == "unit" else SAME_FOLDER
        runs, kills = self.counts.get(file, {}).get(program.name, (0, 0))
        return (kills + GUESS_WEIGHT * guess) / (runs + GUESS_WEIGHT)

    def order(self, file, programs, seconds):
        """The programs in the order in which a fault is noticed at the least cost on average."""
        return sorted(programs, key=lambda program: (
            (seconds.get(program.name, 0) + LINK_SECONDS) / self.chance(file, program),
            program.name))
