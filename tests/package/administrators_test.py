#!/usr/bin/env python3
"""Runs the command lines of docs/administrators.md under Wine as they stand there:
administrators_test.py BUILD_DIR. installer_test.py looks closer at what they do."""

import re
import shutil
import unittest

import installer_test  # takes the build folder
import packages
import wine

PAGE = (packages.ROOT / "docs/administrators.md").read_text(encoding="utf-8")
setUpModule = installer_test.setUpModule


def run(*lines, version=packages.VERSION):
    """Gives the exit code of a batch file, that of the first line that fails, and what it printed."""
    batch = installer_test.DRIVE / "lines.bat"
    body = "".join(f"{line}\n@if errorlevel 1 exit %errorlevel%\n" for line in lines)
    batch.write_text(f"@cd /d C:\\\n@set V={version}\n{body}", newline="\r\n")
    return wine.run("cmd", "/c", r"C:\lines.bat")


class AdministratorsLinesTest(unittest.TestCase):
    def test_lines_of_the_installer(self):
        for package, version in ((installer_test.older, packages.VERSION),
                                 (installer_test.newer, installer_test.NEWER)):
            shutil.copy(package, installer_test.DRIVE / f"FolivoPlugin-{version}-x64.msi")
        lines = dict(re.findall(r"^\| ([a-z][^|]+?) \| (?:add )?`([^`]+)` \|$", PAGE, re.M))
        install, repair = lines.pop("install, or upgrade an older version"), lines.pop("repair")
        remove = lines.pop("remove")
        policy = lines.pop("install with the [elevation policy](#the-elevation-policy)")
        self.assertEqual(run(f"{install} {policy}")[0], installer_test.FATAL)  # no application

        # Wine's installer does not find another folder by itself.
        folder = lines["install to another folder"]
        dll = wine.unix_path(folder.split('"')[1]) / "FolivoPlugin.dll"
        self.assertEqual(run(f"{install} {' '.join(lines.values())}")[0], 0)
        self.assertTrue(dll.exists())
        dll.unlink()
        self.assertEqual(run(f"{repair} {folder}")[0], 0)
        self.assertTrue(dll.exists())
        self.assertEqual(run(install, f"{remove} {folder}", version=installer_test.NEWER)[0], 0)
        self.assertFalse(dll.exists())

    def test_lines_of_the_registry(self):
        lines = re.findall(r"^ +(reg .+)$", PAGE, re.M)
        queries = [re.sub("^reg add", "reg query", re.sub(r" /t .+| /f$", "", line))
                   for line in lines if line.startswith("reg add")]
        deletions = [line for line in lines if line.startswith("reg delete")]
        added = [line for line in lines if line not in deletions]
        self.assertEqual((len(added), len(deletions)), (10, 1))
        code, printed = run(*added, *queries, *deletions)
        self.assertEqual(code, 0, printed)
        self.assertEqual(re.findall(r"REG_\w+ +(\w+)", printed),
                         [f"0x{data}" if kind == "DWORD" else data for kind, data in
                          re.findall(r"/t REG_(\w+) /d (\d)", "\n".join(added))])


if __name__ == "__main__":
    unittest.main(argv=["administrators_test"])
