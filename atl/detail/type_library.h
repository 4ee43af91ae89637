#pragma once

// Loading and registering a type library that a module carries as a resource.

#include <atlcomcli.h>
#include <atlexcept.h>

#include <string>

#include "exception_boundary.h"
#include "module_path.h"
#include "per_user_registration.h"

namespace ATL {

namespace detail {

/// The per-user counterpart of a type library function, in per-user mode and where the system has
/// it; null otherwise. The automation library is always loaded, as this code imports it.
template <class F>
F* ForUserFunction(const char* szName) noexcept {
  bool bPerUser = false;
  AtlGetPerUserRegistration(&bPerUser);
  const HMODULE hModule = bPerUser ? ::GetModuleHandleW(L"OLEAUT32.DLL") : nullptr;
  if (hModule == nullptr) {
    return nullptr;
  }
  // By way of a generic function pointer: FARPROC's own signature is only a placeholder.
  return reinterpret_cast<F*>(reinterpret_cast<void (*)()>(::GetProcAddress(hModule, szName)));
}

}  // namespace detail

/// Loads the type library that a module carries.
/// lpszIndex: null, or the resource as it is appended to the path ("\\2").
/// pbstrPath: receives what was loaded, owned by the caller. Both results are null on failure.
inline HRESULT AtlLoadTypeLib(HINSTANCE hInstTypeLib, LPCOLESTR lpszIndex, BSTR* pbstrPath,
                              ITypeLib** ppTypeLib) noexcept {
  if (pbstrPath == nullptr || ppTypeLib == nullptr) {
    return E_POINTER;
  }
  *pbstrPath = nullptr;
  *ppTypeLib = nullptr;
  return detail::CallGuarded([&]() -> HRESULT {
    std::wstring path = detail::ModulePath(hInstTypeLib);
    if (lpszIndex != nullptr) {
      path += lpszIndex;
    }
    CComPtr<ITypeLib> pTypeLib;
    // REGKIND_NONE: looking at a library must not register it.
    const HRESULT hr = ::LoadTypeLibEx(path.c_str(), REGKIND_NONE, &pTypeLib);
    if (FAILED(hr)) {
      return hr;
    }
    *pbstrPath = CComBSTR(path.c_str()).Detach();
    *ppTypeLib = pTypeLib.Detach();
    return S_OK;
  });
}

/// Registers the module's type library, for the current user only in per-user mode.
inline HRESULT AtlRegisterTypeLib(HINSTANCE hInstTypeLib, LPCOLESTR lpszIndex) noexcept {
  CComPtr<ITypeLib> pTypeLib;
  CComBSTR path;
  const HRESULT hr = AtlLoadTypeLib(hInstTypeLib, lpszIndex, &path, &pTypeLib);
  if (FAILED(hr)) {
    return hr;
  }
  // Absent before Windows Vista, where there is only the one registration.
  auto* const pfnForUser =
      detail::ForUserFunction<decltype(::RegisterTypeLib)>("RegisterTypeLibForUser");
  auto* const pfnRegister = pfnForUser != nullptr ? pfnForUser : &::RegisterTypeLib;
  return detail::CallGuarded([&]() -> HRESULT {
    // The help file is looked for beside the module.
    std::wstring helpDir = detail::FolderOf(detail::ModulePath(hInstTypeLib));
    return pfnRegister(pTypeLib, path, helpDir.data());
  });
}

/// Takes back what AtlRegisterTypeLib wrote.
inline HRESULT AtlUnRegisterTypeLib(HINSTANCE hInstTypeLib, LPCOLESTR lpszIndex) noexcept {
  CComPtr<ITypeLib> pTypeLib;
  CComBSTR path;
  HRESULT hr = AtlLoadTypeLib(hInstTypeLib, lpszIndex, &path, &pTypeLib);
  if (FAILED(hr)) {
    return hr;
  }
  TLIBATTR* pAttr = nullptr;
  hr = pTypeLib->GetLibAttr(&pAttr);
  if (FAILED(hr)) {
    return hr;
  }
  const TLIBATTR attr = *pAttr;
  pTypeLib->ReleaseTLibAttr(pAttr);
  auto* const pfnForUser =
      detail::ForUserFunction<decltype(::UnRegisterTypeLib)>("UnRegisterTypeLibForUser");
  auto* const pfnUnregister = pfnForUser != nullptr ? pfnForUser : &::UnRegisterTypeLib;
  return pfnUnregister(attr.guid, attr.wMajorVerNum, attr.wMinorVerNum, attr.lcid, attr.syskind);
}

}  // namespace ATL
