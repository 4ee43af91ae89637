#pragma once

#include <windows.h>

#include <utility>

#include "base/last_error_keeper.h"

/// Sole owner of one system handle that lives on one thread.
/// `Traits` names the handle type, its empty value and how it is closed.
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

  /// The handle; still owned here.
  Handle Get() const { return m_handle; }
  explicit operator bool() const { return m_handle != Traits::Empty(); }

  /// Hands the handle over to the caller; none is owned here any more.
  [[nodiscard]] Handle Detach() { return std::exchange(m_handle, Traits::Empty()); }

  /// Closes the handle, if there is one, keeping the thread's last error.
  void Close() {
    if (m_handle != Traits::Empty()) {
      const CLastErrorKeeper keeper;
      Traits::Close(std::exchange(m_handle, Traits::Empty()));
    }
  }

 private:
  Handle m_handle = Traits::Empty();
};

/// A font made by CreateFont.
struct CFontTraits {
  using Handle = HFONT;
  static Handle Empty() { return nullptr; }
  static void Close(Handle font) { DeleteObject(font); }
};
using CScopedFont = CScopedHandle<CFontTraits>;

/// A library loaded by LoadLibrary.
struct CLibraryTraits {
  using Handle = HMODULE;
  static Handle Empty() { return nullptr; }
  static void Close(Handle library) { FreeLibrary(library); }
};
using CScopedLibrary = CScopedHandle<CLibraryTraits>;
