#pragma once

#include <atlbase.h>
#include <process.h>
#include <windows.h>

#include <deque>
#include <utility>

#include "tests/support/import_spy.h"
#include "tests/support/user.h"

/// Follows the threads that one module starts while it lives: this program, with the product's and
/// the tests' own, or a DLL. The system's are ignored. One at a time.
class CStartedThreads {
 public:
  /// `importer`: the DLL; null for this program.
  explicit CStartedThreads(HMODULE importer = nullptr)
      : m_begin(
            "msvcrt.dll", "_beginthreadex",
            [this](auto... arguments) {
              const uintptr_t thread = m_begin.CallOriginal(arguments...);
              HANDLE copy = nullptr;
              if (DuplicateHandle(GetCurrentProcess(), reinterpret_cast<HANDLE>(thread),
                                  GetCurrentProcess(), &copy, SYNCHRONIZE, FALSE, 0)) {
                AcquireSRWLockExclusive(&m_lock);
                m_threads.emplace_back(copy);
                ReleaseSRWLockExclusive(&m_lock);
              }
              return thread;
            },
            importer) {}

  /// Waits until all of them have ended, and forgets them. False when one has not in time.
  [[nodiscard]] bool WaitForEnds() {
    AcquireSRWLockExclusive(&m_lock);
    const std::deque<CHandle> threads = std::exchange(m_threads, {});
    ReleaseSRWLockExclusive(&m_lock);
    bool ended = true;
    for (const CHandle& thread : threads) {
      ended = WaitForSingleObject(thread, PatienceMs()) == WAIT_OBJECT_0 && ended;
    }
    return ended;
  }

 private:
  SRWLOCK m_lock = SRWLOCK_INIT;
  std::deque<CHandle> m_threads;
  const CImportSpy<&_beginthreadex> m_begin;
};
