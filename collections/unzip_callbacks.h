#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include "unzip/unzip_interface.h"

// The functions that the unzip library calls. They throw nothing, as the library is C code.

/// Makes `entries` the list that `UnzipListEntry` appends to, until scope end. Only one such object
/// may exist in the process at a time.
class CUnzipListingTarget {
 public:
  explicit CUnzipListingTarget(CSimpleArray<CStringW>& entries);
  ~CUnzipListingTarget();
  CUnzipListingTarget(const CUnzipListingTarget&) = delete;
  CUnzipListingTarget& operator=(const CUnzipListingTarget&) = delete;

  /// False when a name could not be appended because of a failed allocation.
  bool HasAllNames() const;
};

/// Writes the library's text to standard output and returns `length`.
int WINAPI UnzipPrint(LPSTR text, unsigned long length);
/// Refuses to replace a file. Neither a listing nor an extraction to memory asks.
int WINAPI UnzipReplace(LPSTR entry);
/// Returns that there is no password.
int WINAPI UnzipPassword(LPSTR buffer, int size, LPCSTR prompt, LPCSTR entry);

/// What the library tells about an entry: the parameters of UnzipMessageFn, in their order.
struct CUnzipEntry {
  unsigned long size;
  unsigned long compressedSize;
  unsigned factor;
  unsigned month;
  unsigned day;
  unsigned year;
  unsigned hour;
  unsigned minute;
  char flag;
  LPSTR name;
  LPSTR method;
  unsigned long crc;
  char crypt;
};

/// Appends the entry's name to the registered list.
void ListUnzipEntry(const CUnzipEntry& entry);

/// Writes one line about the entry to standard output.
void ReportUnzipEntry(const CUnzipEntry& entry);

/// An UnzipMessageFn that passes its arguments on as one structure.
template <void (*handle)(const CUnzipEntry&), typename... Arguments>
void WINAPI PassUnzipEntry(Arguments... arguments) {
  handle(CUnzipEntry{arguments...});
}
inline constexpr UnzipMessageFn UnzipListEntry = PassUnzipEntry<ListUnzipEntry>;
inline constexpr UnzipMessageFn UnzipReportEntry = PassUnzipEntry<ReportUnzipEntry>;
