#pragma once

#include "com_object.h"
#include "creators.h"
#include "object_root.h"

namespace ATL {

/// The class factory of every class that does not bring one of its own. Made with the class's
/// creator by SetVoid.
class CComClassFactory : public IClassFactory, public CComObjectRootEx<CComGlobalsThreadModel> {
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
      _pAtlModule->Lock();
    } else {
      _pAtlModule->Unlock();
    }
    return S_OK;
  }

  void SetVoid(void* pv) { m_pfnCreateInstance = reinterpret_cast<_ATL_CREATORFUNC*>(pv); }

  _ATL_CREATORFUNC* m_pfnCreateInstance = nullptr;
};

}  // namespace ATL

// How a class is made and by what; one of each kind in a class. CComCoClass brings the first two.

/// The factory lives in the object map, which is why its own reference does not count as a lock.
#define DECLARE_CLASSFACTORY_EX(cf) \
  using _ClassFactoryCreatorClass = ATL::CComCreator<ATL::CComObjectCached<cf>>;
#define DECLARE_CLASSFACTORY() DECLARE_CLASSFACTORY_EX(ATL::CComClassFactory)

#define DECLARE_AGGREGATABLE(x)                                      \
 public:                                                             \
  typedef ATL::CComCreator2<ATL::CComCreator<ATL::CComObject<x>>,    \
                            ATL::CComCreator<ATL::CComAggObject<x>>> \
      _CreatorClass;
#define DECLARE_NOT_AGGREGATABLE(x)                                      \
 public:                                                                 \
  typedef ATL::CComCreator2<ATL::CComCreator<ATL::CComObject<x>>,        \
                            ATL::CComFailCreator<CLASS_E_NOAGGREGATION>> \
      _CreatorClass;
#define DECLARE_ONLY_AGGREGATABLE(x)                                                               \
 public:                                                                                           \
  typedef ATL::CComCreator2<ATL::CComFailCreator<E_FAIL>, ATL::CComCreator<ATL::CComAggObject<x>>> \
      _CreatorClass;
#define DECLARE_POLY_AGGREGATABLE(x) \
 public:                             \
  using _CreatorClass = ATL::CComCreator<ATL::CComPolyObject<x>>;
