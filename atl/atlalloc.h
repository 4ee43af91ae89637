#pragma once

#include <atldef.h>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor): ATL documents the conversion

/// The COM task allocator.
struct CComAllocator {
  static void Free(void* p) noexcept { ::CoTaskMemFree(p); }
};

/// Owner of a memory block. Does not call destructors of T.
template <class T, class Allocator>
class CHeapPtr {
 public:
  CHeapPtr() noexcept = default;
  CHeapPtr(const CHeapPtr&) = delete;
  CHeapPtr& operator=(const CHeapPtr&) = delete;
  ~CHeapPtr() { Free(); }

  operator T*() const noexcept { return m_pData; }
  /// For functions that return a block. The object must be empty.
  T** operator&() noexcept {
    ATLASSERT(m_pData == nullptr);
    return &m_pData;
  }

  void Free() noexcept {
    Allocator::Free(m_pData);
    m_pData = nullptr;
  }

  T* m_pData = nullptr;
};

/// CHeapPtr for CoTaskMemAlloc memory.
template <class T>
class CComHeapPtr : public CHeapPtr<T, CComAllocator> {};

// NOLINTEND(google-explicit-constructor)

}  // namespace ATL
