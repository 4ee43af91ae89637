#pragma once

// IDispatch and the class information interfaces, implemented by a type library.

#include <atlcomcli.h>
#include <cguid.h>
#include <olectl.h>

namespace ATL {

/// The type information of one type. A static member of the classes that use it. Any thread: it is
/// loaded for each call, as the system caches libraries, so that nothing is shared or has to be
/// released at the module's end.
class CComTypeInfoHolder {
 public:
  /// The registered type library *plibid of that version has the type *pguid.
  constexpr CComTypeInfoHolder(const GUID* pguid, const GUID* plibid, WORD wMajor,
                               WORD wMinor) noexcept
      : m_pguid(pguid), m_plibid(plibid), m_wMajor(wMajor), m_wMinor(wMinor) {}

  HRESULT GetTI(LCID lcid, ITypeInfo** ppInfo) const noexcept {
    CComPtr<ITypeLib> pLibrary;
    const HRESULT hr = ::LoadRegTypeLib(*m_plibid, m_wMajor, m_wMinor, lcid, &pLibrary);
    return FAILED(hr) ? hr : pLibrary->GetTypeInfoOfGuid(*m_pguid, ppInfo);
  }
  HRESULT GetTypeInfo(UINT itinfo, LCID lcid, ITypeInfo** pptinfo) const noexcept {
    if (pptinfo == nullptr) {
      return E_POINTER;
    }
    *pptinfo = nullptr;
    return itinfo != 0 ? DISP_E_BADINDEX : GetTI(lcid, pptinfo);
  }
  HRESULT GetIDsOfNames(REFIID /*riid*/, LPOLESTR* rgszNames, UINT cNames, LCID lcid,
                        DISPID* rgdispid) const noexcept {
    CComPtr<ITypeInfo> pInfo;
    const HRESULT hr = GetTI(lcid, &pInfo);
    return FAILED(hr) ? hr : pInfo->GetIDsOfNames(rgszNames, cNames, rgdispid);
  }
  /// p: the object's interface that the type describes.
  HRESULT Invoke(IDispatch* p, DISPID dispidMember, REFIID /*riid*/, LCID lcid, WORD wFlags,
                 DISPPARAMS* pdispparams, VARIANT* pvarResult, EXCEPINFO* pexcepinfo,
                 UINT* puArgErr) const {
    CComPtr<ITypeInfo> pInfo;
    const HRESULT hr = GetTI(lcid, &pInfo);
    return FAILED(hr) ? hr
                      : pInfo->Invoke(p, dispidMember, wFlags, pdispparams, pvarResult, pexcepinfo,
                                      puArgErr);
  }

 private:
  const GUID* const m_pguid;
  const GUID* const m_plibid;
  const WORD m_wMajor;
  const WORD m_wMinor;
};

/// Implements IDispatch for the dual interface T; the derived class implements T's own methods. The
/// library *plibid must be registered in version wMajor.wMinor.
template <class T, const IID* piid, const GUID* plibid, WORD wMajor = 1, WORD wMinor = 0>
class ATL_NO_VTABLE IDispatchImpl : public T {
 public:
  STDMETHOD(GetTypeInfoCount)(UINT* pctinfo) override { return detail::SetResult(pctinfo, 1); }
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
  static constexpr CComTypeInfoHolder _tih{piid, plibid, wMajor, wMinor};
};

/// Returns the type information of the class.
template <const CLSID* pcoclsid, const GUID* plibid, WORD wMajor = 1, WORD wMinor = 0,
          class Base = IProvideClassInfo>
class ATL_NO_VTABLE IProvideClassInfoImpl : public Base {
 public:
  STDMETHOD(GetClassInfo)(ITypeInfo** pptinfo) override {
    return _tih.GetTypeInfo(0, LANG_NEUTRAL, pptinfo);
  }

 protected:
  static constexpr CComTypeInfoHolder _tih{pcoclsid, plibid, wMajor, wMinor};
};

/// The same, for classes without events: there is no default source interface.
template <const CLSID* pcoclsid, const IID* psrcid, const GUID* plibid, WORD wMajor = 1,
          WORD wMinor = 0>
class ATL_NO_VTABLE IProvideClassInfo2Impl
    : public IProvideClassInfoImpl<pcoclsid, plibid, wMajor, wMinor, IProvideClassInfo2> {
 public:
  static_assert(psrcid == nullptr, "events are not supported");

  STDMETHOD(GetGUID)(DWORD /*dwGuidKind*/, GUID* pGUID) override {
    return detail::SetResult(pGUID, GUID_NULL, E_INVALIDARG);
  }
};

}  // namespace ATL
