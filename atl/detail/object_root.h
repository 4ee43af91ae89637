#pragma once

// The base of every COM class: reference counting and the answer to QueryInterface, for an object
// of its own and for one inside another.

#include <climits>

#include "com_map.h"
#include "threading_model.h"

namespace ATL {

/// Holds an object's lock for a scope.
template <class ThreadModel>
class CComObjectRootEx;

template <class ThreadModel>
class CComObjectLockT {
 public:
  explicit CComObjectLockT(CComObjectRootEx<ThreadModel>* p) noexcept : m_p(p) {
    if (m_p != nullptr) {
      m_p->Lock();
    }
  }
  CComObjectLockT(const CComObjectLockT&) = delete;
  CComObjectLockT& operator=(const CComObjectLockT&) = delete;
  ~CComObjectLockT() {
    if (m_p != nullptr) {
      m_p->Unlock();
    }
  }

 private:
  CComObjectRootEx<ThreadModel>* const m_p;
};

/// What does not depend on the threading model. A class may hide any of the functions here by its
/// own: the creators and CComObject call those of the most derived class.
class CComObjectRootBase {
 public:
  CComObjectRootBase() noexcept : m_dwRef(0) {}

  /// The second half of construction: may fail, and may use the object as COM object.
  HRESULT FinalConstruct() { return S_OK; }
  HRESULT _AtlFinalConstruct() { return S_OK; }
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

  /// Called for each class of the object map when the module starts and when it ends.
  static void WINAPI ObjectMain(bool /*bStarting*/) {}
  static const _ATL_CATMAP_ENTRY* GetCategoryMap() { return nullptr; }

  // The functions of COM map entries.
  static HRESULT WINAPI _NoInterface(void*, REFIID, void**, DWORD_PTR) { return E_NOINTERFACE; }
  static HRESULT WINAPI _Delegate(void* pv, REFIID iid, void** ppvObject, DWORD_PTR dw) {
    IUnknown* const pUnk = *reinterpret_cast<IUnknown**>(reinterpret_cast<DWORD_PTR>(pv) + dw);
    return pUnk != nullptr ? pUnk->QueryInterface(iid, ppvObject) : E_NOINTERFACE;
  }
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

/// Adds the threading model: how references are counted, and the object's lock.
template <class ThreadModel>
class CComObjectRootEx : public CComObjectRootBase {
 public:
  using _ThreadModel = ThreadModel;
  using _AutoDelCritSec = typename _ThreadModel::AutoDeleteCriticalSection;
  using ObjectLock = CComObjectLockT<_ThreadModel>;

  /// Makes the lock. The creators call it before FinalConstruct.
  HRESULT _AtlInitialConstruct() { return m_critsec.Init(); }

  ULONG InternalAddRef() {
    ATLASSERT(m_dwRef != -1L);
    return _ThreadModel::Increment(&m_dwRef);
  }
  ULONG InternalRelease() {
    ATLASSERT(m_dwRef != 0);
    return _ThreadModel::Decrement(&m_dwRef);
  }
  void Lock() { m_critsec.Lock(); }
  void Unlock() { m_critsec.Unlock(); }

 private:
  _AutoDelCritSec m_critsec;
};

using CComObjectRoot = CComObjectRootEx<CComObjectThreadModel>;

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

/// For objects that aggregate others: the IUnknown that those are given.
#define DECLARE_GET_CONTROLLING_UNKNOWN() \
 public:                                  \
  virtual IUnknown* GetControllingUnknown() { return GetUnknown(); }
