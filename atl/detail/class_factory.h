#pragma once

#include "com_module.h"
#include "com_object.h"

namespace ATL {

/// The class factory of every class. SetVoid receives the creator of the class.
class CComClassFactory : public IClassFactory, public CComObjectRootEx<CComMultiThreadModel> {
 public:
  virtual ~CComClassFactory() = default;

  BEGIN_COM_MAP(CComClassFactory)
  COM_INTERFACE_ENTRY(IClassFactory)
  END_COM_MAP()

  STDMETHOD(CreateInstance)(LPUNKNOWN pUnkOuter, REFIID riid, void** ppvObj) override {
    ATLASSERT(m_pfnCreateInstance != nullptr);
    if (FAILED(detail::SetResult(ppvObj, nullptr))) {
      return E_POINTER;
    }
    // The outer object must get the inner IUnknown: no other interface would own the object.
    if (pUnkOuter != nullptr && riid != IID_IUnknown) {
      return CLASS_E_NOAGGREGATION;
    }
    return m_pfnCreateInstance(pUnkOuter, riid, ppvObj);
  }
  STDMETHOD(LockServer)(BOOL fLock) override {
    fLock ? detail::LockModule() : detail::UnlockModule();
    return S_OK;
  }

  void SetVoid(void* pv) { m_pfnCreateInstance = reinterpret_cast<_ATL_CREATORFUNC*>(pv); }

  _ATL_CREATORFUNC* m_pfnCreateInstance = nullptr;
};

/// Base of a class that clients can create under *pclsid, standalone or aggregated.
template <class T, const CLSID* pclsid>
class CComCoClass {
 public:
  using _ClassFactoryCreatorClass = CComCreator<CComObjectCached<CComClassFactory>>;
  using _CreatorClass = CComCreator2<CComCreator<CComObject<T>>, CComCreator<CComAggObject<T>>>;

  static const CLSID& WINAPI GetObjectCLSID() { return *pclsid; }
};

}  // namespace ATL
