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

    def test_pictures_stand_in_order_in_their_scenes_before_the_checks(self):
        first, second = Scene(0, "first scene"), Scene(1, "second scene")
        first.check("size", 7, 7)
        first.pictures = [(pathlib.Path("/x/1-a.png"), "the browser"),
                          (pathlib.Path("/x/2-b.png"), "the prompt")]
        second.check("name", "n", "n")
        second.pictures = [(pathlib.Path("/x/3-c.png"), "the dialog")]
        page = self.page(first, second)
        order = ["All 2 checks of 2 scenes are as expected.", "first scene", 'src="1-a.png"',
                 "The browser", 'src="2-b.png"', "The prompt", ">size<", "second scene",
                 'src="3-c.png"', "The dialog", ">name<"]
        places = [page.find(text) for text in order]
        self.assertNotIn(-1, places)
        self.assertEqual(places, sorted(places))
        self.assertNotIn('class="not"', page)

    def test_a_failure_is_marked(self):
        scene = Scene(3, "scene")
        scene.check("size", 7, 8)
        page = self.page(scene)
        self.assertIn("NOT as expected: scene 3.", page)
        self.assertIn('<td>7</td><td>8</td><td class="not">NOT</td>', page)

    def test_texts_are_escaped(self):
        scene = Scene(0, "<b>")
        scene.check("a & b", "<i>", '"')
        scene.pictures = [(pathlib.Path('1"-a.png'), '<u> "x"')]
        page = self.page(scene)
        for text in ("&lt;b&gt;", "a &amp; b", "&lt;i&gt;", "&lt;u&gt;", 'src="1&quot;-a.png"'):
            self.assertIn(text, page)


if __name__ == "__main__":
    unittest.main()
