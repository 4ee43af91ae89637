#pragma once

#include <windows.h>
#include <wininet.h>

#include <atomic>

#include "ui/scoped_handle.h"

/// Owner of one system handle that two threads share without a lock. Whoever takes the handle out
/// closes it: so it is closed once, and nobody closes a recycled value.
/// `Traits` names the handle type, its empty value and how it is closed.
template <typename Traits>
class CAtomicHandle {
 public:
  using Handle = typename Traits::Handle;

  CAtomicHandle() = default;
  ~CAtomicHandle() { Close(); }
  CAtomicHandle(const CAtomicHandle&) = delete;
  CAtomicHandle& operator=(const CAtomicHandle&) = delete;

  /// The handle as it is now; still owned here. It may be closed by the other thread at any moment,
  /// on purpose for a WinINet handle: that is what wakes a read that uses it.
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
