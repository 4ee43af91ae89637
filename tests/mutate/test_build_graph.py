"""What is built from what, on a small build file."""

import pathlib
import unittest

from build_graph import BuildGraph, parse_headers, parse_statements

BUILD = """
build lib.dir/a.cpp.obj: CXX_lib /s/a.cpp || order_lib
build liblib.a: AR_lib lib.dir/a.cpp.obj || libother.a
build test.dir/t.cpp.obj: CXX_test /s/t.cpp | pch.gch || order_test
build tests/t.exe: LINK_t test.dir/t.cpp.obj | liblib.a $
  with$ blank.a || libother.a plug.dll
build plug.dll libplug.dll.a: LINK_plug plug.dir/p.cpp.obj
build plug.dir/p.cpp.obj: CXX_plug /s/p.cpp
build tests/u.exe: LINK_u u.dir/u.cpp.obj || libother.a doubles
build doubles: phony CMakeFiles/doubles
build CMakeFiles/doubles: phony tests/double/X.DLL
build tests/double/X.DLL: LINK_x x.obj
build u.dir/u.cpp.obj: CXX_u /s/u.cpp
build made.h | ${cmake_ninja_workdir}made.h: CUSTOM_COMMAND /s/x.idl
build t: phony tests/t.exe
"""
HEADERS = """lib.dir/a.cpp.obj: #deps 2, deps mtime 1 (VALID)
    /s/a.cpp
    /s/a.h

test.dir/t.cpp.obj: #deps 1, deps mtime 1 (VALID)
    /s/t.cpp
plug.dir/p.cpp.obj: #deps 1, deps mtime 1 (STALE)
    /s/a.h
"""


class BuildGraphTest(unittest.TestCase):
    def setUp(self):
        self.graph = BuildGraph(parse_statements(BUILD), parse_headers(HEADERS))

    def sees(self, program, file):
        return bool(self.graph.parts([program]) & self.graph.may_be_built_from(file))

    def test_from_a_source_over_its_library_to_the_program(self):
        self.assertEqual(self.graph.files_built_from(["/s/a.cpp"]),
                         {"lib.dir/a.cpp.obj", "liblib.a", "tests/t.exe"})

    def test_headers_come_from_what_ninja_recorded(self):
        self.assertIn("tests/t.exe", self.graph.files_built_from(["/s/a.h"]))
        self.assertNotIn("plug.dll", self.graph.files_built_from(["/s/a.h"]))

    def test_objects_without_a_record_may_include_any_header(self):
        self.assertEqual(self.graph.unknown, {"plug.dir/p.cpp.obj", "u.dir/u.cpp.obj"})
        self.assertTrue(self.sees("tests/u.exe", "/s/a.h"))
        self.assertFalse(self.sees("tests/u.exe", "/s/a.cpp"))

    def test_a_program_sees_the_sources_of_what_it_loads(self):
        self.assertTrue(self.sees("tests/t.exe", "/s/p.cpp"))
        self.assertFalse(self.sees("tests/u.exe", "/s/p.cpp"))

    def test_libraries_behind_the_name_of_a_target_are_parts(self):
        self.assertEqual(self.graph.parts(["tests/u.exe"]), {"tests/u.exe", "tests/double/X.DLL"})

    def test_an_order_alone_is_no_part(self):
        self.assertEqual(self.graph.parts(["tests/t.exe"]), {"tests/t.exe", "plug.dll"})

    def test_paths_as_programs_get_them(self):
        folder = pathlib.Path("/b")
        for path, expected in [("Z:/b/plug.dll", "plug.dll"), ("/b/tests/t.exe", "tests/t.exe"),
                               ("/b/none.exe", None), ("--option", None), ("/usr/bin/x", None)]:
            self.assertEqual(self.graph.resolve(path, folder), expected)


if __name__ == "__main__":
    unittest.main()
