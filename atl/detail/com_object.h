#pragma once

// The classes that make a COM class concrete: they add the methods of IUnknown to it. `Base` is
// the implementation class with its COM map.

#include "creators.h"
#include "module.h"
#include "object_root.h"

namespace ATL {

namespace detail {

/// Keeps the module loaded for a scope. An object's destructor gives up the object's lock before
/// its members have gone, and their code is in this module.
class CModuleLockScope {
 public:
  CModuleLockScope() noexcept { LockModule(); }
  CModuleLockScope(const CModuleLockScope&) = delete;
  CModuleLockScope& operator=(const CModuleLockScope&) = delete;
  ~CModuleLockScope() { UnlockModule(); }
};

}  // namespace detail

/// An object of its own on the heap. Holds a module lock.
template <class Base>
class CComObject : public Base {
 public:
  using _BaseClass = Base;

  explicit CComObject(void* = nullptr) { detail::LockModule(); }
  virtual ~CComObject() {
    this->m_dwRef = detail::kRefCountInDestructor;
    this->FinalRelease();
    detail::UnlockModule();
  }

  STDMETHOD_(ULONG, AddRef)() override { return this->InternalAddRef(); }
  STDMETHOD_(ULONG, Release)() override {
    const ULONG l = this->InternalRelease();
    if (l == 0) {
      const detail::CModuleLockScope lock;
      delete this;
    }
    return l;
  }
  STDMETHOD(QueryInterface)(REFIID iid, void** ppvObject) override {
    return this->_InternalQueryInterface(iid, ppvObject);
  }

  /// Makes an object with no references yet: AddRef it before anything else.
  static HRESULT WINAPI CreateInstance(CComObject<Base>** pp) noexcept {
    if (pp == nullptr) {
      return E_POINTER;
    }
    *pp = nullptr;
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

/// An object that a cache of the module refers to once: it holds a module lock only while somebody
/// else has references too.
template <class Base>
class CComObjectCached : public Base {
 public:
  using _BaseClass = Base;

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

/// The part of an aggregated object that has its interfaces: IUnknown's methods there are the outer
/// object's.
template <class Base>
class CComContainedObject : public Base {
 public:
  using _BaseClass = Base;

  explicit CComContainedObject(void* pv) { this->m_pOuterUnknown = static_cast<IUnknown*>(pv); }

  STDMETHOD_(ULONG, AddRef)() override { return this->OuterAddRef(); }
  STDMETHOD_(ULONG, Release)() override { return this->OuterRelease(); }
  STDMETHOD(QueryInterface)(REFIID iid, void** ppvObject) override {
    return this->OuterQueryInterface(iid, ppvObject);
  }
};

/// An object inside another one, which is the only one that sees this object's own IUnknown: by
/// that it owns the contained part, which has a count of its own. Holds a module lock.
template <class contained>
class CComAggObject : public IUnknown, public CComObjectRootEx<typename contained::_ThreadModel> {
 public:
  using _BaseClass = contained;

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
  // A contained part that protects its construction does so by this object's count.
  void InternalFinalConstructAddRef() { this->InternalAddRef(); }
  void InternalFinalConstructRelease() { this->InternalRelease(); }

  STDMETHOD_(ULONG, AddRef)() override { return this->InternalAddRef(); }
  STDMETHOD_(ULONG, Release)() override {
    const ULONG l = this->InternalRelease();
    if (l == 0) {
      const detail::CModuleLockScope lock;
      delete this;
    }
    return l;
  }
  STDMETHOD(QueryInterface)(REFIID iid, void** ppvObject) override {
    if (ppvObject == nullptr) {
      return E_POINTER;
    }
    *ppvObject = nullptr;
    if (InlineIsEqualUnknown(iid)) {
      *ppvObject = static_cast<IUnknown*>(this);
      AddRef();
      return S_OK;
    }
    return m_contained._InternalQueryInterface(iid, ppvObject);
  }

  CComContainedObject<contained> m_contained;
};

}  // namespace ATL
