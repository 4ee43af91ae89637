#pragma once

#include <cguid.h>

#include "class_factory.h"
#include "error_info.h"

namespace ATL {

/// Base of a class that can be created from outside under *pclsid.
template <class T, const CLSID* pclsid = &CLSID_NULL>
class CComCoClass {
 public:
  DECLARE_CLASSFACTORY()
  DECLARE_AGGREGATABLE(T)
  using _CoClass = T;

  static const CLSID& WINAPI GetObjectCLSID() { return *pclsid; }
  /// Text for an object list; null keeps the class out of it.
  static LPCTSTR WINAPI GetObjectDescription() { return nullptr; }

  /// Sets error information for the caller and returns the code to fail with (AtlReportError).
  static HRESULT WINAPI Error(LPCOLESTR lpszDesc, const IID& iid = GUID_NULL, HRESULT hRes = 0) {
    return AtlReportError(T::GetObjectCLSID(), lpszDesc, iid, hRes);
  }
  static HRESULT WINAPI Error(LPCOLESTR lpszDesc, DWORD dwHelpID, LPCOLESTR lpszHelpFile,
                              const IID& iid = GUID_NULL, HRESULT hRes = 0) {
    return AtlReportError(T::GetObjectCLSID(), lpszDesc, dwHelpID, lpszHelpFile, iid, hRes);
  }
  static HRESULT WINAPI Error(LPCSTR lpszDesc, const IID& iid = GUID_NULL, HRESULT hRes = 0) {
    return AtlReportError(T::GetObjectCLSID(), lpszDesc, iid, hRes);
  }
  static HRESULT WINAPI Error(LPCSTR lpszDesc, DWORD dwHelpID, LPCSTR lpszHelpFile,
                              const IID& iid = GUID_NULL, HRESULT hRes = 0) {
    return AtlReportError(T::GetObjectCLSID(), lpszDesc, dwHelpID, lpszHelpFile, iid, hRes);
  }
  static HRESULT WINAPI Error(UINT nID, const IID& iid = GUID_NULL, HRESULT hRes = 0,
                              HINSTANCE hInst = nullptr) {
    return AtlReportError(T::GetObjectCLSID(), nID, iid, hRes, hInst);
  }
  static HRESULT WINAPI Error(UINT nID, DWORD dwHelpID, LPCOLESTR lpszHelpFile,
                              const IID& iid = GUID_NULL, HRESULT hRes = 0,
                              HINSTANCE hInst = nullptr) {
    return AtlReportError(T::GetObjectCLSID(), nID, dwHelpID, lpszHelpFile, iid, hRes, hInst);
  }

  /// Makes an object within the module, without the class factory.
  template <class Q>
  static HRESULT CreateInstance(Q** pp) {
    return CreateInstance(nullptr, pp);
  }
  template <class Q>
  static HRESULT CreateInstance(IUnknown* punkOuter, Q** pp) {
    return T::_CreatorClass::CreateInstance(punkOuter, __uuidof(Q), reinterpret_cast<void**>(pp));
  }
};

}  // namespace ATL

// In a class: what its registration runs.

#define DECLARE_REGISTRY_RESOURCEID(x)                                 \
  static HRESULT WINAPI UpdateRegistry(BOOL bRegister) {               \
    return ATL::_pAtlModule->UpdateRegistryFromResource(x, bRegister); \
  }
#define DECLARE_REGISTRY_RESOURCE(x)                                        \
  static HRESULT WINAPI UpdateRegistry(BOOL bRegister) {                    \
    return ATL::_pAtlModule->UpdateRegistryFromResource(_T(#x), bRegister); \
  }
#define DECLARE_NO_REGISTRY() \
  static HRESULT WINAPI UpdateRegistry(BOOL) { return S_OK; }
