#include "tests/faults/started_threads.h"

#include <process.h>

#include <utility>
#include <vector>

#include "tests/support/user.h"

namespace {

SRWLOCK g_lock = SRWLOCK_INIT;
std::vector<HANDLE> g_threads;
decltype(&_beginthreadex) g_begin;

std::vector<HANDLE> TakeThreads() {
  AcquireSRWLockExclusive(&g_lock);
  std::vector<HANDLE> threads = std::exchange(g_threads, {});
  ReleaseSRWLockExclusive(&g_lock);
  return threads;
}

uintptr_t Begin(void* security, unsigned stack, _beginthreadex_proc_type start, void* argument,
                unsigned flags, unsigned* id) {
  const uintptr_t thread = g_begin(security, stack, start, argument, flags, id);
  HANDLE copy = nullptr;
  if (DuplicateHandle(GetCurrentProcess(), reinterpret_cast<HANDLE>(thread), GetCurrentProcess(),
                      &copy, SYNCHRONIZE, FALSE, 0)) {
    AcquireSRWLockExclusive(&g_lock);
    g_threads.push_back(copy);
    ReleaseSRWLockExclusive(&g_lock);
  }
  return thread;
}

}  // namespace

CStartedThreads::CStartedThreads(HMODULE importer)
    : m_patch("msvcrt.dll", "_beginthreadex", &Begin, importer) {
  g_begin = m_patch.Original<decltype(_beginthreadex)>();
}

CStartedThreads::~CStartedThreads() {
  for (const HANDLE thread : TakeThreads()) {
    CloseHandle(thread);
  }
}

bool CStartedThreads::WaitForEnds() {
  bool ended = true;
  for (const HANDLE thread : TakeThreads()) {
    ended = WaitForSingleObject(thread, kUserPatienceMs) == WAIT_OBJECT_0 && ended;
    CloseHandle(thread);
  }
  return ended;
}
