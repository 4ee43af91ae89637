#pragma once

// The base of every COM class: reference counting and the answer to QueryInterface, for an object
// of its own and for one inside another.

#include <climits>

#include "com_map.h"
#include "threading_model.h"

namespace ATL {

/// What does not depend on the threading model. A class may hide any of the functions here by its
/// own: the creators and CComObject call those of the most derived class.
class CComObjectRootBase {
 public:
  CComObjectRootBase() noexcept : m_dwRef(0) {}

  /// The second half of construction: may fail, and may use the object as COM object.
  HRESULT FinalConstruct() { return S_OK; }
  /// The first half of destruction: the object is still complete.
  void FinalRelease() {}

  /// What the class factory's creator hands over.
  void SetVoid(void*) {}
  // DECLARE_PROTECT_FINAL_CONSTRUCT makes these hold a reference.
  void InternalFinalConstructAddRef() {}
  void InternalFinalConstructRelease() { ATLASSERT(m_dwRef == 0); }

  ULONG OuterAddRef() { return m_pOuterUnknown->AddRef(); }
  ULONG OuterRelease() { return m_pOuterUnknown->Release(); }
  HRESULT OuterQueryInterface(REFIID iid, void** ppvObject) {
    return m_pOuterUnknown->QueryInterface(iid, ppvObject);
  }

  static HRESULT WINAPI InternalQueryInterface(void* pThis, const _ATL_INTMAP_ENTRY* pEntries,
                                               REFIID iid, void** ppvObject) {
    return AtlInternalQueryInterface(pThis, pEntries, iid, ppvObject);
  }

  static const _ATL_CATMAP_ENTRY* GetCategoryMap() { return nullptr; }

  /// The function of COM map entries that lead to a base class.
  static HRESULT WINAPI _Chain(void* pv, REFIID iid, void** ppvObject, DWORD_PTR dw) {
    const auto& chain = *reinterpret_cast<const _ATL_CHAINDATA*>(dw);
    void* const pBase = reinterpret_cast<void*>(reinterpret_cast<DWORD_PTR>(pv) + chain.dwOffset);
    return InternalQueryInterface(pBase, chain.pFunc(), iid, ppvObject);
  }

  // An object counts its references itself, or leaves that to the object around it.
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

/// An object whose destruction has begun has this count, so that references taken and released by
/// FinalRelease do not begin it again.
constexpr LONG kRefCountInDestructor = -(LONG_MAX / 2);

}  // namespace detail
}  // namespace ATL

/// Keeps the object alive while FinalConstruct hands out references to it.
#define DECLARE_PROTECT_FINAL_CONSTRUCT()                   \
  void InternalFinalConstructAddRef() { InternalAddRef(); } \
  void InternalFinalConstructRelease() { InternalRelease(); }
