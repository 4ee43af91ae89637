#!/usr/bin/env python3
"""Writes the symbols of a DLL for the debuggers of Windows: write_pdb.py FILE.dll FILE.pdb

The DLL has a build id, its DWARF is in FILE.dll.debug. The PDB has that build id, the functions
under their names in the source, all symbols under their linkage names, and the lines. It has no
types, so no variables.
"""

import struct
import sys
from pathlib import Path

from binary import Image, functions, lines, symbols
from codeview import Module, function_reference, public_symbol
from dbi import debug_info_stream, empty_type_stream, info_stream
from msf import msf_file
from names import NameTable, symbol_hash_table

# The first four have these numbers in every PDB.
_STREAMS = ("old directory", "info", "types", "debug info", "ids", "names", "link info", "module",
            "globals", "publics", "symbols", "sections", "type hash", "id hash")
_NUMBERS = {name: number for number, name in enumerate(_STREAMS)}


def pdb(dll: Path, debug_file: Path) -> bytes:
    image = Image(dll)
    guid, age = image.build_id()
    found = symbols(image, debug_file)
    code = functions(image, found)
    names = NameTable()
    module = Module(dll.name)
    records = b""
    globals_, publics, addresses = [], [], []
    for function in code:
        globals_.append((function.name, len(records)))
        records += function_reference(function, module.add_function(function))
    for symbol in found:
        publics.append((symbol.name, len(records)))
        addresses.append(len(records))
        records += public_symbol(symbol)
    files = module.add_lines(lines(image, debug_file), {function.place for function in code}, names)
    public_table = symbol_hash_table(publics)
    streams = {
        "info": info_stream(guid, age, {"/LinkInfo": _NUMBERS["link info"],
                                        "/names": _NUMBERS["names"]}),
        "types": empty_type_stream(_NUMBERS["type hash"]),
        "debug info": debug_info_stream(image, age, module, files, _NUMBERS),
        "ids": empty_type_stream(_NUMBERS["id hash"]),
        "names": names.stream(),
        "module": module.stream(),
        "globals": symbol_hash_table(globals_),
        "publics": struct.pack("<4IH2x2I", len(public_table), 4 * len(addresses), 0, 0, 0, 0, 0)
        + public_table + struct.pack(f"<{len(addresses)}I", *addresses),
        "symbols": records,
        "sections": image.section_headers,
    }
    return msf_file([streams.get(name, b"") for name in _STREAMS])


def main() -> None:
    dll, target = map(Path, sys.argv[1:])
    try:
        target.write_bytes(pdb(dll, dll.with_name(dll.name + ".debug")))
    except (OSError, ValueError) as error:
        sys.exit(f"{target} cannot be written: {error}")


if __name__ == "__main__":
    main()
