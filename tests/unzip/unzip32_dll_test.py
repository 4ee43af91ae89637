#!/usr/bin/env python3
"""Checks UNZIP32.DLL from the outside: unzip32_dll_test.py BUILD_DIR."""

import pathlib
import re
import subprocess
import sys
import unittest

BUILD = pathlib.Path(sys.argv.pop())
DLL = BUILD / "UNZIP32.DLL"


def headers():
    return subprocess.run(["/usr/bin/x86_64-w64-mingw32-objdump", "-p", DLL],
                          check=True, capture_output=True, text=True).stdout


class Unzip32DllTest(unittest.TestCase):
    def test_it_is_for_64_bits(self):
        self.assertIn("pei-x86-64", headers())

    def test_the_three_functions_are_all_that_is_exported(self):
        table = headers().split("[Ordinal/Name Pointer] Table", 1)[1]
        names = re.findall(r"^\s+\[\s*\d+\]\s+(?:\+base\[\s*\d+\]\s+)?(?:[0-9a-f]+\s+)?(\w+)$",
                           table.split("\n\n", 1)[0], re.MULTILINE)
        self.assertEqual(sorted(names),
                         ["UzpFreeMemBuffer", "Wiz_SingleEntryUnzip", "Wiz_UnzipToMemory"])

    def test_only_system_dlls_are_imported(self):
        imported = {name.lower() for name in re.findall(r"DLL Name: (\S+)", headers())}
        self.assertEqual(imported, {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "user32.dll"})

    def test_it_has_no_means_to_change_the_locale(self):
        self.assertNotIn("setlocale", headers())

    def test_no_time_of_building_is_inside(self):
        self.assertRegex(headers(), r"Time/Date\s+Thu Jan  1 00:00:00 1970")

    def test_memory_protections_are_on(self):
        for protection in "HIGH_ENTROPY_VA", "DYNAMIC_BASE", "NX_COMPAT":
            self.assertIn(protection, headers())

    def test_it_says_that_it_is_altered(self):
        data = DLL.read_bytes()
        version = data[data.index("VS_VERSION_INFO".encode("utf-16-le")):].decode("utf-16-le",
                                                                                 "replace")
        version = version[:version.index("Translation")]
        self.assertIn("altered build, not an original release", version)
        self.assertIn("UNZIP32-LICENSE.txt", version)
        self.assertNotRegex(version, "(?i)info-?zip|wiz")

    def test_the_license_lies_beside(self):
        text = (BUILD / "UNZIP32-LICENSE.txt").read_text()
        self.assertIn("This is version 2009-Jan-02 of the Info-ZIP license.", text)
        self.assertIn('This software is provided "as is,"', text)
        self.assertIn("Altered versions", text)


if __name__ == "__main__":
    unittest.main()
