// Replaces what libstdc++ keeps for a thread's exceptions. Its own is emulated thread-local
// storage: the first exception of a thread allocates it, and ends the process when that fails. This
// one is a fixed table, so that a browser that is out of memory reports it and lives on.
#include <cxxabi.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <cstdlib>

namespace __cxxabiv1 {

// As the C++ ABI has it.
struct __cxa_eh_globals {
  void* caughtExceptions;
  unsigned int uncaughtExceptions;
};

}  // namespace __cxxabiv1

namespace {

using abi::__cxa_eh_globals;

/// What one thread has. A thread that ends leaves it as new, so the next thread with the same
/// identifier can go on with it.
struct CPlace {
  std::atomic<DWORD> thread{0};  // identifier; 0: free
  __cxa_eh_globals globals{};
};
static_assert(std::atomic<DWORD>::is_always_lock_free);

// More than there are threads at a time in which this module has ever thrown: one for each browser
// window and each download.
constinit std::array<CPlace, 256> g_places;

bool Claim(CPlace& place, DWORD from, DWORD thread) {
  return place.thread.compare_exchange_strong(from, thread);
}

bool HasEnded(DWORD thread) {
  const HANDLE handle = OpenThread(SYNCHRONIZE, FALSE, thread);
  if (handle == nullptr) {
    return GetLastError() == ERROR_INVALID_PARAMETER;  // no thread has this identifier
  }
  const bool hasEnded = WaitForSingleObject(handle, 0) == WAIT_OBJECT_0;
  CloseHandle(handle);
  return hasEnded;
}

__cxa_eh_globals* FindGlobals() {
  const DWORD thread = GetCurrentThreadId();
  for (CPlace& place : g_places) {
    if (place.thread == thread) {
      return &place.globals;
    }
  }
  for (CPlace& place : g_places) {
    if (Claim(place, 0, thread)) {
      return &place.globals;
    }
  }
  // Functions below set the last error, which must outlive a throw.
  const DWORD error = GetLastError();
  for (CPlace& place : g_places) {
    const DWORD owner = place.thread;
    if (HasEnded(owner) && Claim(place, owner, thread)) {
      place.globals = {};  // a thread that was terminated leaves what it had
      SetLastError(error);
      return &place.globals;
    }
  }
  std::abort();
}

}  // namespace

namespace __cxxabiv1 {

extern "C" __cxa_eh_globals* __cxa_get_globals() noexcept { return FindGlobals(); }

extern "C" __cxa_eh_globals* __cxa_get_globals_fast() noexcept { return FindGlobals(); }

}  // namespace __cxxabiv1
