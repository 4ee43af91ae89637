#pragma once

#include <atlexcept.h>

#include <utility>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor, misc-unconventional-assign-operator): ATL documents the
// conversion and the move from lvalues

/// Owner of a kernel object handle whose "none" value is null (events, threads, timers; not files).
class CHandle {
 public:
  CHandle() noexcept = default;
  explicit CHandle(HANDLE h) noexcept : m_h(h) {}
  /// Takes the handle over; `h` is empty afterwards.
  CHandle(CHandle& h) noexcept : m_h(h.Detach()) {}
  CHandle(CHandle&& h) noexcept : m_h(h.Detach()) {}
  ~CHandle() { Close(); }
  CHandle& operator=(CHandle& h) noexcept {
    if (this != &h) {
      Close();
      m_h = h.Detach();
    }
    return *this;
  }
  CHandle& operator=(CHandle&& h) noexcept {
    *this = h;
    return *this;
  }

  operator HANDLE() const noexcept { return m_h; }

  void Attach(HANDLE h) noexcept {
    ATLASSERT(m_h == nullptr);
    m_h = h;
  }
  HANDLE Detach() noexcept { return std::exchange(m_h, nullptr); }
  /// Keeps the thread's last error, so that a failure seen before it can still be reported.
  void Close() noexcept {
    if (const HANDLE h = Detach(); h != nullptr) {
      const DWORD nError = ::GetLastError();
      ::CloseHandle(h);
      ::SetLastError(nError);
    }
  }

  HANDLE m_h = nullptr;
};

// NOLINTEND(google-explicit-constructor, misc-unconventional-assign-operator)

}  // namespace ATL
