#pragma once

#include <windows.h>

#include "base/srw_lock.h"

/// Restores the process's current directory at scope end. All threads share that directory, and
/// each browser window has its own thread: of scopes that overlap, the first one saves the
/// directory, and each one restores it at its end, or changes to the system directory when that
/// fails. Allocates no memory.
class CCurrentDirectoryKeeper {
 public:
  CCurrentDirectoryKeeper() {
    const CSrwLock lock(s_lock);
    if (s_scopes++ == 0) {
      const DWORD length = GetCurrentDirectoryW(MAX_PATH, s_directory);
      s_isKnown = length > 0 && length < MAX_PATH;
    }
  }
  ~CCurrentDirectoryKeeper() {
    const CSrwLock lock(s_lock);
    --s_scopes;
    if (!s_isKnown || !SetCurrentDirectoryW(s_directory)) {
      MoveToSystemDirectory();
    }
  }
  CCurrentDirectoryKeeper(const CCurrentDirectoryKeeper&) = delete;
  CCurrentDirectoryKeeper& operator=(const CCurrentDirectoryKeeper&) = delete;

 private:
  static void MoveToSystemDirectory() {
    const UINT length = GetSystemDirectoryW(s_directory, MAX_PATH);
    if (length > 0 && length < MAX_PATH) {
      SetCurrentDirectoryW(s_directory);
    }
  }

  static inline SRWLOCK s_lock = SRWLOCK_INIT;
  static inline int s_scopes = 0;
  static inline wchar_t s_directory[MAX_PATH];
  static inline bool s_isKnown = false;
};
