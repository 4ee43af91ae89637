"""The private Wine that tools/setup/wine_env.sh has prepared: programs, folders, registry."""

import os
import re
import subprocess
from pathlib import Path, PureWindowsPath

PREFIX = Path(os.environ["WINEPREFIX"])
_WINE = os.environ["WINE"]
_TIMEOUT_S = 60
_EXPORT = r"C:\windows\temp\demo_export.reg"
# Not the machine's "System": Wine notes there, at any time, what screens and devices it finds.
_EXPORTED = (r"HKEY_LOCAL_MACHINE\Software", "HKEY_USERS")

# All keys, each with its values as the lines of a .reg file.
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


def read_registry() -> Registry:
    """Every key of the machine's and the users' software."""
    registry: Registry = {}
    for root in _EXPORTED:
        code, output = run("regedit", "/E", _EXPORT, root)
        if code != 0:
            raise DemoError(f"the registry could not be exported: {output}")
        registry |= _parse(unix_path(_EXPORT).read_text(encoding="utf-16"))
    unix_path(_EXPORT).unlink()
    return registry


def _parse(text: str) -> Registry:
    # A backslash at the end of a line continues a binary value.
    lines = re.sub(r"\\\n\s*", "", text).splitlines()
    registry: dict[str, set[str]] = {}
    values: set[str] = set()
    for line in lines:
        if line.startswith("[") and line.endswith("]"):
            values = registry.setdefault(line[1:-1], set())
        elif line:
            values.add(line)
    return {key: frozenset(values) for key, values in registry.items()}
