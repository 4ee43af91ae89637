#pragma once

// Creators: the functions in the object map that make an object of a class.

#include <memory>

#include "exception_boundary.h"
#include "module_types.h"

namespace ATL {

namespace detail {

/// Brings a new object to life: its lock, then FinalConstruct. An object whose answer is not S_OK
/// is for its owner to delete.
template <class T>
HRESULT FinishConstruction(T& object, void* pv) {
  object.SetVoid(pv);
  object.InternalFinalConstructAddRef();
  HRESULT hr = object._AtlInitialConstruct();
  if (SUCCEEDED(hr)) {
    hr = object.FinalConstruct();
  }
  if (SUCCEEDED(hr)) {
    hr = object._AtlFinalConstruct();
  }
  object.InternalFinalConstructRelease();
  return hr;
}

/// Makes an object and asks it, by `query`, for what the caller wants.
template <class T, class Query>
HRESULT CreateAndQuery(void* pv, LPVOID* ppv, Query query) noexcept {
  if (ppv == nullptr) {
    return E_POINTER;
  }
  *ppv = nullptr;
  return CallGuarded([&] {
    auto pObject = std::make_unique<T>(pv);
    HRESULT hr = FinishConstruction(*pObject, pv);
    if (hr == S_OK) {
      hr = query(*pObject);
    }
    if (hr == S_OK) {
      // From here on the references own the object.
      pObject.release();
    }
    return hr;
  });
}

}  // namespace detail

/// Makes a T1 and asks it for an interface. Whatever goes wrong, nothing is left behind.
template <class T1>
class CComCreator {
 public:
  static HRESULT WINAPI CreateInstance(void* pv, REFIID riid, LPVOID* ppv) noexcept {
    return detail::CreateAndQuery<T1>(pv, ppv,
                                      [&](T1& object) { return object.QueryInterface(riid, ppv); });
  }
};

/// The same without going through an outer object's QueryInterface.
template <class T1>
class CComInternalCreator {
 public:
  static HRESULT WINAPI CreateInstance(void* pv, REFIID riid, LPVOID* ppv) noexcept {
    return detail::CreateAndQuery<T1>(
        pv, ppv, [&](T1& object) { return object._InternalQueryInterface(riid, ppv); });
  }
};

/// Always fails, with `hr`.
template <HRESULT hr>
class CComFailCreator {
 public:
  static HRESULT WINAPI CreateInstance(void*, REFIID, LPVOID* ppv) noexcept {
    if (ppv == nullptr) {
      return E_POINTER;
    }
    *ppv = nullptr;
    return hr;
  }
};

/// T1 makes objects that stand alone, T2 those that become part of another one.
template <class T1, class T2>
class CComCreator2 {
 public:
  static HRESULT WINAPI CreateInstance(void* pv, REFIID riid, LPVOID* ppv) noexcept {
    return pv == nullptr ? T1::CreateInstance(nullptr, riid, ppv)
                         : T2::CreateInstance(pv, riid, ppv);
  }
};

}  // namespace ATL
