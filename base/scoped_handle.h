#pragma once

#include <windows.h>

#include <utility>

#include "base/last_error_keeper.h"

/// Owner of one system handle, for use on one thread. `Traits` has the handle type, its empty value
/// and how it is closed.
template <typename Traits>
class CScopedHandle {
 public:
  using Handle = typename Traits::Handle;

  CScopedHandle() = default;
  explicit CScopedHandle(Handle handle) : m_handle(handle) {}
  CScopedHandle(CScopedHandle&& other) noexcept
      : m_handle(std::exchange(other.m_handle, Traits::Empty())) {}
  CScopedHandle& operator=(CScopedHandle&& other) noexcept {
    if (this != &other) {
      Close();
      m_handle = std::exchange(other.m_handle, Traits::Empty());
    }
    return *this;
  }
  ~CScopedHandle() { Close(); }

  /// The handle. This object still owns it.
  Handle Get() const { return m_handle; }
  explicit operator bool() const { return m_handle != Traits::Empty(); }

  /// Transfers ownership of the handle to the caller.
  [[nodiscard]] Handle Detach() { return std::exchange(m_handle, Traits::Empty()); }

  /// Closes the handle, if there is one. Preserves the thread's last error.
  void Close() {
    if (m_handle != Traits::Empty()) {
      const CLastErrorKeeper keeper;
      Traits::Close(std::exchange(m_handle, Traits::Empty()));
    }
  }

 private:
  Handle m_handle = Traits::Empty();
};

/// A font created by CreateFont.
struct CFontTraits {
  using Handle = HFONT;
  static Handle Empty() { return nullptr; }
  static void Close(Handle font) { DeleteObject(font); }
};
using CScopedFont = CScopedHandle<CFontTraits>;
