"""What regsvr32 writes for the add-on, as rows of an installer's tables.

Reads what the DLL is built from: the registration scripts in resources/, the names and identifiers
that their tokens stand for, and the type library's source.
"""

import itertools
import re
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path

CLASSES_ROOT, LOCAL_MACHINE = 0, 2
_ROOTS = {"HKCR": CLASSES_ROOT, "HKLM": LOCAL_MACHINE}
# The system's own marshaller of interfaces that a type library describes.
_TYPE_LIBRARY_MARSHALER = "{00020424-0000-0000-C000-000000000046}"
# Installer text: the installed path of the DLL, and of its folder.
DLL = "FolivoPlugin.dll"
_DLL_PATH = f"[#{DLL}]"
_DLL_FOLDER = "[INSTALLFOLDER]"


class RegistrationError(Exception):
    """A source says something that this cannot turn into tables."""


@dataclass(frozen=True)
class Value:
    """A text value, in the registry's view for programs of so many bits. No name: the key's default."""

    root: int
    key: str
    name: str
    text: str
    bits: int = 64


@dataclass(frozen=True)
class EmptyKey:
    """A key that has no value of its own."""

    root: int
    key: str


@dataclass(frozen=True)
class OwnKey:
    """A key that goes with all below it. `before_install`: also before it is written anew."""

    root: int
    key: str
    before_install: bool
    bits: int = 64


Row = Value | EmptyKey | OwnKey


def _first(pattern: str, file: Path) -> str:
    match = re.search(pattern, file.read_text(encoding="utf-8"))
    if not match:
        raise RegistrationError(f"{file}: nothing matches {pattern}")
    return match[1]


def _scripts(root: Path) -> Iterator[tuple[Path, dict[str, str]]]:
    """Each registration script with what its tokens stand for."""
    common = {
        "MODULE": _DLL_PATH,
        "MODULETYPE": "InprocServer32",
        "APPID": _first(r'FOLIVO_APPLICATION_ID "(\{[-\w]+\})"', root / "com/class_registration.h"),
        "MODULEGUID": TypeLibrary(root).identifier,
    }
    names = {}
    for source in sorted(root.glob("*/*.cpp")):
        for script in re.findall(
            r"UpdateClassRegistry\((IDR_\w+), kFriendlyName", source.read_text(encoding="utf-8")
        ):
            names[script] = _first(r'kFriendlyName\[\] = L"([^"]*)"', source)
    resources = (root / "resources/folivo_plugin.rc").read_text(encoding="utf-8")
    scripts = re.findall(r'^(IDR_\w+)\s+REGISTRY\s+"([^"]+)"', resources, re.MULTILINE)
    if not scripts or not names.keys() <= {script for script, _ in scripts}:
        raise RegistrationError("resources/folivo_plugin.rc lacks a registration script")
    for script, file in scripts:
        friendly = {"FriendlyName": names[script]} if script in names else {}
        yield root / "resources" / file, common | friendly


class _Script:
    """Parses one registration script; replaces its tokens."""

    def __init__(self, text: str, tokens: dict[str, str]):
        def replaced(match: re.Match[str]) -> str:
            if match[1] not in tokens:
                raise RegistrationError(f"%{match[1]}% stands for nothing")
            return tokens[match[1]]

        text = re.sub(r"%(\w+)%", replaced, text)
        self._words = re.findall(r"'(?:[^']|'')*'|[^\s'=]+|=", text)

    def _next(self) -> str:
        return self._words.pop(0) if self._words else ""

    def _name(self) -> str:
        word = self._next()
        return word[1:-1].replace("''", "'") if word.startswith("'") else word

    def _text_value(self) -> str:
        if (kind := self._next()) != "s":
            raise RegistrationError(f"values of type {kind} are not known")
        return self._name()

    def rows(self) -> Iterator[Row]:
        while root := self._next():
            if root not in _ROOTS:
                raise RegistrationError(f"{root} is not a root")
            yield from self._block(_ROOTS[root], "", owned=False)

    def _block(self, root: int, parent: str, owned: bool) -> Iterator[Row]:
        if self._next() != "{":
            raise RegistrationError(f"{parent or root}: no block")
        while (word := self._next()) != "}":
            if not word:
                raise RegistrationError(f"{parent or root}: the block has no end")
            if word == "val":
                name = self._name()
                if self._next() != "=":
                    raise RegistrationError(f"{parent}: {name} has no value")
                yield Value(root, parent, name, self._text_value())
                continue
            shared, forced = word == "NoRemove", word == "ForceRemove"
            if shared or forced:
                word = self._name()
            key = f"{parent}\\{word.strip(chr(39))}".lstrip("\\")
            # Only the uppermost key goes; and none that others use, too.
            if not shared and not owned:
                yield OwnKey(root, key, forced)
            valued = self._words[:1] == ["="]
            if valued:
                self._next()
                yield Value(root, key, "", self._text_value())
            nested = self._words[:1] == ["{"]
            if nested:
                yield from self._block(root, key, owned or not shared)
            elif not valued:
                yield EmptyKey(root, key)


class TypeLibrary:
    """The type library's identifiers and names."""

    def __init__(self, root: Path):
        source = (root / "interfaces/folivo_plugin.idl").read_text(encoding="utf-8")
        source = re.sub(r"//.*", "", source)
        declarations = re.findall(
            r"\[([^\[\]]*uuid\([^\[\]]*)\]\s*(library|interface|coclass)\s+(\w+)", source
        )
        self.interfaces: list[tuple[str, str]] = []
        for attributes, kind, name in declarations:
            identifier = "{" + re.search(r"uuid\(([-\w]+)\)", attributes)[1].upper() + "}"
            if kind == "library":
                self.identifier = identifier
                self.version = re.search(r"version\(([.\d]+)\)", attributes)[1]
                self.name = re.search(r'helpstring\("([^"]*)"\)', attributes)[1]
            elif kind == "interface":
                self.interfaces.append((identifier, name))

    def rows(self) -> Iterator[Row]:
        """What the system writes when the type library is registered."""
        library = f"TypeLib\\{self.identifier}"
        version = f"{library}\\{self.version}"
        yield OwnKey(CLASSES_ROOT, library, False)
        for key, text in (
            (version, self.name),
            (f"{version}\\0\\win64", _DLL_PATH),
            (f"{version}\\FLAGS", "0"),
            (f"{version}\\HELPDIR", _DLL_FOLDER),
        ):
            yield Value(CLASSES_ROOT, key, "", text)
        # 32-bit and 64-bit programs have interfaces of their own.
        for bits, (identifier, name) in itertools.product((64, 32), self.interfaces):
            key = f"Interface\\{identifier}"
            yield OwnKey(CLASSES_ROOT, key, False, bits)
            for below, value, text in (
                ("", "", name),
                ("\\ProxyStubClsid", "", _TYPE_LIBRARY_MARSHALER),
                ("\\ProxyStubClsid32", "", _TYPE_LIBRARY_MARSHALER),
                ("\\TypeLib", "", self.identifier),
                ("\\TypeLib", "Version", self.version),
            ):
                yield Value(CLASSES_ROOT, key + below, value, text, bits)


def rows(root: Path) -> list[Row]:
    """All that regsvr32 writes, with installer text where paths are."""
    result: list[Row] = []
    for file, tokens in _scripts(root):
        try:
            result += _Script(file.read_text(encoding="ascii"), tokens).rows()
        except RegistrationError as error:
            raise RegistrationError(f"{file}: {error}") from None
    return result + list(TypeLibrary(root).rows())
