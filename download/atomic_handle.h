#pragma once

#include <windows.h>
#include <wininet.h>

#include <atomic>

#include "base/last_error_keeper.h"

/// Owner of one system handle that two threads share without a lock. A thread closes the handle
/// only after it has exchanged it for the empty value, so the handle is closed exactly once.
///
/// That protects closing, not using: between `Get` and the system call that gets the value, the
/// other thread may close the handle, and the system may reuse the value for a new one. Therefore a
/// file handle is taken out of its owner while it is written to. A WinINet handle stays in its
/// owner during a read, because closing it is what ends the read. So one race remains: a stopped
/// worker may read from a new request that has the same handle value. The worker discards those
/// bytes, but the request's real reader does not get them. `Traits` has the handle type, its empty
/// value and how it is closed.
template <typename Traits>
class CAtomicHandle {
 public:
  using Handle = typename Traits::Handle;

  CAtomicHandle() = default;
  ~CAtomicHandle() { Close(); }
  CAtomicHandle(const CAtomicHandle&) = delete;
  CAtomicHandle& operator=(const CAtomicHandle&) = delete;

  /// The current handle. This object still owns it, and the other thread may close it at any time.
  Handle Get() const { return m_handle.load(); }
  /// Whether there is a handle at the moment.
  bool IsOpen() const { return Get() != Traits::Empty(); }

  /// Transfers ownership of the handle to the caller.
  Handle Take() { return m_handle.exchange(Traits::Empty()); }

  /// Takes ownership of `handle`, and closes the one that was owned before.
  void Put(Handle handle) { CloseValue(m_handle.exchange(handle)); }

  /// Closes the handle, if there is one. Preserves the thread's last error.
  void Close() { CloseValue(Take()); }

 private:
  static void CloseValue(Handle handle) {
    if (handle != Traits::Empty()) {
      const CLastErrorKeeper keeper;
      Traits::Close(handle);
    }
  }

  std::atomic<Handle> m_handle{Traits::Empty()};
};

/// A file or other kernel handle whose empty value is INVALID_HANDLE_VALUE.
struct CFileTraits {
  using Handle = HANDLE;
  static Handle Empty() { return INVALID_HANDLE_VALUE; }
  static void Close(Handle file) { CloseHandle(file); }
};
using CAtomicFile = CAtomicHandle<CFileTraits>;

/// A WinINet handle.
struct CInternetTraits {
  using Handle = HINTERNET;
  static Handle Empty() { return nullptr; }
  static void Close(Handle handle) { InternetCloseHandle(handle); }
};
using CAtomicInternetHandle = CAtomicHandle<CInternetTraits>;
