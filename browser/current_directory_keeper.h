#pragma once

#include <windows.h>

/// Puts the process's current directory back at scope end. The directory is the process's, and
/// browser windows have threads of their own: where scopes overlap, the first one in remembers the
/// directory and the last one out puts it back, or moves to the system's directory where that
/// cannot be done. Needs no memory.
class CCurrentDirectoryKeeper {
 public:
  CCurrentDirectoryKeeper() {
    const CLock lock;
    if (s_scopes++ == 0) {
      const DWORD length = GetCurrentDirectoryW(MAX_PATH, s_directory);
      s_isKnown = length > 0 && length < MAX_PATH;
    }
  }
  ~CCurrentDirectoryKeeper() {
    const CLock lock;
    if (--s_scopes == 0 && !(s_isKnown && SetCurrentDirectoryW(s_directory))) {
      MoveToSystemDirectory();
    }
  }
  CCurrentDirectoryKeeper(const CCurrentDirectoryKeeper&) = delete;
  CCurrentDirectoryKeeper& operator=(const CCurrentDirectoryKeeper&) = delete;

 private:
  class CLock {
   public:
    CLock() { AcquireSRWLockExclusive(&s_lock); }
    ~CLock() { ReleaseSRWLockExclusive(&s_lock); }
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;
  };

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
