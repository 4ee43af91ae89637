"""Installers as the tests need them: of any version, with a DLL of that version."""

import pathlib
import struct
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools" / "package"))

import installer  # noqa: E402
import version_resource  # noqa: E402

VERSION = (ROOT / "version.txt").read_text(encoding="ascii").strip()
EPOCH = 946684800


def content(build, **changes):
    """The files that are installed."""
    files = {
        "plugin": build / "FolivoPlugin.dll",
        "unzip": build / "UNZIP32.DLL",
        "unzip_license": build / "UNZIP32-LICENSE.txt",
        "license": ROOT / "LICENSE",
        "notices": ROOT / "THIRD_PARTY_NOTICES.md",
        "icon": ROOT / "resources/folivo.ico",
    }
    return installer.Content(**files | changes)


def make(build, folder, version=VERSION, **changes):
    """Makes the installer of a version; gives its path."""
    plugin = folder / f"plugin-{version}.dll"
    binary = bytearray((build / "FolivoPlugin.dll").read_bytes())
    a, b, c, d = map(int, version.split("."))
    numbers = (a << 16 | b, c << 16 | d)
    struct.pack_into("<4I", binary, version_resource.position(binary), *numbers, *numbers)
    plugin.write_bytes(binary)
    result = folder / f"plugin-{version}.msi"
    installer.make(ROOT, content(build, plugin=plugin, **changes), version, EPOCH, result)
    return result
