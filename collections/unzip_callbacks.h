#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include "collections/unzip_interface.h"

// What the unzip library calls. It is C code that no exception may pass through: none of these lets
// one out.

/// Registers, for its scope, the list that `UnzipListEntry` fills. One at a time in the process.
class CUnzipListingTarget {
 public:
  explicit CUnzipListingTarget(CSimpleArray<CStringW>& entries);
  ~CUnzipListingTarget();
  CUnzipListingTarget(const CUnzipListingTarget&) = delete;
  CUnzipListingTarget& operator=(const CUnzipListingTarget&) = delete;

  /// False when there was no memory for one of the names.
  bool HasAllNames() const;
};

/// Writes the library's text to standard output.
int WINAPI UnzipPrint(LPSTR text, unsigned long length);
/// Never reached by a listing or an extraction into memory.
int WINAPI UnzipReplace(LPSTR entry);
/// Supplies no password.
int WINAPI UnzipPassword(LPSTR buffer, int size, LPCSTR prompt, LPCSTR entry);

/// Appends the entry's name to the registered list.
void WINAPI UnzipListEntry(unsigned long size, unsigned long compressedSize, unsigned factor,
                           unsigned month, unsigned day, unsigned year, unsigned hour,
                           unsigned minute, char flag, LPSTR entry, LPSTR method, unsigned long crc,
                           char crypt);

/// Writes one line about the entry to standard output.
void WINAPI UnzipReportEntry(unsigned long size, unsigned long compressedSize, unsigned factor,
                             unsigned month, unsigned day, unsigned year, unsigned hour,
                             unsigned minute, char flag, LPSTR entry, LPSTR method,
                             unsigned long crc, char crypt);
