#!/usr/bin/env python3
"""Makes what is handed out: package.py STEP [BUILD_DIR WORK_DIR]. tools/package/package.sh runs the
steps one after another; between them all lies in WORK_DIR.

  check    what signing needs is there
  collect  copies what was built, with documents and licenses
  sign-dlls, sign-installer
  installer, bill, archive, checksums
"""

import hashlib
import os
import shutil
import sys
import time
import zipfile
from pathlib import Path

import bill_of_materials
import installer
from bill_of_materials import BillError, Shipped
from installer import Content, InstallerError
from registration import RegistrationError
from signing import Signer, SigningError

ROOT = Path(__file__).resolve().parents[2]
# The first moment that archives can express.
_OLDEST_EPOCH = 315532800
_DLLS = ("FolivoPlugin.dll", "UNZIP32.DLL")
_SYMBOLS = ("FolivoPlugin.pdb", "FolivoPlugin.dll.debug")


class PackageError(Exception):
    """A step cannot be made; the text says why."""


def epoch() -> int:
    """The time that all files bear: SOURCE_DATE_EPOCH, if it is set."""
    text = os.environ.get("SOURCE_DATE_EPOCH") or "0"
    if not text.isdecimal():
        raise PackageError(f"SOURCE_DATE_EPOCH is no number of seconds: {text}")
    return max(int(text), _OLDEST_EPOCH)


class Package:
    """The steps. `work` holds `files`, the archive's content, and `dist`, the results."""

    def __init__(self, build: Path, work: Path, version: str):
        self._build = build
        self._files = work / "files"
        self._dist = work / "dist"
        self._version = version
        self._name = f"FolivoPlugin-{version}"

    def collect(self) -> None:
        for folder in (self._files, self._dist):
            shutil.rmtree(folder, ignore_errors=True)
            folder.mkdir(parents=True)
        for name in (*_DLLS, "UNZIP32-LICENSE.txt"):
            self._copy(self._build / name, name)
        for name in _SYMBOLS:
            self._copy(self._build / name, f"symbols/{name}")
        self._copy(ROOT / "LICENSE", "LICENSE.txt")
        for name in ("CHANGELOG.md", "README.md", "THIRD_PARTY_NOTICES.md"):
            self._copy(ROOT / name, name)
        for kind in ("*.md", "*.html", "images/*.png"):
            for file in sorted((ROOT / "docs").glob(kind)):
                self._copy(file, file.relative_to(ROOT).as_posix())

    def _copy(self, source: Path, name: str) -> None:
        if not source.exists():
            raise PackageError(f"{source} is missing")
        target = self._files / name
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(source, target)

    def sign_dlls(self) -> None:
        signer = Signer(os.environ)
        for name in _DLLS:
            signer.sign(self._files / name)

    def _installer_file(self) -> Path:
        return self._dist / f"{self._name}-x64.msi"

    def installer(self) -> None:
        files = self._files
        content = Content(
            plugin=files / "FolivoPlugin.dll",
            unzip=files / "UNZIP32.DLL",
            unzip_license=files / "UNZIP32-LICENSE.txt",
            license=files / "LICENSE.txt",
            notices=files / "THIRD_PARTY_NOTICES.md",
            icon=ROOT / "resources/folivo.ico",
        )
        installer.make(ROOT, content, self._version, epoch(), self._installer_file())

    def sign_installer(self) -> None:
        Signer(os.environ).sign(self._installer_file())

    def bill(self) -> None:
        shipped = [
            Shipped(self._files / "FolivoPlugin.dll", self._build / "FolivoPlugin.map"),
            Shipped(self._files / "UNZIP32.DLL", ROOT / "build/libraries/UNZIP32.map", "unzip"),
        ]
        text = bill_of_materials.make(ROOT, shipped, self._version, epoch())
        (self._dist / f"{self._name}.spdx.json").write_text(text, encoding="utf-8")

    def archive(self) -> None:
        stamp = time.gmtime(epoch())[:6]
        with zipfile.ZipFile(self._dist / f"{self._name}-x64.zip", "w") as archive:
            for file in sorted(self._files.rglob("*")):
                if file.is_file():
                    name = file.relative_to(self._files).as_posix()
                    entry = zipfile.ZipInfo(f"{self._name}-x64/{name}", stamp)
                    entry.external_attr = 0o100644 << 16
                    entry.compress_type = zipfile.ZIP_DEFLATED
                    archive.writestr(entry, file.read_bytes())

    def checksums(self) -> None:
        lines = [
            f"{hashlib.sha256(file.read_bytes()).hexdigest()}  {file.name}\n"
            for file in sorted(self._dist.iterdir())
        ]
        (self._dist / "SHA256SUMS").write_text("".join(lines), encoding="ascii")


def main(step: str, *folders: Path) -> int:
    try:
        if step == "check":
            Signer(os.environ)
        else:
            version = (ROOT / "version.txt").read_text(encoding="ascii").strip()
            getattr(Package(*folders, version), step.replace("-", "_"))()
    except (BillError, InstallerError, PackageError, RegistrationError, SigningError) as error:
        print(error, file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], *map(Path, sys.argv[2:])))
