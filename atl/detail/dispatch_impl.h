#pragma once

#include <atlcomcli.h>
#include <cguid.h>
#include <olectl.h>

namespace ATL {

namespace detail {

/// Returns the type `guid` of a registered library. Loads it for each call, as the system caches
/// libraries, so that nothing is shared or has to be released at the module's end. Any thread.
inline HRESULT LoadTypeInfo(REFGUID guid, REFGUID library, WORD wMajor, WORD wMinor, LCID lcid,
                            ITypeInfo** ppInfo) noexcept {
  if (ppInfo == nullptr) {
    return E_POINTER;
  }
  *ppInfo = nullptr;
  CComPtr<ITypeLib> pLibrary;
  const HRESULT hr = ::LoadRegTypeLib(library, wMajor, wMinor, lcid, &pLibrary);
  return FAILED(hr) ? hr : pLibrary->GetTypeInfoOfGuid(guid, ppInfo);
}

}  // namespace detail

/// Implements IDispatch for the dual interface T, whose type information is *piid; the derived
/// class implements T's own methods. The library *plibid must be registered in version
/// wMajor.wMinor.
template <class T, const IID* piid, const GUID* plibid, WORD wMajor = 1, WORD wMinor = 0>
class IDispatchImpl : public T {
 public:
  STDMETHOD(GetTypeInfoCount)(UINT* pctinfo) override { return detail::SetResult(pctinfo, 1); }
  STDMETHOD(GetTypeInfo)(UINT itinfo, LCID lcid, ITypeInfo** pptinfo) override {
    return itinfo == 0 ? Load(lcid, pptinfo) : detail::SetResult(pptinfo, nullptr, DISP_E_BADINDEX);
  }
  STDMETHOD(GetIDsOfNames)
  (REFIID /*riid*/, LPOLESTR* rgszNames, UINT cNames, LCID lcid, DISPID* rgdispid) override {
    CComPtr<ITypeInfo> pInfo;
    const HRESULT hr = Load(lcid, &pInfo);
    return FAILED(hr) ? hr : pInfo->GetIDsOfNames(rgszNames, cNames, rgdispid);
  }
  STDMETHOD(Invoke)
  (DISPID dispidMember, REFIID /*riid*/, LCID lcid, WORD wFlags, DISPPARAMS* pdispparams,
   VARIANT* pvarResult, EXCEPINFO* pexcepinfo, UINT* puArgErr) override {
    CComPtr<ITypeInfo> pInfo;
    const HRESULT hr = Load(lcid, &pInfo);
    return FAILED(hr) ? hr
                      : pInfo->Invoke(static_cast<IDispatch*>(this), dispidMember, wFlags,
                                      pdispparams, pvarResult, pexcepinfo, puArgErr);
  }

 private:
  static HRESULT Load(LCID lcid, ITypeInfo** ppInfo) noexcept {
    return detail::LoadTypeInfo(*piid, *plibid, wMajor, wMinor, lcid, ppInfo);
  }
};

/// Returns the type information of the class.
template <const CLSID* pcoclsid, const GUID* plibid, WORD wMajor = 1, WORD wMinor = 0,
          class Base = IProvideClassInfo>
class IProvideClassInfoImpl : public Base {
 public:
  STDMETHOD(GetClassInfo)(ITypeInfo** pptinfo) override {
    return detail::LoadTypeInfo(*pcoclsid, *plibid, wMajor, wMinor, LANG_NEUTRAL, pptinfo);
  }
};

/// The same, for classes without events: there is no default source interface.
template <const CLSID* pcoclsid, const IID* psrcid, const GUID* plibid, WORD wMajor = 1,
          WORD wMinor = 0>
class IProvideClassInfo2Impl
    : public IProvideClassInfoImpl<pcoclsid, plibid, wMajor, wMinor, IProvideClassInfo2> {
 public:
  static_assert(psrcid == nullptr, "events are not supported");

  STDMETHOD(GetGUID)(DWORD /*dwGuidKind*/, GUID* pGUID) override {
    return detail::SetResult(pGUID, GUID_NULL, E_INVALIDARG);
  }
};

}  // namespace ATL
