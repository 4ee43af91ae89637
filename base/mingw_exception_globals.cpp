// Replaces what libstdc++ keeps for a thread's exceptions. Its own is emulated thread-local
// storage: the first exception of a thread allocates it, and ends the process when that fails. This
// one is a fixed table, so that a browser that is out of memory reports it and lives on.
#include <cxxabi.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <cstdlib>

#include "base/srw_lock.h"

namespace __cxxabiv1 {

// As the C++ ABI has it.
struct __cxa_eh_globals {
  void* caughtExceptions;
  unsigned int uncaughtExceptions;
};

}  // namespace __cxxabiv1

namespace {

using abi::__cxa_eh_globals;

/// One thread's exception state. A thread that ends leaves it as new, so the next thread with the
/// same identifier can use it.
struct CPlace {
  std::atomic<DWORD> thread{0};  // identifier; 0: free
  __cxa_eh_globals globals{};
};
static_assert(std::atomic<DWORD>::is_always_lock_free);

// Upper bound of the threads alive at once in which this module has thrown: there is one for each
// browser window and one for each download.
constinit std::array<CPlace, 256> g_places;

// Held while a place changes its thread.
SRWLOCK g_lock = SRWLOCK_INIT;

bool HasEnded(DWORD thread) {
  const HANDLE handle = OpenThread(SYNCHRONIZE, FALSE, thread);
  if (handle == nullptr) {
    return GetLastError() == ERROR_INVALID_PARAMETER;  // no thread has this identifier
  }
  const bool hasEnded = WaitForSingleObject(handle, 0) == WAIT_OBJECT_0;
  CloseHandle(handle);
  return hasEnded;
}

CPlace* FindPlace(DWORD thread) {
  for (CPlace& place : g_places) {
    if (place.thread == thread) {
      return &place;
    }
  }
  return nullptr;
}

/// Frees the place of a thread that has ended. Returns false when that thread, or a new one with
/// its identifier, still runs.
bool FreePlace(CPlace& place) {
  const DWORD owner = place.thread;
  if (!HasEnded(owner)) {
    return false;
  }
  place.thread = 0;
  // A new thread may have got the identifier, and found its place here, before that. One that looks
  // for it from now on waits for the lock.
  if (!HasEnded(owner)) {
    place.thread = owner;
    return false;
  }
  place.globals = {};  // a thread that was terminated leaves what it had
  return true;
}

/// Returns a place for a thread that found none without the lock.
CPlace* ClaimPlace(DWORD thread) {
  const CSrwLock lock(g_lock);
  CPlace* place = FindPlace(thread);
  if (place == nullptr) {
    place = FindPlace(0);
  }
  for (auto* next = g_places.begin(); place == nullptr && next != g_places.end(); ++next) {
    place = FreePlace(*next) ? next : nullptr;
  }
  if (place != nullptr) {
    place->thread = thread;
  }
  return place;
}

__cxa_eh_globals* FindGlobals() {
  const DWORD thread = GetCurrentThreadId();
  CPlace* place = FindPlace(thread);
  if (place == nullptr) {
    const DWORD error = GetLastError();  // must outlive a throw
    place = ClaimPlace(thread);
    SetLastError(error);
  }
  if (place == nullptr) {
    std::abort();
  }
  return &place->globals;
}

}  // namespace

namespace __cxxabiv1 {

extern "C" __cxa_eh_globals* __cxa_get_globals() noexcept { return FindGlobals(); }

extern "C" __cxa_eh_globals* __cxa_get_globals_fast() noexcept { return FindGlobals(); }

}  // namespace __cxxabiv1
