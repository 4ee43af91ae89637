#pragma once

// The base of every COM class: reference counting and QueryInterface, for a standalone object and
// an aggregated one.

#include <climits>

#include "com_map.h"

namespace ATL {

struct _ATL_CATMAP_ENTRY;

/// Counts references to objects that several threads call.
class CComMultiThreadModel {
 public:
  static ULONG WINAPI Increment(LPLONG p) noexcept {
    return static_cast<ULONG>(::InterlockedIncrement(p));
  }
  static ULONG WINAPI Decrement(LPLONG p) noexcept {
    return static_cast<ULONG>(::InterlockedDecrement(p));
  }
};

/// Counts references to objects of one apartment.
class CComSingleThreadModel {
 public:
  static ULONG WINAPI Increment(LPLONG p) noexcept { return static_cast<ULONG>(++*p); }
  static ULONG WINAPI Decrement(LPLONG p) noexcept { return static_cast<ULONG>(--*p); }
};

/// The part that does not depend on the threading model. A derived class may hide functions of this
/// class: the creators and CComObject call those of the most derived class.
class CComObjectRootBase {
 public:
  CComObjectRootBase() noexcept : m_dwRef(0) {}

  /// The second part of construction: may fail, and may use the object as a COM object.
  HRESULT FinalConstruct() { return S_OK; }
  /// The first part of destruction: the object is still complete.
  void FinalRelease() {}

  /// Receives the argument of CreateInstance.
  void SetVoid(void*) {}
  // DECLARE_PROTECT_FINAL_CONSTRUCT replaces these by functions that hold a reference.
  void InternalFinalConstructAddRef() {}
  void InternalFinalConstructRelease() { ATLASSERT(m_dwRef == 0); }

  static const _ATL_CATMAP_ENTRY* GetCategoryMap() { return nullptr; }

  /// The function of COM map entries that refer to the map of a base class.
  static HRESULT WINAPI _Chain(void* pv, REFIID iid, void** ppvObject, DWORD_PTR dw) {
    const auto& chain = *reinterpret_cast<const _ATL_CHAINDATA*>(dw);
    void* const pBase = reinterpret_cast<void*>(reinterpret_cast<DWORD_PTR>(pv) + chain.dwOffset);
    return AtlInternalQueryInterface(pBase, chain.pFunc(), iid, ppvObject);
  }

  // The reference count of a standalone object; the outer object of an aggregated one.
  union {
    LONG m_dwRef;
    IUnknown* m_pOuterUnknown;
  };
};

/// Adds the threading model: how references are counted.
template <class ThreadModel>
class CComObjectRootEx : public CComObjectRootBase {
 public:
  using _ThreadModel = ThreadModel;

  ULONG InternalAddRef() {
    ATLASSERT(m_dwRef != -1L);
    return _ThreadModel::Increment(&m_dwRef);
  }
  ULONG InternalRelease() {
    ATLASSERT(m_dwRef != 0);
    return _ThreadModel::Decrement(&m_dwRef);
  }
};

namespace detail {

/// The count of an object in its destructor: a reference that FinalRelease adds and releases does
/// not start the destruction again.
constexpr LONG kRefCountInDestructor = -(LONG_MAX / 2);

}  // namespace detail
}  // namespace ATL

/// Holds a reference during FinalConstruct, which may give references to others.
#define DECLARE_PROTECT_FINAL_CONSTRUCT()                   \
  void InternalFinalConstructAddRef() { InternalAddRef(); } \
  void InternalFinalConstructRelease() { InternalRelease(); }
