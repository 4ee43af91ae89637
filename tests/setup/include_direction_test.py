#!/usr/bin/env python3
"""Checks tools/lint/include_direction.py on small trees."""

import pathlib
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


class IncludeDirectionTest(unittest.TestCase):
    def check(self, files):
        """Returns (exit code, lines) for a tree given as {path: text}."""
        with tempfile.TemporaryDirectory() as folder:
            for path, text in files.items():
                file = pathlib.Path(folder, path)
                file.parent.mkdir(parents=True, exist_ok=True)
                file.write_text(text)
            run = subprocess.run(
                ["/usr/bin/python3", ROOT / "tools/lint/include_direction.py", folder],
                capture_output=True, text=True)
            self.assertEqual(run.stderr, "")
            return run.returncode, run.stdout.splitlines()

    def test_downwards_is_fine(self):
        self.assertEqual(self.check({
            "plugin/a.cpp": '#include "browser/b.h"\n#include "collections/c.h"\n',
            "browser/b.h": '#include "download/d.h"\n#include <atlbase.h>\n',
            "download/d.h": '#include "ui/u.h"\n#include "download/e.h"\n',
            "ui/u.h": '#include "base/b.h"\n#include "resource.h"\n',
            "com/c.h": '#include "folivo_plugin_h.h"\n',
        }), (0, []))

    def test_upwards_is_named_with_file_and_line(self):
        self.assertEqual(
            self.check({"ui/u.cpp": '#include <windows.h>\n#include "download/d.h"\n'}),
            (1, ["ui/u.cpp:2: ui must not include download/d.h"]))

    def test_generated_header_is_a_layer_though_its_name_has_no_folder(self):
        self.assertEqual(self.check({"ui/u.cpp": '#include "folivo_plugin_h.h"\n'}),
                         (1, ["ui/u.cpp:1: ui must not include folivo_plugin_h.h"]))

    def test_sideways_is_refused(self):
        self.assertEqual(self.check({"browser/b.h": '#include "collections/c.h"\n'})[0], 1)
        self.assertEqual(self.check({"ui/u.h": '#include "com/c.h"\n'})[0], 1)

    def test_tests_and_tools_are_refused(self):
        self.assertEqual(self.check({"ui/u.h": '#include "tests/support/x.h"\n'})[0], 1)
        self.assertEqual(self.check({"plugin/p.rc": '  # include <tools/x.h>\n'})[0], 1)

    def test_relative_paths_are_followed(self):
        self.assertEqual(self.check({"atl/detail/a.h": '#include "../../ui/u.h"\n'})[0], 1)
        self.assertEqual(self.check({"atl/detail/a.h": '#include "../b.h"\n'}), (0, []))

    def test_file_of_the_root_that_hides_a_header_is_refused(self):
        self.assertEqual(self.check({"VERSION": "1", "Windows.h": "", "version.txt": "1", "ui/list": ""}),
                         (1, ["VERSION: hides the system's header <version> on Windows",
                              "Windows.h: hides the system's header <windows.h> on Windows"]))

    def test_tests_may_include_everything(self):
        self.assertEqual(self.check({"tests/ui/t.cpp": '#include "download/d.h"\n'}), (0, []))


if __name__ == "__main__":
    unittest.main()
