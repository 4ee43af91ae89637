"""Windows on the private display, seen and used through tools/dialog_driver."""

import time
from dataclasses import dataclass
from pathlib import Path

import wine
from wine import DemoError

_POLL_S = 0.05


@dataclass(frozen=True)
class Window:
    """A top-level window; the rectangle is left, top, right, bottom in pixels of the screen."""

    handle: str
    process: int
    class_name: str
    title: str
    rectangle: tuple[int, int, int, int]


@dataclass(frozen=True)
class Control:
    """A child window; `state` is "pos=N" for a progress bar."""

    number: int
    class_name: str
    text: str
    visible: bool
    enabled: bool
    state: str


def _rectangle(text: str) -> tuple[int, int, int, int]:
    left, top, right, bottom = map(int, text.split(","))
    return left, top, right, bottom


def _window(line: str) -> Window:
    handle, process, class_name, title, rectangle = line.split("\t")
    return Window(handle, int(process), class_name, title, _rectangle(rectangle))


class Dialogs:
    """What a user sees and does, in the windows of one process, or of all (None)."""

    def __init__(self, driver: Path, process: int | None):
        self._driver = driver
        self._process = process

    def _run(self, what: str, *arguments: str, timeout_s: float = 60) -> str:
        limit = ("--timeout", str(int(timeout_s * 1000)))
        code, output = wine.run(self._driver, *limit, *arguments, timeout_s=timeout_s + 15)
        if code != 0:
            reason = output.strip().removeprefix("dialog_driver: ")
            raise DemoError(f"{what}: {reason}")
        return output

    def visible(self) -> list[Window]:
        """The process's top-level windows, the topmost first."""
        windows = [_window(line) for line in self._run("list of windows", "list").splitlines()]
        return [window for window in windows if self._process in (None, window.process)]

    def wait(self, title: str, timeout_s: float = 60) -> Window:
        """Waits for the window of this whole title."""
        process = () if self._process is None else ("--pid", str(self._process))
        options = ("--title", title, *process)
        what = f'window "{title}"'
        return _window(self._run(what, "wait-window", *options, timeout_s=timeout_s).rstrip("\n"))

    def wait_gone(self, window: Window, timeout_s: float = 60) -> None:
        self._run(f'end of "{window.title}"', "wait-gone", window.handle, timeout_s=timeout_s)

    def click(self, window: Window, control: int) -> None:
        """Clicks a button, once it is visible and enabled."""
        self._run(f'click in "{window.title}"', "click", window.handle, str(control))

    def type(self, window: Window, control: int, text: str) -> None:
        """Replaces a field's text."""
        self._run(
            f'text in "{window.title}"', "set-text", window.handle, str(control), "--", text
        )

    def controls(self, window: Window) -> list[Control]:
        result = []
        for line in self._run(f'controls of "{window.title}"', "texts", window.handle).splitlines():
            number, class_name, text, shown, usable, _, *state = line.split("\t")
            result.append(
                Control(
                    int(number),
                    class_name,
                    text,
                    shown == "visible",
                    usable == "enabled",
                    state[0] if state else "",
                )
            )
        return result

    def control(self, window: Window, number: int) -> Control:
        for control in self.controls(window):
            if control.number == number:
                return control
        raise DemoError(f'"{window.title}" has no control {number}')

    def wait_progress(self, window: Window, bar: int, position: int, timeout_s: float = 60) -> int:
        """Waits until a progress bar has reached a position, and gives where it stands."""
        deadline = time.monotonic() + timeout_s
        # Nothing tells another process that a bar has moved.
        while True:
            now = int(self.control(window, bar).state.removeprefix("pos=") or 0)
            if now >= position or time.monotonic() > deadline:
                return now
            time.sleep(_POLL_S)
