#pragma once

#include <windows.h>

#include "tests/support/import_spy.h"

/// Lets one of this program's writes of more than a thousand bytes meet a full disk.
class CFullDisk {
 public:
  /// `failing`: which one, counted from 1.
  explicit CFullDisk(int failing) : m_failing(failing) {}

  /// How many such writes there were, the failed one included.
  int Writes() const { return m_writes; }

 private:
  const int m_failing;
  int m_writes = 0;
  const CImportSpy<&WriteFile> m_write{
      "kernel32.dll", "WriteFile",
      [this](HANDLE file, LPCVOID data, DWORD size, LPDWORD written, auto overlapped) {
        if (size <= 1000 || ++m_writes != m_failing) {
          return m_write.CallOriginal(file, data, size, written, overlapped);
        }
        *written = 0;
        SetLastError(ERROR_DISK_FULL);
        return FALSE;
      }};
};
