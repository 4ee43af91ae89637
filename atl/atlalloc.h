#pragma once

#include <atldef.h>

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

}  // namespace ATL
