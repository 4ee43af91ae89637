#pragma once

#include <windows.h>

/// Restores the thread's last error at scope end, so that a clean-up call does not overwrite the
/// error code of the call that failed.
class CLastErrorKeeper {
 public:
  CLastErrorKeeper() : m_error(GetLastError()) {}
  ~CLastErrorKeeper() { SetLastError(m_error); }
  CLastErrorKeeper(const CLastErrorKeeper&) = delete;
  CLastErrorKeeper& operator=(const CLastErrorKeeper&) = delete;

 private:
  const DWORD m_error;
};
