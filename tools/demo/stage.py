"""What all scenes share: the Windows machine as a user would have it, the web site, the browser."""

import shutil
import time
from collections.abc import Iterator
from contextlib import contextmanager
from pathlib import Path
from typing import IO

import wine
from browser import Browser
from lesson_server import LessonServer
from screenshots import Screenshots
from wine import DemoError

LESSONS = r"C:\Lessons"  # where the user keeps files
_APPLICATION = r"C:\Program Files\MERLO\Folivo"
_LAUNCHER = "LaunchFolivo.exe"
# The desktop application is a 32-bit program: its entries lie in that view of the registry.
_INSTALL_KEY = (
    r"HKLM\Software\Wow6432Node\MERLO Technologies\Folivo Software\Install Information"
)
_VERSION_FILE = Path(__file__).parents[2] / "version.txt"
_POLL_S = 0.03


class Stage:
    """The machine as it is before the plug-in is registered, and what happens on it."""

    def __init__(self, build: Path, output: Path, server: LessonServer, log: IO[bytes]):
        self.build = build
        self.plugin = build / "FolivoPlugin.dll"
        self.version = _VERSION_FILE.read_text(encoding="ascii").strip()
        self.server = server
        self.screenshots = Screenshots(output)
        self.tools = build / "tools"
        self._log = log
        self._records = wine.unix_path(_APPLICATION) / "LaunchFolivo.log"
        self.windows_temp = wine.temporary_folder()
        self.temp_folder = self.windows_temp + r"\MERLO Technologies\MERLO Folivo\TempFiles"
        wine.unix_path(LESSONS).mkdir()
        self._install_application()

    def _install_application(self) -> None:
        folder = wine.unix_path(_APPLICATION)
        folder.mkdir(parents=True)
        shutil.copy(self.tools / _LAUNCHER, folder)
        wine.set_registry_text(_INSTALL_KEY, "FolivoExePath", _APPLICATION)

    def register(self, *options: str) -> int:
        """Runs regsvr32 on the plug-in and gives its exit code."""
        code, output = wine.run("regsvr32", *options, wine.windows_path(self.plugin))
        self._log.write(output.encode())
        return code

    def registry(self) -> wine.Registry:
        """What the registry holds now."""
        return wine.read_registry(self.tools / "registry_saver.exe")

    @contextmanager
    def browser(self) -> Iterator[Browser]:
        """A new browser. At the end it closes, as it should, with exit code 0."""
        browser = Browser(self.tools, wine.unix_path(LESSONS), self._log)
        try:
            yield browser
        except BaseException:
            browser.abandon()
            raise
        if (code := browser.quit()) != 0:
            raise DemoError(f"the browser ended with exit code {code}")

    def temp_files(self) -> set[str]:
        """The names in the plug-in's folder of temporary files."""
        return _names(wine.unix_path(self.temp_folder))

    def saved_files(self) -> set[str]:
        """The names in the user's folder."""
        return _names(wine.unix_path(LESSONS))

    def launches(self) -> list[str]:
        """The launcher's command lines after the program's name, oldest first."""
        if not self._records.exists():
            return []
        lines = self._records.read_text(encoding="utf-8").splitlines()
        return [line.split("\t")[0] for line in lines]

    def wait_launches(self, count: int, timeout_s: float = 60) -> list[str]:
        """Waits until the launcher has been started so many times."""
        deadline = time.monotonic() + timeout_s
        # Its end is an event of another process; what counts is that the record is there.
        while len(launches := self.launches()) < count:
            if time.monotonic() > deadline:
                raise DemoError(f"{_LAUNCHER} was not started within {timeout_s:.0f} s")
            time.sleep(_POLL_S)
        return launches


def _names(folder: Path) -> set[str]:
    return {path.name for path in folder.iterdir()} if folder.is_dir() else set()
