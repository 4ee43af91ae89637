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
  CModuleLockScope() noexcept { _pAtlModule->Lock(); }
  CModuleLockScope(const CModuleLockScope&) = delete;
  CModuleLockScope& operator=(const CModuleLockScope&) = delete;
  ~CModuleLockScope() { _pAtlModule->Unlock(); }
};

}  // namespace detail

/// An object of its own on the heap. Holds a module lock.
template <class Base>
class CComObject : public Base {
 public:
  using _BaseClass = Base;

  explicit CComObject(void* = nullptr) { _pAtlModule->Lock(); }
  virtual ~CComObject() {
    this->m_dwRef = detail::kRefCountInDestructor;
    this->FinalRelease();
    _pAtlModule->Unlock();
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
  template <class Q>
  HRESULT QueryInterface(Q** pp) {
    return QueryInterface(__uuidof(Q), reinterpret_cast<void**>(pp));
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

/// An object that keeps no module lock: for what the module itself owns.
template <class Base>
class CComObjectNoLock : public Base {
 public:
  using _BaseClass = Base;

  explicit CComObjectNoLock(void* = nullptr) {}
  virtual ~CComObjectNoLock() {
    this->m_dwRef = detail::kRefCountInDestructor;
    this->FinalRelease();
  }

  STDMETHOD_(ULONG, AddRef)() override { return this->InternalAddRef(); }
  STDMETHOD_(ULONG, Release)() override {
    const ULONG l = this->InternalRelease();
    if (l == 0) {
      delete this;
    }
    return l;
  }
  STDMETHOD(QueryInterface)(REFIID iid, void** ppvObject) override {
    return this->_InternalQueryInterface(iid, ppvObject);
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
      _pAtlModule->Lock();
    }
    return l;
  }
  STDMETHOD_(ULONG, Release)() override {
    const ULONG l = this->InternalRelease();
    if (l == 0) {
      delete this;
    } else if (l == 1) {
      _pAtlModule->Unlock();
    }
    return l;
  }
  STDMETHOD(QueryInterface)(REFIID iid, void** ppvObject) override {
    return this->_InternalQueryInterface(iid, ppvObject);
  }
};

/// An object on the stack, which does not count references. Look at m_hResFinalConstruct first.
template <class Base>
class CComObjectStack : public Base {
 public:
  using _BaseClass = Base;

  explicit CComObjectStack(void* = nullptr) {
    m_hResFinalConstruct = this->_AtlInitialConstruct();
    if (SUCCEEDED(m_hResFinalConstruct)) {
      m_hResFinalConstruct = this->FinalConstruct();
    }
  }
  virtual ~CComObjectStack() { this->FinalRelease(); }

  STDMETHOD_(ULONG, AddRef)() override { return 0; }
  STDMETHOD_(ULONG, Release)() override { return 0; }
  STDMETHOD(QueryInterface)(REFIID, void** ppvObject) override {
    if (ppvObject != nullptr) {
      *ppvObject = nullptr;
    }
    return E_NOINTERFACE;
  }

  HRESULT m_hResFinalConstruct;
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
  template <class Q>
  HRESULT QueryInterface(Q** pp) {
    return QueryInterface(__uuidof(Q), reinterpret_cast<void**>(pp));
  }
  // Takes the place of that of DECLARE_GET_CONTROLLING_UNKNOWN, in classes that have one.
  _ATL_BEGIN_UNMARKED_OVERRIDES
  IUnknown* GetControllingUnknown() { return this->m_pOuterUnknown; }
  _ATL_END_UNMARKED_OVERRIDES
};

namespace detail {

/// What an aggregated object has around its contained part: the IUnknown by which the outer object
/// owns it, and a count of its own. Holds a module lock.
/// Derived gives CreateInstance and says when the contained part is alone.
template <class Contained>
class CComContainer : public IUnknown,
                      public CComObjectRootEx<typename Contained::_ThreadModel::ThreadModelNoCS> {
 public:
  using _BaseClass = Contained;
  using _Root = CComObjectRootEx<typename Contained::_ThreadModel::ThreadModelNoCS>;

  explicit CComContainer(IUnknown* pOuter) : m_contained(pOuter) { _pAtlModule->Lock(); }
  CComContainer(const CComContainer&) = delete;
  CComContainer& operator=(const CComContainer&) = delete;
  virtual ~CComContainer() {
    this->m_dwRef = kRefCountInDestructor;
    FinalRelease();
    _pAtlModule->Unlock();
  }

  HRESULT _AtlInitialConstruct() {
    const HRESULT hr = m_contained._AtlInitialConstruct();
    return FAILED(hr) ? hr : _Root::_AtlInitialConstruct();
  }
  HRESULT FinalConstruct() { return m_contained.FinalConstruct(); }
  HRESULT _AtlFinalConstruct() { return m_contained._AtlFinalConstruct(); }
  void FinalRelease() { m_contained.FinalRelease(); }
  // A contained part that protects its construction does so by this object's count.
  void InternalFinalConstructAddRef() { this->InternalAddRef(); }
  void InternalFinalConstructRelease() { this->InternalRelease(); }

  STDMETHOD_(ULONG, AddRef)() override { return this->InternalAddRef(); }
  STDMETHOD_(ULONG, Release)() override {
    const ULONG l = this->InternalRelease();
    if (l == 0) {
      const CModuleLockScope lock;
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
  template <class Q>
  HRESULT QueryInterface(Q** pp) {
    return QueryInterface(__uuidof(Q), reinterpret_cast<void**>(pp));
  }

  CComContainedObject<Contained> m_contained;
};

}  // namespace detail

/// An object inside another one, which is the only one that sees this object's own IUnknown.
template <class contained>
class CComAggObject : public detail::CComContainer<contained> {
 public:
  /// pv: the outer object's IUnknown.
  explicit CComAggObject(void* pv) : detail::CComContainer<contained>(static_cast<IUnknown*>(pv)) {}
};

/// One class for objects inside another one and for those that stand alone, which are their own
/// outer object: saves a second set of virtual functions.
template <class contained>
class CComPolyObject : public detail::CComContainer<contained> {
 public:
  /// pv: the outer object's IUnknown, or null.
  explicit CComPolyObject(void* pv)
      : detail::CComContainer<contained>(pv != nullptr ? static_cast<IUnknown*>(pv) : this) {}
};

}  // namespace ATL
