#pragma once

#include <atlbase.h>
#include <atlstr.h>

/// Restores the process's current directory at scope end.
class CCurrentDirectoryKeeper {
 public:
  CCurrentDirectoryKeeper() {
    const DWORD size = GetCurrentDirectoryW(0, nullptr);  // with the terminator
    const DWORD length = GetCurrentDirectoryW(size, m_directory.GetBuffer(static_cast<int>(size)));
    m_directory.ReleaseBuffer(length < size ? static_cast<int>(length) : 0);
  }
  ~CCurrentDirectoryKeeper() {
    if (!m_directory.IsEmpty()) {
      SetCurrentDirectoryW(m_directory);
    }
  }
  CCurrentDirectoryKeeper(const CCurrentDirectoryKeeper&) = delete;
  CCurrentDirectoryKeeper& operator=(const CCurrentDirectoryKeeper&) = delete;

 private:
  CStringW m_directory;  // empty when the system could not return it
};
