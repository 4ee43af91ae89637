"""Where the bytes of the DLL come from, by the linker's map."""

import re
from collections import Counter
from pathlib import Path

# An input section: name, address, size, file. A long name has a line of its own.
_INPUT = re.compile(
    r"^ (?P<name>[.$*]\S+|\.\S+)\s+0x[0-9a-f]+\s+0x(?P<size>[0-9a-f]+) (?P<file>\S.*)$", re.M)
_OUTPUT = re.compile(r"^(\.\w+)", re.M)
_NOT_IN_FILE = (".bss", ".debug", ".stab", ".comment")
# Functions of templates and inline ones have a section each, named after them: `.text$_ZN3ATL...`.
# Those of these namespaces are in the objects of whoever uses them.
_NAMESPACES = (
    ("atl", re.compile(r"\$_ZN?[TSVIKLGRh0-9v_n]*?3ATL")),
    ("Boost", re.compile(r"\$_ZN?[TSVIKLGRh0-9v_n]*?5boost")),
    ("C++ library", re.compile(r"\$_ZN?K?(?:St|S[absiod]|9__gnu_cxx|10__cxxabiv1)")),
)
# First match wins.
_FILES = (
    ("resources", re.compile(r"\.res$")),
    ("Boost", re.compile(r"libboost_\w+\.a\(")),
    ("TinyXML", re.compile(r"libtinyxml\.a\(")),
    ("C++ library", re.compile(r"libstdc\+\+\.a\(|libgcc(?:_eh)?\.a\(")),
    ("C runtime", re.compile(
        r"lib(?:mingw32|mingwex|msvcrt|moldname|uuid)\.a\(|crt\w*\.o$|dllcrt2\.o$")),
    ("imports", re.compile(r"lib\w+\.a\(lib\w+\.o\)|^dll stuff$|fake$")),
)
_PRODUCT = "product"
_REST = "headers and padding"


def _origin(section: str, file: str) -> str:
    for origin, pattern in _FILES:
        if pattern.search(file):
            return origin
    for origin, pattern in _NAMESPACES:
        if pattern.search(section):
            return origin
    return _PRODUCT


def sizes_by_origin(map_file: Path, dll: Path) -> list[tuple[str, int]]:
    """Origins and their bytes, the largest first; together the size of the DLL."""
    text = map_file.read_text(encoding="utf-8", errors="replace")
    _, _, text = text.partition("Linker script and memory map")
    sizes: Counter[str] = Counter()
    output = ""
    # Names that are too long for their column stand on a line of their own.
    for line in re.sub(r"^( \.\S+)\n +", r"\1 ", text, flags=re.M).splitlines():
        if match := _OUTPUT.match(line):
            output = match[1]
        elif not output.startswith(_NOT_IN_FILE) and (match := _INPUT.match(line)):
            sizes[_origin(match["name"], match["file"])] += int(match["size"], 16)
    sizes[_REST] = dll.stat().st_size - sizes.total()
    return sizes.most_common()


def print_origins(dll: Path) -> None:
    map_file = dll.with_suffix(".map")
    parts = sizes_by_origin(map_file, dll)
    print("Of these bytes: " + ", ".join(f"{origin} {size:,}" for origin, size in parts) + ".")
