"""Makes the installer: wixl's files, folders and features, and all further tables by msibuild.

The same files give the same bytes: identifiers follow from names, version and content, and all times
are one.
"""

import hashlib
import os
import shutil
import subprocess
import tempfile
import time
import uuid
from dataclasses import dataclass
from pathlib import Path

import tables
from version_resource import file_version

# All identifiers are made in this name space; the first of them is the product's for ever.
_NAME_SPACE = uuid.UUID("5d0f3c0e-2a65-4b34-9d53-0f8f6f1f7a11")
_COMPONENTS = ("AddOn", "AddOn32", "Notices", "ElevationPolicy", "Unzip")
_SOURCE = Path(__file__).with_name("folivo_plugin.wxs")
_LANGUAGE = "1033"


class InstallerError(Exception):
    """The installer cannot be made; the text says why."""


@dataclass(frozen=True)
class Content:
    """The files that are installed."""

    plugin: Path
    unzip: Path
    unzip_license: Path
    license: Path
    notices: Path
    icon: Path


def identifier(*names: str) -> str:
    """The same names give the same identifier."""
    return "{" + str(uuid.uuid5(_NAME_SPACE, "/".join(names))).upper() + "}"


def run(*command: str | Path, cwd: Path | None = None) -> str:
    """Runs a program of this machine; its messages tell why it failed."""
    done = subprocess.run(
        [str(word) for word in command],
        cwd=cwd,
        stdin=subprocess.DEVNULL,
        capture_output=True,
        text=True,
        check=False,
        env=os.environ | {"TZ": "UTC"},  # times in cabinets are local ones
    )
    if done.returncode != 0:
        raise InstallerError(f"{command[0]} failed: {(done.stderr + done.stdout).strip()}")
    return done.stdout


def _summary(version: str, epoch: int, package_code: str) -> tables.Table:
    written = time.strftime("%Y/%m/%d %H:%M:%S", time.gmtime(epoch))
    rows = [
        (1, "1252"),
        (2, "Installation Database"),
        (3, f"MERLO Folivo Download Utility {version}"),
        (4, "MERLO Technologies"),
        (5, "Installer"),
        (6, "Browser add-on, for all users of 64-bit Windows"),
        (7, f"x64;{_LANGUAGE}"),
        (9, package_code),
        (12, written),
        (13, written),
        (14, "500"),  # the oldest installer that may read it: 5.0
        (15, "2"),  # compressed, with long file names
        (18, "FolivoPlugin"),
        (19, "2"),  # read-only is recommended
    ]
    return tables.Table("_SummaryInformation", [("PropertyId", "i2"), ("Value", "l255")], 1, rows)


def _import(database: Path, imported: list[tables.Table], changes: list[str]) -> None:
    command: list[str | Path] = ["msibuild", database.name]
    for change in changes:
        command += ["-q", change]
    for table in imported:
        file = database.with_name(f"{table.name}.idt")
        file.write_text(table.text(), encoding="ascii", newline="")
        command += ["-i", file.name]
    run(*command, cwd=database.parent)


def make(root: Path, content: Content, version: str, epoch: int, result: Path) -> None:
    """Writes the installer of this version to `result`."""
    numbers = version.split(".")
    if len(numbers) != 4 or not all(number.isdecimal() for number in numbers):
        raise InstallerError(f"{version} is no version of four numbers")
    if numbers[3] != "0":
        raise InstallerError(
            f"{version}: the installer compares the first three numbers only; the fourth must be 0"
        )
    upgrade_code = identifier("upgrade")
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        sources = {
            "FolivoPlugin.dll": content.plugin,
            "UNZIP32.DLL": content.unzip,
            "UNZIP32-LICENSE.txt": content.unzip_license,
            "LICENSE.txt": content.license,
            "THIRD_PARTY_NOTICES.md": content.notices,
            "folivo.ico": content.icon,
            _SOURCE.name: _SOURCE,
        }
        for target, file in sources.items():
            shutil.copyfile(file, folder / target)
            os.utime(folder / target, (epoch, epoch))
        variables = {
            "Version": version,
            "ProductCode": identifier("product", version),
            "UpgradeCode": upgrade_code,
        }
        variables |= {f"{item}Component": identifier("component", item) for item in _COMPONENTS}
        defines = [word for item in variables.items() for word in ("-D", "=".join(item))]
        database = folder / "result.msi"
        run("wixl", "--arch", "x64", *defines, "--output", database.name, _SOURCE.name, cwd=folder)

        further, changes = tables.make(root, version, upgrade_code)
        for file in ("FolivoPlugin.dll", "UNZIP32.DLL"):
            changes += [
                f"UPDATE `File` SET `Version` = '{file_version(sources[file])}', "
                f"`Language` = '{_LANGUAGE}' WHERE `File` = '{file}'",
                f"DELETE FROM `MsiFileHash` WHERE `File_` = '{file}'",
            ]
        # Whatever differs in content differs in package code.
        _import(database, [*further, _summary(version, epoch, identifier("none"))], changes)
        digest = hashlib.sha256(database.read_bytes()).hexdigest()
        _import(database, [_summary(version, epoch, identifier("package", digest))], [])
        shutil.copyfile(database, result)
