#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include <memory>

// Reads zip archives with Info-ZIP's unzip library, "UNZIP32.DLL". Each use finds it on the search
// path and loads it. Functions return whether they succeeded; the library's texts, and the reason
// why it could not be loaded, go to standard output. May be called on any thread; a lock allows one
// listing or extraction at a time. A call from inside another one on the same thread fails.

/// Finds and loads the library and looks up its functions. Returns null on failure; otherwise the
/// caller frees the module. The functions below call this while they hold their lock.
HMODULE LoadUnzipLibrary();

/// Appends the names of the archive's entries, in the archive's order, to `entries`. On failure
/// some of them may have been appended.
bool ListZipEntries(const CStringW& zipPath, CSimpleArray<CStringW>* entries);

/// Extracts one entry to memory that the caller owns. `size` is its length in bytes. Clears `size`
/// and `data` first; returns false when one of the pointers is null.
bool UnzipEntryToMemory(const CStringW& zipPath, const CStringW& entryName, unsigned long* size,
                        std::unique_ptr<char[]>* data);
