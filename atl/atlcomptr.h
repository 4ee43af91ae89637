#pragma once

#include <atlexcept.h>

#include <utility>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor, misc-unconventional-assign-operator): ATL documents the
// conversions and results

/// Owner of one reference to a COM object, whose interface has a `__uuidof`. For one thread at a
/// time.
template <class T>
class CComPtr {
 public:
  CComPtr() noexcept = default;
  CComPtr(T* lp) noexcept : p(lp) {
    if (p != nullptr) {
      p->AddRef();
    }
  }
  CComPtr(const CComPtr& lp) noexcept : CComPtr(lp.p) {}
  CComPtr(CComPtr&& lp) noexcept : p(lp.Detach()) {}
  ~CComPtr() {
    if (p != nullptr) {
      p->Release();
    }
  }

  T* operator=(T* lp) noexcept {
    CComPtr(lp).Swap(*this);
    return p;
  }
  T* operator=(CComPtr lp) noexcept {
    lp.Swap(*this);
    return p;
  }

  operator T*() const noexcept { return p; }
  T& operator*() const {
    ATLENSURE_THROW(p != nullptr, E_FAIL);
    return *p;
  }
  T* operator->() const noexcept {
    ATLASSERT(p != nullptr);
    return p;
  }
  /// For functions that return a reference. The object must be empty.
  T** operator&() noexcept {
    ATLASSERT(p == nullptr);
    return &p;
  }

  void Release() noexcept {
    // Cleared first: the last Release may call this function again.
    if (T* const pOld = std::exchange(p, nullptr); pOld != nullptr) {
      pOld->Release();
    }
  }
  /// Takes ownership of the caller's reference.
  void Attach(T* p2) noexcept {
    if (T* const pOld = std::exchange(p, p2); pOld != nullptr) {
      pOld->Release();
    }
  }
  /// Transfers the reference to the caller.
  T* Detach() noexcept { return std::exchange(p, nullptr); }
  HRESULT CopyTo(T** ppT) const noexcept {
    ATLASSERT(ppT != nullptr);
    if (ppT == nullptr) {
      return E_POINTER;
    }
    *ppT = p;
    if (p != nullptr) {
      p->AddRef();
    }
    return S_OK;
  }
  /// Whether both are interfaces of the same COM object, or both are null.
  bool IsEqualObject(IUnknown* pOther) const noexcept {
    if (p == nullptr || pOther == nullptr) {
      return p == nullptr && pOther == nullptr;
    }
    const IUnknown* const pMine = Identity(p);
    return pMine != nullptr && pMine == Identity(pOther);
  }
  template <class Q>
  HRESULT QueryInterface(Q** pp) const noexcept {
    ATLASSERT(pp != nullptr);
    if (p == nullptr) {
      return E_POINTER;
    }
    return p->QueryInterface(__uuidof(Q), reinterpret_cast<void**>(pp));
  }

  T* p = nullptr;

 private:
  /// Returns the object's IUnknown, to compare, without a reference.
  static const IUnknown* Identity(IUnknown* pUnk) noexcept {
    IUnknown* pIdentity = nullptr;
    if (FAILED(pUnk->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&pIdentity)))) {
      return nullptr;
    }
    pIdentity->Release();
    return pIdentity;
  }
  void Swap(CComPtr& other) noexcept { std::swap(p, other.p); }
};

/// CComPtr that queries the objects assigned to it for T; null when that fails.
template <class T>
class CComQIPtr : public CComPtr<T> {
 public:
  using CComPtr<T>::p;

  CComQIPtr() noexcept = default;
  CComQIPtr(IUnknown* lp) noexcept { p = Queried(lp); }

  T* operator=(IUnknown* lp) noexcept {
    this->Attach(Queried(lp));
    return p;
  }

 private:
  static T* Queried(IUnknown* lp) noexcept {
    void* pNew = nullptr;
    if (lp == nullptr || FAILED(lp->QueryInterface(__uuidof(T), &pNew))) {
      return nullptr;
    }
    return static_cast<T*>(pNew);
  }
};

// NOLINTEND(google-explicit-constructor, misc-unconventional-assign-operator)

}  // namespace ATL
