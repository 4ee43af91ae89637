"""Scripts as a page has them, run by the system's script host."""

import os
import subprocess
from pathlib import Path

import wine
from dialogs import Dialogs
from wine import DemoError

_FOLDER = r"C:\Scripts"
# A script that ends early, by a mistake in it, exits with 0.
_FINISHED = 42


class ScriptHost:
    """One run of a script, in a process of its own."""

    def __init__(self, build: Path, name: str, source: str, *arguments: str):
        script = wine.unix_path(_FOLDER) / name
        script.parent.mkdir(exist_ok=True)
        script.write_text(f"{source}\nWScript.Quit({_FINISHED});\n", encoding="ascii")
        # Whoever installs the plug-in puts the unzip library on the search path.
        environment = {**os.environ, "WINEPATH": wine.windows_path(build)}
        self.dialogs = Dialogs(build / "tools" / "dialog_driver.exe", None)
        # Without the bridge Wine leaves an error after a request that has been opened.
        bridge = build / "tools" / "with_wininet_bridge.exe"
        command = wine.command(bridge, "cscript", "//nologo", rf"{_FOLDER}\{name}", *arguments)
        self._process = subprocess.Popen(
            command,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            env=environment,
        )

    def abandon(self) -> None:
        """Ends a script that still runs."""
        if self._process.poll() is None:
            # The bridge itself holds only the end of the script's process.
            wine.run("taskkill", "/f", "/im", "cscript.exe")
            self._process.wait()

    def finish(self, timeout_s: float = 60) -> list[str]:
        """Waits for the script's end; gives what it printed."""
        try:
            output, _ = self._process.communicate(timeout=timeout_s)
        except subprocess.TimeoutExpired:
            self.abandon()
            raise DemoError(f"the script did not end within {timeout_s:.0f} s") from None
        if self._process.returncode != _FINISHED:
            raise DemoError(f"the script broke off: {output.decode('utf-8', 'replace')}")
        return output.decode("utf-8", "replace").split("\r\n")[:-1]
