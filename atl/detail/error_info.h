#pragma once

// Error information that goes with a failure code.

#include <atlcomcli.h>
#include <atlcore.h>

#include <string>

#include "exception_boundary.h"

namespace ATL {

namespace detail {

/// A string of the module's table; empty when there is none of this number.
inline std::wstring LoadResourceString(HINSTANCE hInst, UINT nID) {
  const wchar_t* text = nullptr;
  // With length 0 this yields a pointer into the resource, which has no terminator.
  const int length = ::LoadStringW(hInst, nID, reinterpret_cast<wchar_t*>(&text), 0);
  return length > 0 ? std::wstring(text, static_cast<size_t>(length)) : std::wstring();
}

}  // namespace detail

/// Sets the thread's error information and returns the code to fail with: hRes, or DISP_E_EXCEPTION
/// when that is 0. A description with a high part of 0 is the number of a resource string of hInst
/// (null: the module's resources); its default code is then made from that number.
/// The source is the ProgID of clsid where there is one.
inline HRESULT WINAPI AtlSetErrorInfo(REFCLSID clsid, LPCOLESTR lpszDesc, DWORD dwHelpID,
                                      LPCOLESTR lpszHelpFile, const IID& iid, HRESULT hRes,
                                      HINSTANCE hInst) noexcept {
  const HRESULT hrInfo = detail::CallGuarded([&]() -> HRESULT {
    std::wstring description;
    if (IS_INTRESOURCE(lpszDesc)) {
      const UINT nID = LOWORD(reinterpret_cast<DWORD_PTR>(lpszDesc));
      description = detail::LoadResourceString(
          hInst != nullptr ? hInst : _AtlBaseModule.GetResourceInstance(), nID);
      if (hRes == 0) {
        hRes = MAKE_HRESULT(SEVERITY_ERROR, FACILITY_ITF, nID);
      }
    } else {
      description = lpszDesc;
    }
    CComPtr<ICreateErrorInfo> pCreate;
    HRESULT hr = ::CreateErrorInfo(&pCreate);
    if (FAILED(hr)) {
      return hr;
    }
    pCreate->SetGUID(iid);
    LPOLESTR szProgID = nullptr;
    if (SUCCEEDED(::ProgIDFromCLSID(clsid, &szProgID))) {
      pCreate->SetSource(szProgID);
      ::CoTaskMemFree(szProgID);
    }
    if (dwHelpID != 0 && lpszHelpFile != nullptr) {
      std::wstring helpFile(lpszHelpFile);
      pCreate->SetHelpContext(dwHelpID);
      pCreate->SetHelpFile(helpFile.data());
    }
    pCreate->SetDescription(description.data());
    CComPtr<IErrorInfo> pInfo;
    hr = pCreate->QueryInterface(__uuidof(IErrorInfo), reinterpret_cast<void**>(&pInfo));
    return FAILED(hr) ? hr : ::SetErrorInfo(0, pInfo);
  });
  // Without its explanation the failure is still the caller's failure.
  static_cast<void>(hrInfo);
  return hRes == 0 ? DISP_E_EXCEPTION : hRes;
}

inline HRESULT WINAPI AtlReportError(const CLSID& clsid, LPCOLESTR lpszDesc, DWORD dwHelpID,
                                     LPCOLESTR lpszHelpFile, const IID& iid = GUID_NULL,
                                     HRESULT hRes = 0) noexcept {
  return AtlSetErrorInfo(clsid, lpszDesc, dwHelpID, lpszHelpFile, iid, hRes, nullptr);
}
inline HRESULT WINAPI AtlReportError(const CLSID& clsid, LPCOLESTR lpszDesc,
                                     const IID& iid = GUID_NULL, HRESULT hRes = 0) noexcept {
  return AtlSetErrorInfo(clsid, lpszDesc, 0, nullptr, iid, hRes, nullptr);
}
inline HRESULT WINAPI AtlReportError(const CLSID& clsid, UINT nID, const IID& iid = GUID_NULL,
                                     HRESULT hRes = 0, HINSTANCE hInst = nullptr) noexcept {
  return AtlSetErrorInfo(clsid, MAKEINTRESOURCEW(nID), 0, nullptr, iid, hRes, hInst);
}
inline HRESULT WINAPI AtlReportError(const CLSID& clsid, UINT nID, DWORD dwHelpID,
                                     LPCOLESTR lpszHelpFile, const IID& iid = GUID_NULL,
                                     HRESULT hRes = 0, HINSTANCE hInst = nullptr) noexcept {
  return AtlSetErrorInfo(clsid, MAKEINTRESOURCEW(nID), dwHelpID, lpszHelpFile, iid, hRes, hInst);
}
inline HRESULT WINAPI AtlReportError(const CLSID& clsid, LPCSTR lpszDesc, DWORD dwHelpID,
                                     LPCSTR lpszHelpFile, const IID& iid = GUID_NULL,
                                     HRESULT hRes = 0) noexcept {
  HRESULT hrReported = hRes;
  const HRESULT hr = detail::CallGuarded([&] {
    const CComBSTR description(lpszDesc);
    const CComBSTR helpFile(lpszHelpFile);
    hrReported =
        AtlSetErrorInfo(clsid, description.m_str, dwHelpID, helpFile.m_str, iid, hRes, nullptr);
    return S_OK;
  });
  return FAILED(hr) ? hr : hrReported;
}
inline HRESULT WINAPI AtlReportError(const CLSID& clsid, LPCSTR lpszDesc,
                                     const IID& iid = GUID_NULL, HRESULT hRes = 0) noexcept {
  return AtlReportError(clsid, lpszDesc, 0, nullptr, iid, hRes);
}

/// Says that one interface of a class gives error information.
template <const IID* piid>
class ATL_NO_VTABLE ISupportErrorInfoImpl : public ISupportErrorInfo {
 public:
  STDMETHOD(InterfaceSupportsErrorInfo)(REFIID riid) override {
    return ::IsEqualGUID(riid, *piid) ? S_OK : S_FALSE;
  }
};

}  // namespace ATL
