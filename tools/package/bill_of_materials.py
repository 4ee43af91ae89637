"""What the DLLs are made of, in SPDX 2.3: from dependencies.lock and the linker's maps."""

import hashlib
import json
import os
import re
import subprocess
import time
import uuid
from dataclasses import dataclass
from pathlib import Path

_MAKER = "Organization: MERLO Technologies"
_UNKNOWN = "NOASSERTION"
_NAME_SPACE = uuid.UUID("f4b7d0a7-64f3-4f0c-8a3b-7e8d3f1c2a52")

# The licenses of what may be linked; anything else needs a decision first.
_LICENSES = {
    "boost1.74": "BSL-1.0",
    "tinyxml": "Zlib",
    "unzip": "Info-ZIP",
    "mingw-w64-x86-64-dev": "ZPL-2.1",
    "gcc-mingw-w64-x86-64-win32": "GPL-3.0-or-later WITH GCC-exception-3.1",
    "g++-mingw-w64-x86-64-win32": "GPL-3.0-or-later WITH GCC-exception-3.1",
}
# The libraries that are built from the sources in dependencies.lock.
_BUILT = {"libboost_thread.a": "boost1.74", "libtinyxml.a": "tinyxml"}


class BillError(Exception):
    """Something was linked that this does not know."""


@dataclass(frozen=True)
class Shipped:
    """A file that is shipped, with the linker's map, and the source it is built from if not ours."""

    file: Path
    map: Path
    source: str | None = None


def linked_archives(map_text: str) -> set[str]:
    """The archives that members were taken from, as the linker names them."""
    section = map_text.split("\n\nDiscarded input sections", 1)[0]
    section = section.split("\n\nMemory Configuration", 1)[0]
    return set(re.findall(r"^(\S[^\n]*\.a)\([^()\n]+\)", section, re.MULTILINE))


def _debian_packages(files: list[str]) -> dict[str, str]:
    """The Debian package of each file."""
    paths = {file: os.path.realpath(file) for file in files}
    done = subprocess.run(
        ["dpkg", "-S", *paths.values()], capture_output=True, text=True, check=False
    )
    owners = dict(reversed(line.split(": ", 1)) for line in done.stdout.splitlines())
    if missing := set(paths.values()) - owners.keys():
        raise BillError(f"{', '.join(sorted(missing))}: linked, but of no Debian package")
    return {file: owners[path].split(":")[0] for file, path in paths.items()}


def origins(archives: set[str], deps: Path) -> set[str]:
    """The components that archives belong to, without the product's own."""
    outer = sorted(archive for archive in archives if archive.startswith("/"))
    built = {archive for archive in outer if Path(archive).parent == deps / "lib"}
    found = {archive: _BUILT.get(Path(archive).name, "") for archive in built}
    if system := [archive for archive in outer if archive not in built]:
        found |= _debian_packages(system)
    for archive, name in found.items():
        if name not in _LICENSES:
            raise BillError(f"{archive} is linked; say in {Path(__file__).name} what it is")
    return set(found.values())


def _locked(lock: str) -> tuple[list[str], dict[str, list[str]]]:
    """The packages that building needs, and the sources: name, version, checksums."""
    tools, sources = [], {}
    for line in lock.splitlines():
        words = line.split("#")[0].split()
        if words[:1] == ["package"] and len(words) == 2:
            tools.append(words[1])
        elif words[:1] == ["source"]:
            sources[words[1]] = words[2:]
    return tools, sources


def _installed(package: str) -> str:
    return subprocess.run(
        ["dpkg-query", "-W", "-f", "${Version}", package],
        capture_output=True, text=True, check=True,
    ).stdout  # fmt: skip


def _spdx_id(kind: str, name: str) -> str:
    return f"SPDXRef-{kind}-" + re.sub(r"[^A-Za-z0-9.-]", "-", name)


def _package(name: str, version: str, license_id: str, **further: object) -> dict[str, object]:
    return {
        "SPDXID": _spdx_id("Package", name),
        "name": name,
        "versionInfo": version,
        "downloadLocation": _UNKNOWN,
        "filesAnalyzed": False,
        "licenseConcluded": license_id,
        "licenseDeclared": license_id,
        "copyrightText": _UNKNOWN,
        **further,
    }


