#!/usr/bin/env python3
"""Checks the page that the demo leaves: tools/demo/page.py."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools" / "demo"))

from page import write_page  # noqa: E402
from report import Scene  # noqa: E402


class DemoPageTest(unittest.TestCase):
    def page(self, *scenes):
        with tempfile.TemporaryDirectory() as folder:
            return write_page(pathlib.Path(folder), list(scenes)).read_text(encoding="utf-8")

    def test_scenes_show_their_pictures_and_then_their_checks(self):
        scene = Scene(0, "first <scene>")
        scene.check("a & b", "<i>", "<i>")
        scene.pictures = [(pathlib.Path('/x/1"-a.png'), "the browser"),
                          (pathlib.Path("/x/2-b.png"), "the prompt")]
        page = self.page(scene)
        order = ["All 1 checks of 1 scenes are as expected.", "first &lt;scene&gt;",
                 'src="1&quot;-a.png"', "The browser", 'src="2-b.png"', "The prompt",
                 ">a &amp; b<", "&lt;i&gt;"]
        places = [page.find(text) for text in order]
        self.assertNotIn(-1, places)
        self.assertEqual(places, sorted(places))
        self.assertNotIn('class="not"', page)

    def test_failure_and_scene_without_checks_are_marked(self):
        scene = Scene(3, "scene")
        self.assertIn("Nothing was checked.", self.page(scene))
        scene.check("size", 7, 8)
        page = self.page(scene)
        self.assertIn("NOT as expected: scene 3.", page)
        self.assertIn('<td>7</td><td>8</td><td class="not">NOT</td>', page)


if __name__ == "__main__":
    unittest.main()
