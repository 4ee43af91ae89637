#!/usr/bin/env python3
"""Checks how bench/origins.py adds up a linker's map."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "bench"))

from origins import sizes_by_origin  # noqa: E402

MAP = """Archive member included to satisfy reference by file (symbol)
 .text          0x0000000000000000    0x9999 not/a/part.obj

Linker script and memory map

.text           0x0000000320381000     0x2000
 *(.text)
 .text          0x0000000320381000      0x100 browser/libbrowser.a(notice.cpp.obj)
 .text$_ZN3ATL7CWindow4HideEv
                0x0000000320381100       0x20 browser/libbrowser.a(notice.cpp.obj)
 .text$_ZNK5boost6thread6get_idEv
                0x0000000320381120       0x10 download/libdownload.a(progress_dialog.cpp.obj)
 .text$_ZNSt6vectorIiED1Ev
                0x0000000320381130        0x8 ui/libui.a(button_row.cpp.obj)
 .text          0x0000000320381140        0x4 /usr/lib/gcc/x86_64/libstdc++.a(new_op.o)
 .text          0x0000000320381150        0x2 /build/deps/lib/libboost_thread.a(thread.cpp.obj)
 .text          0x0000000320381160        0x3 /build/deps/lib/libtinyxml.a(tinyxml.cpp.obj)
 .text          0x0000000320381170        0x5 /usr/lib/x86_64/libmingwex.a(lib64_libmingwex_a-gdtoa.o)

.bss            0x0000000320391000     0x2000
 .bss           0x0000000320391000     0x2000 browser/libbrowser.a(notice.cpp.obj)

.idata          0x0000000320392000      0x200
 .idata$7       0x0000000320392000        0x6 /usr/lib/x86_64/libkernel32.a(libkernel32s01502.o)

.rsrc           0x0000000320393000     0x6000
 *(.rsrc)
 .rsrc          0x0000000320393000       0x70 plugin/folivo_plugin.rc.res

.debug_info     0x0000000320394000     0x9000
 .debug_info    0x0000000320394000     0x9000 browser/libbrowser.a(notice.cpp.obj)
"""
EXPECTED = {
    "product": 0x100, "atl": 0x20, "Boost": 0x12, "C++ library": 0xC, "TinyXML": 3, "C runtime": 5,
    "imports": 6, "resources": 0x70,
}


class OriginsTest(unittest.TestCase):
    def test_each_section_counts_for_where_it_came_from(self):
        with tempfile.TemporaryDirectory() as folder:
            map_file, dll = pathlib.Path(folder, "p.map"), pathlib.Path(folder, "p.dll")
            map_file.write_text(MAP)
            dll.write_bytes(bytes(1000))
            sizes = dict(sizes_by_origin(map_file, dll))
        self.assertEqual(sizes.pop("headers and padding"), 1000 - sum(EXPECTED.values()))
        self.assertEqual(sizes, EXPECTED)


if __name__ == "__main__":
    unittest.main()
