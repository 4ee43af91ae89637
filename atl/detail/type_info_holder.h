#pragma once

#include <atlcomcli.h>

#include <atomic>

#include "exception_boundary.h"
#include "module.h"

namespace ATL {

/// Type information of one type, loaded when it is first needed and kept to the module's end. A
/// static member of the classes that need it. Any thread.
class CComTypeInfoHolder {
 public:
  /// The type is found in the registered library of this version.
  constexpr CComTypeInfoHolder(const GUID* pguid, const GUID* plibid, WORD wMajor,
                               WORD wMinor) noexcept
      : m_pguid(pguid), m_plibid(plibid), m_wMajor(wMajor), m_wMinor(wMinor) {}
  CComTypeInfoHolder(const CComTypeInfoHolder&) = delete;
  CComTypeInfoHolder& operator=(const CComTypeInfoHolder&) = delete;

  /// The caller owns the reference.
  HRESULT GetTI(LCID lcid, ITypeInfo** ppInfo) noexcept {
    if (ppInfo == nullptr) {
      return E_POINTER;
    }
    *ppInfo = nullptr;
    const HRESULT hr = EnsureTI(lcid);
    if (SUCCEEDED(hr)) {
      *ppInfo = m_pInfo;
      (*ppInfo)->AddRef();
    }
    return hr;
  }

  HRESULT EnsureTI(LCID lcid) noexcept {
    if (m_pInfo != nullptr) {
      return S_OK;
    }
    if (_pAtlModule == nullptr) {
      return E_UNEXPECTED;  // nobody would release it any more
    }
    return detail::CallGuarded([&]() -> HRESULT {
      CComCritSecLock<CComCriticalSection> lock(_pAtlModule->m_csStaticDataInitAndTypeInfo);
      // Another thread may have loaded it while this one waited.
      return m_pInfo != nullptr ? S_OK : Load(lcid);
    });
  }

  HRESULT GetTypeInfo(UINT itinfo, LCID lcid, ITypeInfo** pptinfo) noexcept {
    if (pptinfo == nullptr) {
      return E_POINTER;
    }
    *pptinfo = nullptr;
    return itinfo != 0 ? DISP_E_BADINDEX : GetTI(lcid, pptinfo);
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

  /// Called by the module at its end, with the holder's address.
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
  /// Under the lock.
  HRESULT Load(LCID lcid) noexcept {
    CComPtr<ITypeLib> pLibrary;
    HRESULT hr = ::LoadRegTypeLib(*m_plibid, m_wMajor, m_wMinor, lcid, &pLibrary);
    if (FAILED(hr)) {
      return hr;
    }
    CComPtr<ITypeInfo> pInfo;
    hr = pLibrary->GetTypeInfoOfGuid(*m_pguid, &pInfo);
    if (FAILED(hr)) {
      return hr;
    }
    hr = _pAtlModule->AddTermFunc(Cleanup, reinterpret_cast<DWORD_PTR>(this));
    if (FAILED(hr)) {
      return hr;
    }
    m_pInfo = pInfo.Detach();
    return S_OK;
  }

  std::atomic<ITypeInfo*> m_pInfo = nullptr;
};

}  // namespace ATL
