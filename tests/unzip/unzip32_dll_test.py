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
    def test_the_three_functions_are_all_that_is_exported(self):
        table = headers().split("[Ordinal/Name Pointer] Table", 1)[1].split("\n\n", 1)[0]
        self.assertEqual(sorted(re.findall(r"(\w+)$", table, re.MULTILINE)),
                         ["UzpFreeMemBuffer", "Wiz_SingleEntryUnzip", "Wiz_UnzipToMemory"])

    def test_only_system_dlls_are_imported_and_nothing_that_changes_the_locale(self):
        imported = {name.lower() for name in re.findall(r"DLL Name: (\S+)", headers())}
        self.assertEqual(imported, {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "user32.dll"})
        self.assertNotIn("setlocale", headers())

    def test_it_is_for_64_bits_without_a_build_time_and_with_memory_protections(self):
        for text in "pei-x86-64", "HIGH_ENTROPY_VA", "DYNAMIC_BASE", "NX_COMPAT":
            self.assertIn(text, headers())
        self.assertRegex(headers(), r"Time/Date\s+Thu Jan  1 00:00:00 1970")

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
