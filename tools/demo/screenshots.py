"""Pictures of the windows on the display."""

import hashlib
import subprocess
import time
from pathlib import Path

from dialogs import Window
from wine import DemoError

_DESKTOP = "#3b6ea5"
_MARGIN = 16  # pixels around the windows; import leaves out what is beyond the screen
_SAME = 3  # equal pictures in a row: the windows have been drawn
_PAUSE_S = 0.1
_LIMIT_S = 5
_TIMEOUT_S = 60


class Screenshots:
    """Takes pictures into a folder and remembers what they show."""

    def __init__(self, folder: Path):
        self._folder = folder
        self.taken: dict[Path, str] = {}
        self._painted = False

    def take(self, name: str, shows: str, *windows: Window) -> None:
        """The part of the screen that holds all the windows, once it no longer changes."""
        if not self._painted:
            _paint_desktop()
            self._painted = True
        lefts, tops, rights, bottoms = zip(*(window.rectangle for window in windows))
        left, top = max(0, min(lefts) - _MARGIN), max(0, min(tops) - _MARGIN)
        crop = f"{max(rights) + _MARGIN - left}x{max(bottoms) + _MARGIN - top}+{left}+{top}"
        path = self._folder / f"{name}.png"
        path.write_bytes(self._settled(crop))
        self.taken[path] = shows

    @staticmethod
    def _settled(crop: str) -> bytes:
        deadline = time.monotonic() + _LIMIT_S
        last, same = b"", 0
        # Nobody tells when a window has been drawn. A caret keeps blinking, hence the limit.
        while same < _SAME and time.monotonic() < deadline:
            picture = _import(crop)
            digest = hashlib.sha256(picture).digest()
            same = same + 1 if digest == last else 1
            last = digest
            time.sleep(_PAUSE_S)
        return picture


def _paint_desktop() -> None:
    """A desktop has a colour: black would look like a hole in the picture."""
    # display ends with 1 here although it has painted; how it looks is not worth a failure.
    _run("display", "-window", "root", "-size", "64x64", f"xc:{_DESKTOP}")


def _import(crop: str) -> bytes:
    options = ["-silent", "-window", "root", "-crop", crop, "+repage"]
    # Without the time of day, so that equal pictures are equal files.
    for time_stamp in ("date:create", "date:modify", "date:timestamp"):
        options += ["+set", time_stamp]
    done = _run("import", *options, "png:-")
    if done.returncode != 0:
        raise DemoError(f"no screenshot: {done.stderr.decode('utf-8', 'replace').strip()}")
    return done.stdout


def _run(*command: str) -> subprocess.CompletedProcess[bytes]:
    try:
        return subprocess.run(
            command,
            stdin=subprocess.DEVNULL,
            capture_output=True,
            timeout=_TIMEOUT_S,
            check=False,
        )
    except (OSError, subprocess.TimeoutExpired) as error:
        raise DemoError(f"no screenshot: {error}") from error
