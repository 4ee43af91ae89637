#!/usr/bin/env python3
"""Checks what users install, from the outside: release_dll_test.py FolivoPlugin.dll CHECKOUT."""

import binascii
import pathlib
import re
import subprocess
import sys
import unittest

CHECKOUT = sys.argv.pop()
DLL = pathlib.Path(sys.argv.pop())
DEBUG_FILE = DLL.with_name(DLL.name + ".debug")

# Parts of every Windows that the DLL supports. The exact list: each further one makes loading it
# slower, in every browser window.
IMPORTED_DLLS = [
    "advapi32.dll", "comctl32.dll", "gdi32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll",
    "oleaut32.dll", "shell32.dll", "shlwapi.dll", "user32.dll", "version.dll", "wininet.dll",
]
# What every program that includes <iostream> brings along, and what names exceptions in words. The
# plug-in uses neither; a library that does so adds up to 900 KB to every browser's start.
UNUSED_CODE = re.compile(
    r"\bstd::(?:__cxx11::)?(?:locale|ios_base|basic_(?:ios|streambuf|filebuf|stringbuf|[io]stream"
    r"|iostream|[io]?stringstream)|codecvt|ctype|num_get|num_put|moneypunct)\b|__cxa_demangle\b")
MOST_BYTES = 650_000


def objdump(*arguments):
    return subprocess.run(["/usr/bin/x86_64-w64-mingw32-objdump", *arguments],
                          check=True, capture_output=True, text=True).stdout


class ReleaseDllTest(unittest.TestCase):
    def test_imported_dlls(self):
        imported = [name.lower() for name in re.findall(r"DLL Name: (\S+)", objdump("-p", DLL))]
        self.assertEqual(sorted(imported), IMPORTED_DLLS)

    def test_sections_can_be_mapped(self):
        self.assertRegex(objdump("-p", DLL), r"FileAlignment\s+00001000\n")

    def test_no_time_of_building_is_inside(self):
        headers = objdump("-p", DLL)
        self.assertRegex(headers, r"Time/Date\s+Thu Jan  1 00:00:00 1970")
        self.assertRegex(headers, r"Time/Date stamp\s+0\n")
        made = re.search(rb"Created by WIDL version \S+ at ([^\n]*)", DLL.read_bytes())
        self.assertEqual(made.group(1), b"Thu Jan  1 00:00:00 1970")

    def test_no_place_of_building_is_inside(self):
        # With a folder of the checkout behind it: alone it may be as short as "/src".
        place = re.compile(re.escape(CHECKOUT.encode()) + rb"/(build|atl|download|plugin|ui)\b")
        for file in DLL, DEBUG_FILE, DLL.with_suffix(".pdb"):
            self.assertIsNone(place.search(file.read_bytes().replace(b"\\", b"/")),
                              file.name)

    def test_symbols_are_in_the_file_beside(self):
        self.assertNotRegex(objdump("-h", DLL), r"\.debug_info")
        self.assertRegex(objdump("-h", DEBUG_FILE), r"\.debug_info")
        self.assertIn("no symbols", objdump("-t", DLL))

    def test_the_file_beside_is_the_one_that_the_dll_names(self):
        # The section holds the file's name, padded, and its CRC-32.
        link = DLL.read_bytes()
        offset = int(re.search(r"\.gnu_debuglink\s+\S+\s+\S+\s+\S+\s+(\S+)",
                               objdump("-h", DLL)).group(1), 16)
        name = link[offset:link.index(b"\0", offset)].decode()
        self.assertEqual(name, DEBUG_FILE.name)
        checksum = offset + (len(name) + 4) // 4 * 4
        self.assertEqual(int.from_bytes(link[checksum:checksum + 4], "little"),
                         binascii.crc32(DEBUG_FILE.read_bytes()))

    def test_size(self):
        self.assertLessEqual(DLL.stat().st_size, MOST_BYTES)

    def test_no_streams_and_locales(self):
        names = subprocess.run(["/usr/bin/x86_64-w64-mingw32-nm", "--demangle", DEBUG_FILE],
                               check=True, capture_output=True, text=True).stdout
        self.assertIn("DllGetClassObject", names)
        self.assertEqual([line for line in names.splitlines() if UNUSED_CODE.search(line)], [])

    def test_memory_protections_are_on(self):
        headers = objdump("-p", DLL)
        for protection in "HIGH_ENTROPY_VA", "DYNAMIC_BASE", "NX_COMPAT":
            self.assertIn(protection, headers)


if __name__ == "__main__":
    unittest.main()
