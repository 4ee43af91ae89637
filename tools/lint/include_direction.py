#!/usr/bin/env python3
"""Checks that the product's includes point one way: plugin -> browser, collections -> download ->
ui -> base -> atl, with com and the generated interfaces beside them, and that no part of the
product includes tests or tools. Also that no file of the root, which is on the include path, hides a
system's header from a compiler that ignores the case of names.

Usage: include_direction.py [ROOT]
"""

import glob
import os
import pathlib
import re
import sys

# Which folders each part of the product may include, besides itself.
ALLOWED = {
    "atl": set(),
    "resources": set(),
    "interfaces": set(),
    "base": {"atl"},
    "com": {"atl", "base", "interfaces"},
    "ui": {"atl", "base", "resources"},
    "download": {"atl", "base", "resources", "ui"},
    "browser": {"atl", "base", "com", "download", "interfaces", "resources", "ui"},
    "collections": {"atl", "base", "com", "download", "interfaces", "resources", "ui", "unzip"},
    "plugin": {"atl", "base", "browser", "collections", "com", "download", "interfaces", "resources",
               "ui"},
    "unzip": set(),
}
FOLDERS = set(ALLOWED) | {"bench", "tests", "tools"}
# What the build makes of interfaces/folivo_plugin.idl: a layer of its own, below all that include it.
GENERATED = {"folivo_plugin_h.h": "interfaces"}
INCLUDE = re.compile(r'^\s*#\s*include\s*["<]([^">]+)[">]', re.MULTILINE)
SUFFIXES = {".h", ".cpp", ".rc", ".idl"}
HEADER_FOLDERS = ("/usr/lib/gcc/x86_64-w64-mingw32/*-win32/include/c++", "/usr/x86_64-w64-mingw32/include")


def included_folder(root, file, target):
    """The first folder, seen from the root, of what `file` includes as `target`."""
    if ".." in target.split("/"):
        target = os.path.relpath(os.path.join(file.parent, target), root)
    elif "/" not in target:
        # Else a system's header, or one of the same folder.
        return GENERATED.get(target)
    return target.split("/")[0]


def violations(root):
    """Yields (file, line, included path) for each include that points the wrong way."""
    for folder, allowed in ALLOWED.items():
        for file in sorted((root / folder).rglob("*")):
            if file.suffix not in SUFFIXES:
                continue
            text = file.read_text(encoding="utf-8")
            for match in INCLUDE.finditer(text):
                target = match.group(1)
                other = included_folder(root, file, target)
                if other in FOLDERS - allowed - {folder}:
                    yield file, text.count("\n", 0, match.start()) + 1, target


def hiding_files(root):
    """Yields the names of files in the root that a case-insensitive `#include <...>` would find."""
    headers = set()
    for pattern in HEADER_FOLDERS:
        folders = glob.glob(pattern)
        if not folders:
            sys.exit(f"no headers in {pattern}")
        headers |= {name.lower() for folder in folders for name in os.listdir(folder)}
    for file in sorted(root.iterdir()):
        if file.is_file() and file.name.lower() in headers:
            yield file.name


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".").resolve()
    found = list(violations(root))
    for file, line, target in found:
        folder = file.relative_to(root).parts[0]
        print(f"{file.relative_to(root)}:{line}: {folder} must not include {target}")
    hiding = list(hiding_files(root))
    for name in hiding:
        print(f"{name}: hides the system's header <{name.lower()}> on Windows")
    return 1 if found or hiding else 0


if __name__ == "__main__":
    sys.exit(main())
