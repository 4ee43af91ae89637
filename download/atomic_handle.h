#pragma once

#include <windows.h>
#include <wininet.h>

#include <atomic>

#include "base/last_error_keeper.h"

/// Owner of one system handle that two threads share without a lock. Whoever takes the handle out
/// closes it, so it is closed once.
///
/// That keeps a closer from meeting a recycled value, but not a user: between `Get` and the
/// system's own look at the value the other thread may close it, and the system may give the same
/// value to a new handle. A file is therefore taken out while it is written. A WinINet handle
/// cannot be: its close is what wakes the read that uses it. What remains there is a stopped worker
/// that reads from somebody else's new request; the worker discards what it has read, but the other
/// one misses it. `Traits` names the handle type, its empty value and how it is closed.
template <typename Traits>
class CAtomicHandle {
 public:
  using Handle = typename Traits::Handle;

  CAtomicHandle() = default;
  ~CAtomicHandle() { Close(); }
  CAtomicHandle(const CAtomicHandle&) = delete;
  CAtomicHandle& operator=(const CAtomicHandle&) = delete;

  /// The handle as it is now; still owned here, and closed by the other thread at any moment.
  Handle Get() const { return m_handle.load(); }
  /// Whether there is a handle now.
  bool IsOpen() const { return Get() != Traits::Empty(); }

  /// Hands the handle over to the caller and leaves this one empty.
  Handle Take() { return m_handle.exchange(Traits::Empty()); }

  /// Takes over `handle`, closing one that is still held.
  void Put(Handle handle) { CloseValue(m_handle.exchange(handle)); }

  /// Closes the handle, if there is one, keeping the thread's last error.
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