def _purl(name: str, version: str, arch: str) -> list[dict[str, str]]:
    locator = f"pkg:deb/debian/{name}@{version}?arch={arch}&distro=bookworm"
    return [
        {
            "referenceCategory": "PACKAGE-MANAGER",
            "referenceType": "purl",
            "referenceLocator": locator.replace("g++", "g%2B%2B").replace("+", "%2B"),
        }
    ]


def _source_package(name: str, locked: list[str]) -> dict[str, object]:
    version, *checksums = locked
    what = "its .dsc" if len(checksums) == 1 else "its .orig.tar.gz and .debian.tar.xz"
    return _package(
        name, version, _LICENSES[name],
        supplier="Organization: Debian",
        checksums=[{"algorithm": "SHA256", "checksumValue": sum} for sum in checksums],
        sourceInfo=f"Debian source package, altered as THIRD_PARTY_NOTICES.md says; SHA256 of {what}",
        externalRefs=_purl(name, version, "source"),
    )  # fmt: skip


def _debian_binary(name: str, license_id: str) -> dict[str, object]:
    version = _installed(name)
    return _package(
        name, version, license_id,
        supplier="Organization: Debian",
        externalRefs=_purl(name, version, "amd64"),
    )  # fmt: skip


def _file(shipped: Shipped) -> dict[str, object]:
    data = shipped.file.read_bytes()
    return {
        "SPDXID": _spdx_id("File", shipped.file.name),
        "fileName": f"./{shipped.file.name}",
        "fileTypes": ["BINARY"],
        "checksums": [
            {"algorithm": name, "checksumValue": hashlib.new(name.lower(), data).hexdigest()}
            for name in ("SHA1", "SHA256")
        ],
        "licenseConcluded": _LICENSES[shipped.source] if shipped.source else "MIT",
        "licenseInfoInFiles": [_UNKNOWN],
        "copyrightText": _UNKNOWN,
    }


def make(root: Path, shipped: list[Shipped], version: str, epoch: int) -> str:
    """The document, as JSON."""
    tools, sources = _locked((root / "dependencies.lock").read_text(encoding="utf-8"))
    product = _package(
        "FolivoPlugin", version, "MIT", supplier=_MAKER, primaryPackagePurpose="LIBRARY"
    )
    components: dict[str, dict[str, object]] = {}
    relations = [("SPDXRef-DOCUMENT", "DESCRIBES", product["SPDXID"])]

    def component(name: str) -> object:
        if name not in components:
            components[name] = (
                _source_package(name, sources[name])
                if name in sources
                else _debian_binary(name, _LICENSES[name])
            )
        return components[name]["SPDXID"]

    files = []
    for item in shipped:
        described = _file(item)
        files.append(described)
        relations.append((product["SPDXID"], "CONTAINS", described["SPDXID"]))
        if item.source:
            relations.append((described["SPDXID"], "GENERATED_FROM", component(item.source)))
        archives = linked_archives(item.map.read_text(encoding="utf-8"))
        linked = origins(archives, root / "build/deps")
        if not linked:
            raise BillError(f"{item.map} names no archive")
        for name in sorted(linked):
            relations.append((described["SPDXID"], "STATIC_LINK", component(name)))
    hashes = sorted(item["checksums"][0]["checksumValue"] for item in files)
    code = hashlib.sha1("".join(hashes).encode()).hexdigest()
    product |= {
        "filesAnalyzed": True,
        "packageVerificationCode": {"packageVerificationCodeValue": code},
        "licenseInfoFromFiles": [_UNKNOWN],
    }
    for tool in sorted(set(tools) - set(components)):
        components[tool] = _debian_binary(tool, _UNKNOWN)
    for tool in sorted(tools):
        relations.append((components[tool]["SPDXID"], "BUILD_TOOL_OF", product["SPDXID"]))

    document = {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"FolivoPlugin-{version}",
        "creationInfo": {
            "created": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(epoch)),
            "creators": [_MAKER, "Tool: FolivoPlugin-run-package"],
        },
        "packages": [product, *(components[name] for name in sorted(components))],
        "files": files,
        "relationships": [
            {"spdxElementId": left, "relationshipType": kind, "relatedSpdxElement": right}
            for left, kind, right in relations
        ],
    }
    # Another content is another document.
    content = json.dumps(document, sort_keys=True)
    document["documentNamespace"] = f"urn:uuid:{uuid.uuid5(_NAME_SPACE, content)}"
    return json.dumps(document, indent=2) + "\n"
