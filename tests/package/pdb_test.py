#!/usr/bin/env python3
"""Checks the PDB beside the release DLL, as a debugger of Windows reads it:
pdb_test.py FolivoPlugin.dll."""

import pathlib
import posixpath
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from itertools import pairwise

DLL = pathlib.Path(sys.argv.pop())
PDB = DLL.with_suffix(".pdb")
DEBUG_FILE = DLL.with_name(DLL.name + ".debug")
# Exported, member, static, template.
PRODUCT = {"DllGetClassObject", "CIEDownload::Invoke", "(anonymous namespace)::DropPrefix",
           "ATL::CComObject<CQDCDownload>::Release"}
GNU = "/usr/bin/x86_64-w64-mingw32-"
LLVM = "/usr/bin/llvm-"


def run(*command, text=None):
    return subprocess.run([str(word) for word in command], input=text, check=True,
                          stdout=subprocess.PIPE, encoding="utf-8").stdout


def functions():
    """For each function, an address in its middle, where a crash would be, and its names."""
    rows = [row.split() for row in run(GNU + "nm", "--defined-only", "--numeric-sort",
                                       DEBUG_FILE).splitlines()]
    rows = [(int(address, 16), name) for address, kind, name in rows if kind in "Tt"]
    readable = run(GNU + "c++filt", "--no-params",
                   text="\n".join(name for _, name in rows)).splitlines()
    names = {begin: set() for begin, _ in rows}
    for (begin, _), name in zip(rows, readable, strict=True):
        # Others are the names of sections.
        if not name.startswith("."):
            names[begin].add(name)
    # The next one follows up to 15 bytes later. The last one is a list that the linker makes.
    return [((begin + max(begin, following - 16)) // 2, names[begin])
            for begin, following in pairwise(names) if names[begin]]


def lines_by_dwarf(addresses):
    """File and line of each address; the line is "0" where the DWARF has none."""
    text = run(GNU + "addr2line", "-e", DEBUG_FILE, text="\n".join(map(hex, addresses)))
    for row in text.splitlines():
        file, line = re.fullmatch(r"(.*):(\d+|\?)(?: \(discriminator \d+\))?", row).groups()
        yield posixpath.normpath(file), line.replace("?", "0")


class PdbTest(unittest.TestCase):
    def test_build_id_is_that_of_the_dll(self):
        record = run(LLVM + "readobj-19", "--coff-debug-directory", DLL)
        self.assertEqual(re.search(r"PDBFileName: (.*)", record)[1], PDB.name)
        guid = re.search(r"PDBGUID: (.*)", record)[1]
        summary = run(LLVM + "pdbutil-19", "dump", "--summary", PDB)
        self.assertEqual(re.search(r"GUID: (.*)", summary)[1], guid)
        for age in re.search(r"PDBAge: (\d+)", record)[1], re.search(r"Age: (\d+)", summary)[1]:
            self.assertEqual(age, "1")

    def test_every_function_is_found_by_address(self):
        addresses, names = zip(*functions())
        self.assertLessEqual(PRODUCT, set().union(*names))
        with tempfile.TemporaryDirectory() as folder:
            # Away from the DWARF.
            for file in DLL, PDB:
                shutil.copy(file, folder)
            found = run(LLVM + "symbolizer-19", "--functions=short", "--no-inlines",
                        "--output-style=GNU", f"--obj={folder}/{DLL.name}",
                        text="\n".join(map(hex, addresses))).splitlines()
        for address, expected, (file, line), name, place in zip(
                addresses, names, lines_by_dwarf(addresses), found[::2], found[1::2], strict=True):
            with self.subTest(f"{address:x}"):
                self.assertIn(name, expected)
                found_file, found_line = place.replace("\\", "/").rsplit(":", 1)
                self.assertEqual(found_line, line)
                if expected & PRODUCT:
                    self.assertNotEqual(line, "0")
                # The DWARF's path begins with the folder in which the compiler ran.
                if line != "0":
                    self.assertTrue(f"/{file}".endswith(f"/{found_file.lstrip('/')}"),
                                    f"{found_file}, not {file}")

    def test_functions_are_found_by_name(self):
        for name in "DllGetClassObject", "CIEDownload::Invoke":
            with self.subTest(name):
                found = run(LLVM + "pdbutil-19", "dump", "--globals", f"--global-name={name}", PDB)
                self.assertRegex(found, rf"S_PROCREF .*`{name}`")

    def test_every_part_can_be_read(self):
        self.assertIn("Section Headers", run(LLVM + "pdbutil-19", "dump", "--all", PDB))


if __name__ == "__main__":
    unittest.main()
