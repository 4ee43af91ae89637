"""Runs the programs that measure: each prints one number."""

import subprocess
from pathlib import Path

import wine
from turns import Results
from wine import DemoError

_TIMEOUT_S = 180


class MeasurementError(Exception):
    """A measurement gave no number; the text says why."""


class Programs:
    """The measuring programs of one build, and what they measure."""

    def __init__(self, build: Path):
        self._folder = build / "bench"
        self.plugin = wine.windows_path(build / "FolivoPlugin.dll")
        self.minimal = wine.windows_path(self._folder / "bench_minimal.dll")

    def lines(self, program: str, *arguments: str | float) -> list[str]:
        """What `bench_<program> ARGUMENTS` prints."""
        path = self._folder / f"bench_{program}.exe"
        try:
            code, output = wine.run(path, *map(str, arguments), timeout_s=_TIMEOUT_S)
        except DemoError as error:
            raise MeasurementError(str(error)) from None
        if code != 0:
            raise MeasurementError(f"{program} {arguments[0]}: {output.strip()} (exit {code})")
        return output.splitlines()

    def number(self, program: str, *arguments: str | float) -> float:
        """The number that it prints, which must be more than 0."""
        lines = self.lines(program, *arguments)
        try:
            value = float(lines[0])
        except (IndexError, ValueError):
            raise MeasurementError(f"{program} {arguments[0]} printed {lines}") from None
        if value <= 0:
            raise MeasurementError(f"{program} {arguments[0]} took {value}")
        return value

    def rounds(self, program: str, *arguments: str | float) -> Results:
        """What it measured in turns by itself: it prints, for each round, "NAME NUMBER" for each
        contender."""
        results: Results = {}
        for line in self.lines(program, *arguments)[:-1]:
            name, value = line.split()
            results.setdefault(name, []).append(float(value))
        return results


def curl(url: str, file: Path) -> float:
    """Seconds in which curl, which is no Windows program, puts the URL into the file."""
    command = ["/usr/bin/curl", "-sS", "--fail", "-o", str(file), "-w", "%{time_total}", url]
    try:
        done = subprocess.run(command, capture_output=True, text=True, timeout=_TIMEOUT_S)
        done.check_returncode()
        return float(done.stdout)
    except (OSError, subprocess.SubprocessError, ValueError) as error:
        raise MeasurementError(f"curl: {error}") from None
