#pragma once

// IDispatch and the class information interfaces, answered from a type library.

#include <cguid.h>
#include <olectl.h>

#include "type_info_holder.h"

namespace ATL {

/// The IDispatch half of dual interface T, whose methods are left to the derived class. The library
/// *plibid must be registered in version wMajor.wMinor.
template <class T, const IID* piid, const GUID* plibid, WORD wMajor = 1, WORD wMinor = 0>
class ATL_NO_VTABLE IDispatchImpl : public T {
 public:
  STDMETHOD(GetTypeInfoCount)(UINT* pctinfo) override {
    if (pctinfo == nullptr) {
      return E_POINTER;
    }
    *pctinfo = 1;
    return S_OK;
  }
  STDMETHOD(GetTypeInfo)(UINT itinfo, LCID lcid, ITypeInfo** pptinfo) override {
    return _tih.GetTypeInfo(itinfo, lcid, pptinfo);
  }
  STDMETHOD(GetIDsOfNames)
  (REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID lcid, DISPID* rgdispid) override {
    return _tih.GetIDsOfNames(riid, rgszNames, cNames, lcid, rgdispid);
  }
  STDMETHOD(Invoke)
  (DISPID dispidMember, REFIID riid, LCID lcid, WORD wFlags, DISPPARAMS* pdispparams,
   VARIANT* pvarResult, EXCEPINFO* pexcepinfo, UINT* puArgErr) override {
    return _tih.Invoke(static_cast<IDispatch*>(this), dispidMember, riid, lcid, wFlags, pdispparams,
                       pvarResult, pexcepinfo, puArgErr);
  }

 protected:
  static inline constinit CComTypeInfoHolder _tih{piid, plibid, wMajor, wMinor};
};

/// Type information of the class itself.
template <const CLSID* pcoclsid, const GUID* plibid, WORD wMajor = 1, WORD wMinor = 0>
class ATL_NO_VTABLE IProvideClassInfoImpl : public IProvideClassInfo {
 public:
  STDMETHOD(GetClassInfo)(ITypeInfo** pptinfo) override {
    return _tih.GetTypeInfo(0, LANG_NEUTRAL, pptinfo);
  }

 protected:
  static inline constinit CComTypeInfoHolder _tih{pcoclsid, plibid, wMajor, wMinor};
};

/// The same for containers that ask for the class's default source interface, too: classes without
/// events only.
template <const CLSID* pcoclsid, const IID* psrcid, const GUID* plibid, WORD wMajor = 1,
          WORD wMinor = 0>
class ATL_NO_VTABLE IProvideClassInfo2Impl : public IProvideClassInfo2 {
 public:
  static_assert(psrcid == nullptr, "there is nothing that fires events");

  STDMETHOD(GetClassInfo)(ITypeInfo** pptinfo) override {
    return _tih.GetTypeInfo(0, LANG_NEUTRAL, pptinfo);
  }
  STDMETHOD(GetGUID)(DWORD /*dwGuidKind*/, GUID* pGUID) override {
    if (pGUID == nullptr) {
      return E_POINTER;
    }
    *pGUID = GUID_NULL;
    return E_INVALIDARG;
  }

 protected:
  static inline constinit CComTypeInfoHolder _tih{pcoclsid, plibid, wMajor, wMinor};
};

}  // namespace ATL
