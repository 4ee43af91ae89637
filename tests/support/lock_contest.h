#pragma once

#include <windows.h>

#include <atomic>
#include <functional>

#include "tests/support/import_patch.h"

/// Runs a function on two threads at once, so that both come to what a lock guards before one of
/// them has done it: the one that is inside waits until the other is inside too, or is about to
/// wait for the lock. What is done twice without the lock is so done twice every time. One at a
/// time.
class CLockContest {
 public:
  /// Watches how a loaded module (null: this program) enters a critical section (null: any one).
  explicit CLockContest(const CRITICAL_SECTION* section, HMODULE module = nullptr);
  ~CLockContest();
  CLockContest(const CLockContest&) = delete;
  CLockContest& operator=(const CLockContest&) = delete;

  void Run(const std::function<void()>& work);

  /// To be called by what is guarded. Does nothing while there is no contest.
  static void BeInside();

 private:
  static void WINAPI Enter(CRITICAL_SECTION* section);
  void Arrive(std::atomic<int>& arrivals);

  static CLockContest* s_current;

  const CRITICAL_SECTION* const m_section;
  const HANDLE m_bothAreHere;
  std::atomic<int> m_atTheLock = 0;
  std::atomic<int> m_inside = 0;
  const CImportPatch m_patch;
};
