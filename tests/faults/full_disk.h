#pragma once

#include <windows.h>

#include "tests/support/import_spy.h"

/// Lets one of this program's writes of more than a thousand bytes meet a full disk.
class CFullDisk {
 public:
  /// `failing`: which one, counted from 1.
  explicit CFullDisk(int failing)
      : m_write("kernel32.dll", "WriteFile",
                [this, failing](HANDLE file, LPCVOID data, DWORD size, LPDWORD written,
                                LPOVERLAPPED overlapped) {
                  if (size <= 1000 || ++m_writes != failing) {
                    return m_write.CallOriginal(file, data, size, written, overlapped);
                  }
                  *written = 0;
                  SetLastError(ERROR_DISK_FULL);
                  return FALSE;
                }) {}
  CFullDisk(const CFullDisk&) = delete;
  CFullDisk& operator=(const CFullDisk&) = delete;

  /// How many such writes there were, the failed one included.
  int Writes() const { return m_writes; }

 private:
  int m_writes = 0;
  const CImportSpy<&WriteFile> m_write;
};
