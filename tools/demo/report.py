"""What each scene was to show and what was seen: progress while it runs, a table at the end."""

import re
import textwrap
import time
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any

_DIGEST = re.compile("[0-9a-f]{64}")  # compared as a whole, shown in part
_WIDTHS = (34, 27, 27)  # what, expected, seen; with the verdict the table has 100 columns


@dataclass(frozen=True)
class Check:
    what: str
    expected: str
    seen: str
    ok: bool


@dataclass
class Scene:
    """The checks of one scene; a scene without any has not been shown."""

    number: int
    title: str
    checks: list[Check] = field(default_factory=list)
    pictures: list[tuple[Path, str]] = field(default_factory=list)  # with what each shows

    def check(self, what: str, expected: Any, seen: Any) -> None:
        """Notes a fact, which must be as expected."""
        self.checks.append(Check(what, _text(expected), _text(seen), expected == seen))

    def check_that(self, what: str, expected: str, seen: Any, ok: bool) -> None:
        """The same where `ok` is not a matter of equality."""
        self.checks.append(Check(what, expected, _text(seen), ok))

    @property
    def ok(self) -> bool:
        return bool(self.checks) and all(check.ok for check in self.checks)

    def start(self) -> None:
        print(f"  {self.number:>2}  {self.title:<72}", end="", flush=True)
        self._started = time.monotonic()

    def end(self) -> None:
        print(f"{time.monotonic() - self._started:6.1f} s  {'ok' if self.ok else 'NOT ok'}")
        for check in self.checks:
            if not check.ok:
                print(f"      {check.what}: expected {check.expected}, seen {check.seen}")


def _text(value: Any) -> str:
    if isinstance(value, bool):
        return "yes" if value else "no"
    if isinstance(value, (list, set, dict)):
        return ", ".join(sorted(map(str, value))) or "none"
    text = str(value)
    return f"{text[:20]}..." if _DIGEST.fullmatch(text) else text


def _row(texts: tuple[str, str, str], verdict: str) -> list[str]:
    columns = [textwrap.wrap(text, width) for text, width in zip(texts, _WIDTHS)]
    lines = []
    for index in range(max(1, *map(len, columns))):
        cells = [
            (column[index] if index < len(column) else "").ljust(width)
            for column, width in zip(columns, _WIDTHS)
        ]
        lines.append("   " + "  ".join(cells) + "  " + (verdict if index == 0 else ""))
    return [line.rstrip() for line in lines]


def table(scenes: list[Scene]) -> str:
    """All checks: what, expected, seen, ok or NOT."""
    lines = _row(("What was seen", "Expected", "Seen"), "")
    lines.append("   " + "-" * (sum(_WIDTHS) + 8))
    for scene in scenes:
        lines.append(f"{scene.number:>2} {scene.title}")
        for check in scene.checks:
            verdict = "ok" if check.ok else "NOT"
            lines += _row((check.what, check.expected, check.seen), verdict)
    return "\n".join(lines)


def verdict(scenes: list[Scene]) -> str:
    """The closing line."""
    failed = [str(scene.number) for scene in scenes if not scene.ok]
    count = sum(len(scene.checks) for scene in scenes)
    if not failed:
        return f"All {count} checks of {len(scenes)} scenes are as expected."
    return f"NOT as expected: scene {', '.join(failed)}."
