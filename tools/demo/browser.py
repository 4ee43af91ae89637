"""A running tools/browser_host: its address bar is used as by hand, its events are read."""

import re
import subprocess
import threading
import time
from dataclasses import dataclass
from pathlib import Path
from typing import IO

import wine
from dialogs import Dialogs, Window
from wine import DemoError

TITLE = "Browser host"
_ADDRESS, _GO = 102, 1  # of its controls
_FRAME = re.compile(r"frame hwnd=(\S+) pid=(\d+)")
_BEFORE_NAVIGATE = re.compile(r"event BeforeNavigate2 url=<(.*)> cancel=([01])")
_START_S = 60
_QUIT_S = 60


@dataclass(frozen=True)
class Navigation:
    """How the browser was told to go on: the URL, whether it was cancelled, and when."""

    url: str
    cancelled: bool
    time: float  # time.monotonic()


class Browser:
    """One browser with its window. Every line that it prints is kept with its time.

    `folder` is its current folder, in which save dialogs open.
    """

    def __init__(self, tools: Path, folder: Path, log: IO[bytes]):
        self._lines: list[tuple[float, str]] = []
        self._changed = threading.Condition()
        self._ended = False
        self._mark = 0  # where the lines of the latest navigation begin
        self._log = log
        self._process = subprocess.Popen(
            wine.command(tools / "browser_host.exe", "--show", "--commands-from-stdin"),
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=log,
            cwd=folder,
        )
        threading.Thread(target=self._read, daemon=True).start()
        try:
            frame = self._wait(_FRAME, _START_S, "the browser's window")[1]
            self.helpers = self._helpers()
            self.dialogs = Dialogs(tools / "dialog_driver.exe", int(frame[2]))
            self.frame = self.dialogs.wait(TITLE)
        except DemoError:
            self.kill()
            raise

    def _read(self) -> None:
        assert self._process.stdout
        for raw in self._process.stdout:
            self._log.write(raw)
            self._log.flush()
            with self._changed:
                self._lines.append((time.monotonic(), raw.decode("utf-8", "replace").rstrip()))
                self._changed.notify_all()
        with self._changed:
            self._ended = True
            self._changed.notify_all()

    def _wait(
        self, wanted: re.Pattern[str], timeout_s: float, what: str
    ) -> tuple[float, re.Match[str]]:
        """Waits for a line since the mark and gives its time and match."""

        def find() -> tuple[float, re.Match[str]] | None:
            for when, line in self._lines[self._mark :]:
                if match := wanted.fullmatch(line):
                    return when, match
            return None

        with self._changed:
            self._changed.wait_for(lambda: self._ended or find(), timeout_s)
            found = find()
        if not found and self._ended:
            raise DemoError(f"the browser ended before {what} came")
        if not found:
            raise DemoError(f"{what} did not come within {timeout_s:.0f} s")
        return found

    def _command(self, text: str, timeout_s: float) -> None:
        """Gives a command and waits until it has been carried out."""
        assert self._process.stdin
        with self._changed:
            self._mark = len(self._lines)
        self._process.stdin.write(text.encode() + b"\n")
        self._process.stdin.flush()
        answer = self._wait(re.compile("ok|error .*"), timeout_s, f"the answer to {text}")[1][0]
        if answer != "ok":
            raise DemoError(f"the browser's answer to {text}: {answer}")

    def _helpers(self) -> list[str]:
        """The helper objects that were loaded, as "{CLSID} hr=0x00000000"."""
        self._command("print .", _START_S)
        with self._changed:
            lines = [line for _, line in self._lines]
        return [line.removeprefix("helper ") for line in lines if line.startswith("helper ")]

    def go(self, url: str) -> None:
        """Types the URL into the address bar and clicks Go."""
        with self._changed:
            self._mark = len(self._lines)
        self.dialogs.type(self.frame, _ADDRESS, url)
        self.dialogs.click(self.frame, _GO)

    def navigation(self, timeout_s: float = 60) -> Navigation:
        """Waits until the helper objects have dealt with the navigation: their dialogs are over."""
        when, match = self._wait(_BEFORE_NAVIGATE, timeout_s, "the end of the navigation's event")
        return Navigation(match[1], match[2] == "1", when)

    def wait_idle(self) -> None:
        """Waits until the browser itself has finished the navigation."""
        self._command("wait-navigation", 45)

    def windows(self) -> list[Window]:
        """What there is besides the browser's own window."""
        return [window for window in self.dialogs.visible() if window.handle != self.frame.handle]

    def quit(self) -> int:
        """Closes the window and gives the browser's exit code."""
        assert self._process.stdin
        try:
            # Unlike quit it does not wait for a dialog that a failed scene has left open.
            self._process.stdin.write(b"close\n")
            self._process.stdin.close()
            return self._process.wait(_QUIT_S)
        except (OSError, subprocess.TimeoutExpired):
            self.kill()
            raise DemoError(f"the browser did not close within {_QUIT_S} s") from None

    def kill(self) -> None:
        self._process.kill()
        self._process.wait()

    def abandon(self) -> None:
        """Ends it by whatever way, for when something else has failed already."""
        try:
            self.quit()
        except DemoError:
            pass  # it has been killed
