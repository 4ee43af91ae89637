"""What the DLL imports, and what it calls of that."""

import re
import subprocess
from pathlib import Path

from programs import MeasurementError

# Functions that work on memory and text alone. Any other, such as one on files, the registry, the
# network, windows or modules, is told by name.
_PLAIN = {
    "kernel32.dll": {"GetProcessHeap", "HeapAlloc", "HeapFree", "HeapReAlloc"},
    "msvcrt.dll": {
        "_wcsicmp", "_wcsnicmp", "free", "malloc", "memcmp", "memcpy", "memmove", "memset",
        "realloc", "wcschr", "wcscmp", "wcslen", "wcsncmp", "wcsrchr", "wcsstr",
    },
    "oleaut32.dll": {
        "SysAllocString", "SysAllocStringLen", "SysFreeString", "SysStringLen",
        "VariantChangeType", "VariantClear", "VariantCopy", "VariantCopyInd", "VariantInit",
    },
}


def calls_of_other_kinds(lines: list[str], events: int) -> dict[str, int]:
    """The calls by function, of what `bench_helper calls` has counted, that are not plain."""
    counts: dict[str, int] = {}
    for line in lines[:-1]:
        library, function, calls = line.split()
        if function not in _PLAIN.get(library.lower(), ()):
            counts[function] = int(calls)
    # Every event copies its URL: without a call nothing was counted.
    if not lines or float(lines[-1]) < events:
        raise MeasurementError("the calls of imported functions were not counted")
    return counts


def imported_dlls(dll: Path) -> list[str]:
    headers = subprocess.run(["/usr/bin/x86_64-w64-mingw32-objdump", "-p", dll],
                             check=True, capture_output=True, text=True).stdout
    return re.findall(r"DLL Name: (\S+)", headers)
