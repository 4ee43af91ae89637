#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include <memory>

// Reading zip archives with Info-ZIP's unzip library, "UNZIP32.DLL", which is looked for on the
// search path and loaded at each use. Failures are told by the result; what the library says, and
// why it could not be used, goes to standard output. Listings and extractions may be called on any
// thread; one waits for the other. A call from inside another one of the same thread fails.

/// Finds, loads and binds the library. Null when that fails; else the caller frees the module. Used
/// by the functions below, inside their lock.
HMODULE LoadUnzipLibrary();

/// Appends the names of the archive's entries, in the archive's order, to `entries`. A failure may
/// have appended some of them.
bool ListZipEntries(const CStringW& zipPath, CSimpleArray<CStringW>* entries);

/// Extracts one entry: `size` in bytes, and a copy of them that the caller owns. Both are cleared
/// first; false at once when one is null.
bool UnzipEntryToMemory(const CStringW& zipPath, const CStringW& entryName, unsigned long* size,
                        std::unique_ptr<char[]>* data);
