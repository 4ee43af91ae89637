#pragma once

// IDispatch and the class information interfaces, implemented by a type library.

#include <atlcomcli.h>
#include <cguid.h>
#include <olectl.h>

#include <atomic>

#include "module.h"

namespace ATL {

/// The type information of one type, loaded when it is first used and released at the module's end.
/// A static member of the classes that use it. Any thread.
class CComTypeInfoHolder {
 public:
  /// The registered type library *plibid of that version has the type *pguid.
  constexpr CComTypeInfoHolder(const GUID* pguid, const GUID* plibid, WORD wMajor,
                               WORD wMinor) noexcept
      : m_pguid(pguid), m_plibid(plibid), m_wMajor(wMajor), m_wMinor(wMinor) {}
  CComTypeInfoHolder(const CComTypeInfoHolder&) = delete;
  CComTypeInfoHolder& operator=(const CComTypeInfoHolder&) = delete;

  HRESULT EnsureTI(LCID lcid) noexcept {
    if (m_pInfo != nullptr) {
      return S_OK;
    }
    if (_pAtlModule == nullptr) {
      return E_UNEXPECTED;  // nothing would release it
    }
    return detail::CallGuarded([&]() -> HRESULT {
      const CComCritSecLock<CComCriticalSection> lock(_pAtlModule->m_csStaticDataInitAndTypeInfo);
      // Another thread may have loaded it while this one waited.
      return m_pInfo != nullptr ? S_OK : Load(lcid);
    });
  }

  HRESULT GetTypeInfo(UINT itinfo, LCID lcid, ITypeInfo** pptinfo) noexcept {
    if (pptinfo == nullptr) {
      return E_POINTER;
    }
    *pptinfo = nullptr;
    const HRESULT hr = itinfo != 0 ? DISP_E_BADINDEX : EnsureTI(lcid);
    if (SUCCEEDED(hr)) {
      *pptinfo = m_pInfo;
      (*pptinfo)->AddRef();
    }
    return hr;
  }
  HRESULT GetIDsOfNames(REFIID /*riid*/, LPOLESTR* rgszNames, UINT cNames, LCID lcid,
                        DISPID* rgdispid) noexcept {
    const HRESULT hr = EnsureTI(lcid);
    return FAILED(hr) ? hr : m_pInfo.load()->GetIDsOfNames(rgszNames, cNames, rgdispid);
  }
  /// p: the object's interface that the type describes.
  HRESULT Invoke(IDispatch* p, DISPID dispidMember, REFIID /*riid*/, LCID lcid, WORD wFlags,
                 DISPPARAMS* pdispparams, VARIANT* pvarResult, EXCEPINFO* pexcepinfo,
                 UINT* puArgErr) {
    const HRESULT hr = EnsureTI(lcid);
    return FAILED(hr) ? hr
                      : m_pInfo.load()->Invoke(p, dispidMember, wFlags, pdispparams, pvarResult,
                                               pexcepinfo, puArgErr);
  }

  /// Called at the module's end with the holder's address.
  static void __stdcall Cleanup(DWORD_PTR dw) noexcept {
    auto* const pHolder = reinterpret_cast<CComTypeInfoHolder*>(dw);
    if (ITypeInfo* const pInfo = pHolder->m_pInfo.exchange(nullptr)) {
      pInfo->Release();
    }
  }

  const GUID* const m_pguid;
  const GUID* const m_plibid;
  const WORD m_wMajor;
  const WORD m_wMinor;

 private:
  /// The caller holds the lock.
  HRESULT Load(LCID lcid) noexcept {
    CComPtr<ITypeLib> pLibrary;
    CComPtr<ITypeInfo> pInfo;
    HRESULT hr = ::LoadRegTypeLib(*m_plibid, m_wMajor, m_wMinor, lcid, &pLibrary);
    if (SUCCEEDED(hr)) {
      hr = pLibrary->GetTypeInfoOfGuid(*m_pguid, &pInfo);
    }
    if (SUCCEEDED(hr)) {
      hr = _pAtlModule->AddTermFunc(Cleanup, reinterpret_cast<DWORD_PTR>(this));
    }
    if (SUCCEEDED(hr)) {
      m_pInfo = pInfo.Detach();
    }
    return hr;
  }

  std::atomic<ITypeInfo*> m_pInfo = nullptr;
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
  static inline constinit CComTypeInfoHolder _tih{piid, plibid, wMajor, wMinor};
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
  static inline constinit CComTypeInfoHolder _tih{pcoclsid, plibid, wMajor, wMinor};
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
