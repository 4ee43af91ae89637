#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include <memory>

// Reading zip archives with Info-ZIP's unzip library, "UNZIP32.DLL", which is looked for on the
// search path and loaded at each use. Failures are told by the result; what the library says, and
// why it could not be used, goes to standard output. One thread only: the list that a listing fills
// and the bound functions are the module's.

/// Finds, loads and binds the library. Null when that fails; else the caller frees the module.
HMODULE LoadUnzipLibrary();

/// Appends the names of the archive's entries, in the archive's order, to `entries`.
bool ListZipEntries(const CStringW& zipPath, CSimpleArray<CStringW>* entries);

/// Extracts one entry: `size` in bytes, and a copy of them that the caller owns. Both are cleared
/// first; false at once when one is null.
bool UnzipEntryToMemory(const CStringW& zipPath, const CStringW& entryName, unsigned long* size,
                        std::unique_ptr<char[]>* data);
