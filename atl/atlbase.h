#pragma once

// The module, its registration and the smart types. Strings are in atlstr.h, windows in atlwin.h
// and atlhost.h, the base classes of COM classes in atlcom.h.

#include <atlcomcli.h>
#include <atlcore.h>
#include <atlexcept.h>
#include <atlregkey.h>
#include <atlsimpcoll.h>

#include <utility>

#include "detail/dll_module.h"

namespace ATL {

/// Owner of CoTaskMemAlloc memory. Does not call destructors of T.
template <class T>
class CComHeapPtr {
 public:
  CComHeapPtr() noexcept = default;
  CComHeapPtr(const CComHeapPtr&) = delete;
  CComHeapPtr& operator=(const CComHeapPtr&) = delete;
  ~CComHeapPtr() { ::CoTaskMemFree(m_pData); }

  // NOLINTNEXTLINE(google-explicit-constructor): ATL documents the conversion
  operator T*() const noexcept { return m_pData; }
  /// For functions that return a block. The object must be empty.
  T** operator&() noexcept {
    ATLASSERT(m_pData == nullptr);
    return &m_pData;
  }

  T* m_pData = nullptr;
};

/// Owner of a kernel object handle. Null means none, so that it is not for files.
class CHandle {
 public:
  CHandle() noexcept = default;
  explicit CHandle(HANDLE h) noexcept : m_h(h) {}
  CHandle(const CHandle&) = delete;
  CHandle& operator=(const CHandle&) = delete;
  ~CHandle() { Close(); }
  // NOLINTNEXTLINE(google-explicit-constructor): ATL documents the conversion
  operator HANDLE() const noexcept { return m_h; }

  void Attach(HANDLE h) noexcept {
    ATLASSERT(m_h == nullptr);
    m_h = h;
  }
  HANDLE Detach() noexcept { return std::exchange(m_h, nullptr); }
  void Close() noexcept {
    if (m_h != nullptr) {
      ::CloseHandle(Detach());
    }
  }

  HANDLE m_h = nullptr;
};

}  // namespace ATL

using namespace ATL;  // NOLINT(google-global-names-in-headers): as documented
