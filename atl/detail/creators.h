#pragma once

// Creators: the functions in the object map that make an object of a class.

#include <memory>

#include "exception_boundary.h"
#include "module_types.h"

namespace ATL {

namespace detail {

/// Brings a new object to life by FinalConstruct. An object whose answer is not S_OK is for its
/// owner to delete.
template <class T>
HRESULT FinishConstruction(T& object, void* pv) {
  object.SetVoid(pv);
  object.InternalFinalConstructAddRef();
  const HRESULT hr = object.FinalConstruct();
  object.InternalFinalConstructRelease();
  // Any success is one.
  return FAILED(hr) ? hr : S_OK;
}

}  // namespace detail

/// Makes a T1 and asks it for an interface. Whatever goes wrong, nothing is left behind.
template <class T1>
class CComCreator {
 public:
  static HRESULT WINAPI CreateInstance(void* pv, REFIID riid, LPVOID* ppv) noexcept {
    if (ppv == nullptr) {
      return E_POINTER;
    }
    *ppv = nullptr;
    return detail::CallGuarded([&] {
      auto pObject = std::make_unique<T1>(pv);
      HRESULT hr = detail::FinishConstruction(*pObject, pv);
      if (hr == S_OK) {
        hr = pObject->QueryInterface(riid, ppv);
      }
      if (hr == S_OK) {
        // From here on the references own the object.
        pObject.release();
      }
      return hr;
    });
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
