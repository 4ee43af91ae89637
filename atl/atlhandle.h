#pragma once

#include <atlexcept.h>

#include <utility>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor): ATL documents the conversion

/// Owner of a kernel object handle. Null means none, so that it is not for files.
class CHandle {
 public:
  CHandle() noexcept = default;
  explicit CHandle(HANDLE h) noexcept : m_h(h) {}
  CHandle(const CHandle&) = delete;
  CHandle& operator=(const CHandle&) = delete;
  ~CHandle() { Close(); }
  operator HANDLE() const noexcept { return m_h; }

  void Attach(HANDLE h) noexcept {
    ATLASSERT(m_h == nullptr);
    m_h = h;
  }
  HANDLE Detach() noexcept { return std::exchange(m_h, nullptr); }
  /// Preserves the thread's last error.
  void Close() noexcept {
    if (const HANDLE h = Detach(); h != nullptr) {
      const DWORD nError = ::GetLastError();
      ::CloseHandle(h);
      ::SetLastError(nError);
    }
  }

  HANDLE m_h = nullptr;
};

// NOLINTEND(google-explicit-constructor)

}  // namespace ATL
