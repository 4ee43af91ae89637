#pragma once

#include <atlexcept.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor, misc-unconventional-assign-operator): ATL documents the
// conversion and the move from lvalues

/// The C library's heap.
// NOLINTBEGIN(cppcoreguidelines-no-malloc): this is the owner of what it allocates
struct CCRTAllocator {
  static void* Allocate(size_t nBytes) noexcept { return std::malloc(nBytes); }
  static void* Reallocate(void* p, size_t nBytes) noexcept { return std::realloc(p, nBytes); }
  static void Free(void* p) noexcept { std::free(p); }
};
// NOLINTEND(cppcoreguidelines-no-malloc)

/// The COM task allocator: memory that crosses interfaces.
struct CComAllocator {
  static void* Allocate(size_t nBytes) noexcept { return ::CoTaskMemAlloc(nBytes); }
  static void* Reallocate(void* p, size_t nBytes) noexcept { return ::CoTaskMemRealloc(p, nBytes); }
  static void Free(void* p) noexcept { ::CoTaskMemFree(p); }
};

/// LocalAlloc, for memory that system functions want back by LocalFree.
struct CLocalAllocator {
  static void* Allocate(size_t nBytes) noexcept { return ::LocalAlloc(LMEM_FIXED, nBytes); }
  static void* Reallocate(void* p, size_t nBytes) noexcept {
    return p == nullptr ? Allocate(nBytes) : ::LocalReAlloc(p, nBytes, LMEM_MOVEABLE);
  }
  static void Free(void* p) noexcept { ::LocalFree(p); }
};

/// Owner of a raw memory block. No constructor or destructor of T runs.
template <class T, class Allocator = CCRTAllocator>
class CHeapPtr {
 public:
  CHeapPtr() noexcept = default;
  explicit CHeapPtr(T* pData) noexcept : m_pData(pData) {}
  /// Takes the block over; `p` is empty afterwards.
  CHeapPtr(CHeapPtr& p) noexcept : m_pData(p.Detach()) {}
  CHeapPtr(CHeapPtr&& p) noexcept : m_pData(p.Detach()) {}
  ~CHeapPtr() { Free(); }

  CHeapPtr& operator=(CHeapPtr& p) noexcept {
    if (this != std::addressof(p)) {
      Attach(p.Detach());
    }
    return *this;
  }
  CHeapPtr& operator=(CHeapPtr&& p) noexcept {
    *this = p;
    return *this;
  }

  operator T*() const noexcept { return m_pData; }
  T* operator->() const noexcept {
    ATLASSERT(m_pData != nullptr);
    return m_pData;
  }
  /// For functions that return a block; only while empty.
  T** operator&() noexcept {
    ATLASSERT(m_pData == nullptr);
    return &m_pData;
  }

  /// False when out of memory. Only while empty.
  bool Allocate(size_t nElements = 1) noexcept {
    ATLASSERT(m_pData == nullptr);
    if (nElements > SIZE_MAX / sizeof(T)) {
      return false;
    }
    m_pData = static_cast<T*>(Allocator::Allocate(nElements * sizeof(T)));
    return m_pData != nullptr;
  }
  /// False when out of memory; the old block is then still owned.
  bool Reallocate(size_t nElements) noexcept {
    if (nElements > SIZE_MAX / sizeof(T)) {
      return false;
    }
    void* const pNew = Allocator::Reallocate(m_pData, nElements * sizeof(T));
    if (pNew == nullptr) {
      return false;
    }
    m_pData = static_cast<T*>(pNew);
    return true;
  }
  void Attach(T* pData) noexcept {
    Allocator::Free(m_pData);
    m_pData = pData;
  }
  T* Detach() noexcept { return std::exchange(m_pData, nullptr); }
  void Free() noexcept { Attach(nullptr); }

  T* m_pData = nullptr;
};

/// CHeapPtr for CoTaskMemAlloc memory.
template <class T>
class CComHeapPtr : public CHeapPtr<T, CComAllocator> {
 public:
  CComHeapPtr() noexcept = default;
  explicit CComHeapPtr(T* pData) noexcept : CHeapPtr<T, CComAllocator>(pData) {}
};

// NOLINTEND(google-explicit-constructor, misc-unconventional-assign-operator)

}  // namespace ATL
