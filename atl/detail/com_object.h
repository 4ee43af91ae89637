#pragma once

// The classes that add the methods of IUnknown to a COM class `Base`, and their creators.

#include <memory>

#include "module.h"
#include "object_root.h"

namespace ATL {

namespace detail {

/// Releases a reference to an object on the heap. Keeps the module loaded during the last one: the
/// object's destructor releases its lock before it destroys the members, whose code is in the
/// module.
template <class T>
ULONG ReleaseObject(T* pObject) {
  const ULONG l = pObject->InternalRelease();
  if (l == 0) {
    LockModule();
    delete pObject;
    UnlockModule();
  }
  return l;
}

/// Calls FinalConstruct of a new object, which the caller must delete when the result is not S_OK.
template <class T>
HRESULT FinishConstruction(T& object, void* pv) {
  object.SetVoid(pv);
  object.InternalFinalConstructAddRef();
  const HRESULT hr = object.FinalConstruct();
  object.InternalFinalConstructRelease();
  return FAILED(hr) ? hr : S_OK;
}

}  // namespace detail

/// Creates a T1 and queries it for an interface. Deletes the object when that fails.
template <class T1>
class CComCreator {
 public:
  static HRESULT WINAPI CreateInstance(void* pv, REFIID riid, LPVOID* ppv) noexcept {
    if (FAILED(detail::SetResult(ppv, nullptr))) {
      return E_POINTER;
    }
    return detail::CallGuarded([&] {
      auto pObject = std::make_unique<T1>(pv);
      HRESULT hr = detail::FinishConstruction(*pObject, pv);
      if (hr == S_OK) {
        hr = pObject->QueryInterface(riid, ppv);
      }
      if (hr == S_OK) {
        pObject.release();  // its references own it now
      }
      return hr;
    });
  }
};

/// T1 creates standalone objects, T2 aggregated ones.
template <class T1, class T2>
class CComCreator2 {
 public:
  static HRESULT WINAPI CreateInstance(void* pv, REFIID riid, LPVOID* ppv) noexcept {
    return pv == nullptr ? T1::CreateInstance(nullptr, riid, ppv)
                         : T2::CreateInstance(pv, riid, ppv);
  }
};

/// A standalone object on the heap. Holds a module lock.
template <class Base>
class CComObject : public Base {
 public:
  explicit CComObject(void* = nullptr) { detail::LockModule(); }
  virtual ~CComObject() {
    this->m_dwRef = detail::kRefCountInDestructor;
    this->FinalRelease();
    detail::UnlockModule();
  }

  STDMETHOD_(ULONG, AddRef)() override { return this->InternalAddRef(); }
  STDMETHOD_(ULONG, Release)() override { return detail::ReleaseObject(this); }
  STDMETHOD(QueryInterface)(REFIID iid, void** ppvObject) override {
    return this->_InternalQueryInterface(iid, ppvObject);
  }

  /// Creates an object with a reference count of 0: call its AddRef first.
  static HRESULT WINAPI CreateInstance(CComObject<Base>** pp) noexcept {
    if (FAILED(detail::SetResult(pp, nullptr))) {
      return E_POINTER;
    }
    return detail::CallGuarded([&] {
      auto pObject = std::make_unique<CComObject<Base>>();
      const HRESULT hr = detail::FinishConstruction(*pObject, nullptr);
      if (hr == S_OK) {
        *pp = pObject.release();
      }
      return hr;
    });
  }
};

/// An object to which a cache of the module has a reference. Holds a module lock while there are
/// references besides that one.
template <class Base>
class CComObjectCached : public Base {
 public:
  explicit CComObjectCached(void* = nullptr) {}
  virtual ~CComObjectCached() {
    this->m_dwRef = detail::kRefCountInDestructor;
    this->FinalRelease();
  }

  STDMETHOD_(ULONG, AddRef)() override {
    const ULONG l = this->InternalAddRef();
    if (l == 2) {
      detail::LockModule();
    }
    return l;
  }
  STDMETHOD_(ULONG, Release)() override {
    const ULONG l = this->InternalRelease();
    if (l == 0) {
      delete this;
    } else if (l == 1) {
      detail::UnlockModule();
    }
    return l;
  }
  STDMETHOD(QueryInterface)(REFIID iid, void** ppvObject) override {
    return this->_InternalQueryInterface(iid, ppvObject);
  }
};

/// The interfaces of an aggregated object: their IUnknown methods call the outer object.
template <class Base>
class CComContainedObject : public Base {
 public:
  explicit CComContainedObject(void* pv) { this->m_pOuterUnknown = static_cast<IUnknown*>(pv); }

  STDMETHOD_(ULONG, AddRef)() override { return this->m_pOuterUnknown->AddRef(); }
  STDMETHOD_(ULONG, Release)() override { return this->m_pOuterUnknown->Release(); }
  STDMETHOD(QueryInterface)(REFIID iid, void** ppvObject) override {
    return this->m_pOuterUnknown->QueryInterface(iid, ppvObject);
  }
};

/// The other part: the IUnknown that only the outer object has, with a reference count of its own.
/// Holds a module lock.
template <class contained>
class CComAggObject : public IUnknown, public CComObjectRootEx<typename contained::_ThreadModel> {
 public:
  /// pv: the outer object's IUnknown.
  explicit CComAggObject(void* pv) : m_contained(pv) { detail::LockModule(); }
  CComAggObject(const CComAggObject&) = delete;
  CComAggObject& operator=(const CComAggObject&) = delete;
  virtual ~CComAggObject() {
    this->m_dwRef = detail::kRefCountInDestructor;
    FinalRelease();
    detail::UnlockModule();
  }

  HRESULT FinalConstruct() { return m_contained.FinalConstruct(); }
  void FinalRelease() { m_contained.FinalRelease(); }
  // The same for each class, with DECLARE_PROTECT_FINAL_CONSTRUCT or without.
  void InternalFinalConstructAddRef() { this->InternalAddRef(); }
  void InternalFinalConstructRelease() { this->InternalRelease(); }

  STDMETHOD_(ULONG, AddRef)() override { return this->InternalAddRef(); }
  STDMETHOD_(ULONG, Release)() override { return detail::ReleaseObject(this); }
  STDMETHOD(QueryInterface)(REFIID iid, void** ppvObject) override {
    if (FAILED(detail::SetResult(ppvObject, nullptr))) {
      return E_POINTER;
    }
    if (iid == IID_IUnknown) {
      *ppvObject = static_cast<IUnknown*>(this);
      AddRef();
      return S_OK;
    }
    return m_contained._InternalQueryInterface(iid, ppvObject);
  }

  CComContainedObject<contained> m_contained;
};

}  // namespace ATL
