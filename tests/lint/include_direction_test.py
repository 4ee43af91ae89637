#!/usr/bin/env python3
"""Checks tools/lint/include_direction.py on small trees."""

import pathlib
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


class IncludeDirectionTest(unittest.TestCase):
    def check(self, path, text):
        """What is printed about a tree of one file."""
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder, path)
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text(text)
            run = subprocess.run(
                ["/usr/bin/python3", ROOT / "tools/lint/include_direction.py", folder],
                capture_output=True, text=True)
            self.assertEqual((run.stderr, run.returncode), ("", 1 if run.stdout else 0))
            return run.stdout

    def test_only_downwards_is_accepted(self):
        for path, text, refused in (
                ("plugin/a.cpp", '#include "browser/b.h"\n#include "collections/c.h"\n', ""),
                ("browser/b.h", '#include "download/d.h"\n#include <atlbase.h>\n', ""),
                ("download/d.h", '#include "ui/u.h"\n#include "download/e.h"\n', ""),
                ("ui/u.h", '#include "base/b.h"\n#include "resource.h"\n', ""),
                ("com/c.h", '#include "folivo_plugin_h.h"\n', ""),
                ("tests/ui/t.cpp", '#include "download/d.h"\n', ""),
                ("ui/u.cpp", '#include <windows.h>\n#include "download/d.h"\n', "2: download/d.h"),
                ("ui/u.cpp", '#include "folivo_plugin_h.h"\n', "1: folivo_plugin_h.h"),
                ("browser/b.h", '#include "collections/c.h"\n', "1: collections/c.h"),
                ("ui/u.h", '#include "com/c.h"\n', "1: com/c.h"),
                ("ui/u.h", '#include "tests/support/x.h"\n', "1: tests/support/x.h"),
                ("plugin/p.rc", "  # include <tools/x.h>\n", "1: tools/x.h"),
                ("atl/detail/a.h", '#include "../../ui/u.h"\n', "1: ../../ui/u.h"),
                ("atl/detail/a.h", '#include "../b.h"\n', "")):
            with self.subTest(path=path, text=text):
                line, _, header = refused.partition(": ")
                folder = path.split("/")[0]
                expected = f"{path}:{line}: {folder} must not include {header}\n" if line else ""
                self.assertEqual(self.check(path, text), expected)

    def test_file_of_the_root_that_hides_a_header_is_refused(self):
        for name, header in (("VERSION", "version"), ("Windows.h", "windows.h")):
            self.assertEqual(self.check(name, ""),
                             f"{name}: hides the system's header <{header}> on Windows\n")
        self.assertEqual(self.check("version.txt", "") + self.check("ui/list", ""), "")


if __name__ == "__main__":
    unittest.main()
