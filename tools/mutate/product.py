"""Which files get faults: the product's, or those that patterns choose."""

import fnmatch
import re

SOURCES = (".cpp", ".c", ".h")
# Layers of the build that are no part of the product.
OTHERS = {"atl", "resources", "tools", "bench", "tests"}
LAYERS = re.compile(r"foreach\(folder IN ITEMS ([^)]*)\)")


def product_folders(cmake_lists):
    """The product's folders, out of the text of the checkout's CMakeLists.txt."""
    match = LAYERS.search(cmake_lists)
    if not match:
        raise ValueError("CMakeLists.txt has no list of folders")
    return [folder for folder in match.group(1).split() if folder not in OTHERS]


def chosen_files(files, folders, patterns):
    """The sources among `files` that a pattern matches: of a whole path, or a folder's name.
    Without patterns those in the product's `folders`."""
    sources = [file for file in files if file.endswith(SOURCES)]
    if not patterns:
        return sorted(file for file in sources if file.split("/")[0] in folders)
    return sorted(file for file in sources if any(
        fnmatch.fnmatch(file, pattern) or fnmatch.fnmatch(file, f"{pattern.rstrip('/')}/*")
        for pattern in patterns))
