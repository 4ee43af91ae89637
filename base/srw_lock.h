#pragma once

#include <windows.h>

/// Holds a lock exclusively for its scope. An SRW lock needs no initialisation that could fail, and
/// waiting for it allocates nothing. Not recursive.
class CSrwLock {
 public:
  explicit CSrwLock(SRWLOCK& lock) : m_lock(lock) { AcquireSRWLockExclusive(&m_lock); }
  ~CSrwLock() { ReleaseSRWLockExclusive(&m_lock); }
  CSrwLock(const CSrwLock&) = delete;
  CSrwLock& operator=(const CSrwLock&) = delete;

 private:
  SRWLOCK& m_lock;
};
