#pragma once

// IDispatch and the class information interfaces, answered from a type library.

#include <olectl.h>

#include "type_info_holder.h"

namespace ATL {

/// The IDispatch half of dual interface T, whose methods are left to the derived class. The library
/// *plibid must be registered in version wMajor.wMinor, or be in the module (0xFFFF.0xFFFF).
template <class T, const IID* piid = &__uuidof(T), const GUID* plibid = &CAtlModule::m_libid,
          WORD wMajor = 1, WORD wMinor = 0, class tihclass = CComTypeInfoHolder>
class ATL_NO_VTABLE IDispatchImpl : public T {
 public:
  using _tihclass = tihclass;

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
  // Not by STDMETHOD, which promises that nothing is thrown: an override may have to.
  HRESULT STDMETHODCALLTYPE Invoke(DISPID dispidMember, REFIID riid, LCID lcid, WORD wFlags,
                                   DISPPARAMS* pdispparams, VARIANT* pvarResult,
                                   EXCEPINFO* pexcepinfo, UINT* puArgErr) override {
    return _tih.Invoke(static_cast<IDispatch*>(this), dispidMember, riid, lcid, wFlags, pdispparams,
                       pvarResult, pexcepinfo, puArgErr);
  }

 protected:
  static inline constinit _tihclass _tih{piid, plibid, wMajor, wMinor};

  static HRESULT GetTI(LCID lcid, ITypeInfo** ppInfo) { return _tih.GetTI(lcid, ppInfo); }
};

/// Type information of the class itself.
template <const CLSID* pcoclsid, const GUID* plibid = &CAtlModule::m_libid, WORD wMajor = 1,
          WORD wMinor = 0, class tihclass = CComTypeInfoHolder>
class ATL_NO_VTABLE IProvideClassInfoImpl : public IProvideClassInfo {
 public:
  using _tihclass = tihclass;

  STDMETHOD(GetClassInfo)(ITypeInfo** pptinfo) override {
    return _tih.GetTypeInfo(0, LANG_NEUTRAL, pptinfo);
  }

 protected:
  static inline constinit _tihclass _tih{pcoclsid, plibid, wMajor, wMinor};
};

/// The same with the class's default source interface; a null psrcid says that there is none.
template <const CLSID* pcoclsid, const IID* psrcid, const GUID* plibid = &CAtlModule::m_libid,
          WORD wMajor = 1, WORD wMinor = 0, class tihclass = CComTypeInfoHolder>
class ATL_NO_VTABLE IProvideClassInfo2Impl : public IProvideClassInfo2 {
 public:
  using _tihclass = tihclass;

  STDMETHOD(GetClassInfo)(ITypeInfo** pptinfo) override {
    return _tih.GetTypeInfo(0, LANG_NEUTRAL, pptinfo);
  }
  STDMETHOD(GetGUID)(DWORD dwGuidKind, GUID* pGUID) override {
    if (pGUID == nullptr) {
      return E_POINTER;
    }
    if constexpr (psrcid != nullptr) {
      if (dwGuidKind == GUIDKIND_DEFAULT_SOURCE_DISP_IID) {
        *pGUID = *psrcid;
        return S_OK;
      }
    }
    *pGUID = GUID_NULL;
    return E_INVALIDARG;
  }

 protected:
  static inline constinit _tihclass _tih{pcoclsid, plibid, wMajor, wMinor};
};

}  // namespace ATL
