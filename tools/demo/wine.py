"""The private Wine that tools/setup/wine_env.sh has prepared: programs, folders, registry."""

import os
import re
import subprocess
from pathlib import Path, PureWindowsPath

PREFIX = Path(os.environ["WINEPREFIX"])
_WINE = os.environ["WINE"]
_TIMEOUT_S = 60
_SAVED = r"C:\windows\temp\demo_registry.txt"
# Not the machine's "System": Wine notes there, at any time, what screens and devices it finds.
_SOFTWARE = (r"HKEY_LOCAL_MACHINE\Software", r"HKEY_CURRENT_USER\Software")

# All keys, each with its values as the lines of a file that Wine saves.
Registry = dict[str, frozenset[str]]


class DemoError(Exception):
    """Something that the demo needs did not happen; the text says what."""


def command(program: str | Path, *arguments: str) -> list[str]:
    """The command line that runs a Windows program."""
    return [_WINE, str(program), *arguments]


def run(program: str | Path, *arguments: str, timeout_s: float = _TIMEOUT_S) -> tuple[int, str]:
    """Runs a Windows program to its end; gives its exit code and what it printed."""
    try:
        done = subprocess.run(
            command(program, *arguments),
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            timeout=timeout_s,
            check=False,
        )
    except subprocess.TimeoutExpired:
        raise DemoError(f"{Path(program).name} did not end within {timeout_s:.0f} s") from None
    return done.returncode, done.stdout.decode("utf-8", "replace").replace("\r\n", "\n")


def unix_path(windows_path: str) -> Path:
    """Where a path on drive C: of the prefix lies outside."""
    path = PureWindowsPath(windows_path)
    if path.drive.upper() != "C:":
        raise DemoError(f"{windows_path} is not on drive C:")
    return PREFIX.joinpath("drive_c", *path.parts[1:])


def windows_path(path: Path) -> str:
    """How Windows programs name a file outside of the prefix."""
    return "Z:" + str(path.resolve()).replace("/", "\\")


def temporary_folder() -> str:
    """The Windows user's folder for temporary files."""
    return run("cmd", "/c", "echo %TEMP%")[1].strip()


def set_registry_text(key: str, name: str, text: str) -> None:
    code, output = run("reg", "add", key, "/v", name, "/d", text, "/f")
    if code != 0:
        raise DemoError(f"{key} could not be written: {output}")


def read_registry(saver: Path) -> Registry:
    """Every key of the machine's and the user's software, by registry_saver.exe."""
    registry: Registry = {}
    for root in _SOFTWARE:
        code, _ = run(saver, root, _SAVED)
        if code != 0:
            raise DemoError(f"the registry could not be saved: system error {code}")
        file = unix_path(_SAVED)
        registry |= _parse(root, file.read_text(encoding="latin-1"))
        file.unlink()
    return registry


def _parse(root: str, text: str) -> Registry:
    # A backslash at the end of a line continues a binary value.
    lines = re.sub(r"\\\n\s*", "", text).split("\n")
    registry: dict[str, set[str]] = {root: set()}
    values = registry[root]
    for line in lines[1:]:
        if line.startswith("["):  # [path] and when it was written
            path = root
            for component in line[1 : line.rindex("]")].split("\\\\"):
                path += "\\" + component
                values = registry.setdefault(path, set())
        elif line and not line.startswith((";;", "#time=")):
            values.add(line)
    return {key: frozenset(values) for key, values in registry.items()}
