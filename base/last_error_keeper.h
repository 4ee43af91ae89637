#pragma once

#include <windows.h>

/// Keeps the thread's last error over a clean-up call, so that closing a handle on the way out
/// never hides why the caller failed.
class CLastErrorKeeper {
 public:
  CLastErrorKeeper() : m_error(GetLastError()) {}
  ~CLastErrorKeeper() { SetLastError(m_error); }
  CLastErrorKeeper(const CLastErrorKeeper&) = delete;
  CLastErrorKeeper& operator=(const CLastErrorKeeper&) = delete;

 private:
  const DWORD m_error;
};
