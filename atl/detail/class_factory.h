#pragma once

#include "com_object.h"
#include "creators.h"
#include "object_root.h"

namespace ATL {

/// The class factory of every class that does not bring one of its own. Made with the class's
/// creator by SetVoid.
class CComClassFactory : public IClassFactory, public CComObjectRootEx<CComMultiThreadModel> {
 public:
  virtual ~CComClassFactory() = default;

  BEGIN_COM_MAP(CComClassFactory)
  COM_INTERFACE_ENTRY(IClassFactory)
  END_COM_MAP()

  STDMETHOD(CreateInstance)(LPUNKNOWN pUnkOuter, REFIID riid, void** ppvObj) override {
    ATLASSERT(m_pfnCreateInstance != nullptr);
    if (ppvObj == nullptr) {
      return E_POINTER;
    }
    *ppvObj = nullptr;
    // Whoever takes an object in needs its own IUnknown: any other pointer would not own it.
    if (pUnkOuter != nullptr && !InlineIsEqualUnknown(riid)) {
      return CLASS_E_NOAGGREGATION;
    }
    return m_pfnCreateInstance(pUnkOuter, riid, ppvObj);
  }
  STDMETHOD(LockServer)(BOOL fLock) override {
    if (fLock) {
      detail::LockModule();
    } else {
      detail::UnlockModule();
    }
    return S_OK;
  }

  void SetVoid(void* pv) { m_pfnCreateInstance = reinterpret_cast<_ATL_CREATORFUNC*>(pv); }

  _ATL_CREATORFUNC* m_pfnCreateInstance = nullptr;
};

}  // namespace ATL
