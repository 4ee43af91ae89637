#pragma once

// Loads and registers the type library in a module's resources.

#include <atlcomcli.h>

#include "registration.h"

namespace ATL {

namespace detail {

/// The per-user variant of a type library function; null when per-user mode is off, or the system
/// has none (before Windows Vista). OLEAUT32.DLL is loaded: this module imports it.
template <class F>
F* ForUserFunction(const char* szName) noexcept {
  const HMODULE hModule = g_bPerUserRegistration ? ::GetModuleHandleW(L"OLEAUT32.DLL") : nullptr;
  if (hModule == nullptr) {
    return nullptr;
  }
  // The intermediate type avoids a warning: FARPROC's parameters are not those of the function.
  return reinterpret_cast<F*>(reinterpret_cast<void (*)()>(::GetProcAddress(hModule, szName)));
}

}  // namespace detail

/// Loads the type library of a module. lpszIndex: null, or the resource ("\\2"), which is appended
/// to the path. pbstrPath receives that path, owned by the caller. Sets both results to null when
/// it fails.
inline HRESULT AtlLoadTypeLib(HINSTANCE hInstTypeLib, LPCOLESTR lpszIndex, BSTR* pbstrPath,
                              ITypeLib** ppTypeLib) noexcept {
  if (pbstrPath == nullptr || ppTypeLib == nullptr) {
    return E_POINTER;
  }
  *pbstrPath = nullptr;
  *ppTypeLib = nullptr;
  return detail::CallGuarded([&]() -> HRESULT {
    const std::wstring path =
        detail::ModulePath(hInstTypeLib) + (lpszIndex != nullptr ? lpszIndex : L"");
    CComPtr<ITypeLib> pTypeLib;
    // REGKIND_NONE: loads without registering.
    const HRESULT hr = ::LoadTypeLibEx(path.c_str(), REGKIND_NONE, &pTypeLib);
    if (SUCCEEDED(hr)) {
      *pbstrPath = CComBSTR(path.c_str()).Detach();
      *ppTypeLib = pTypeLib.Detach();
    }
    return hr;
  });
}

/// Registers the type library of a module; in per-user mode for the current user.
inline HRESULT AtlRegisterTypeLib(HINSTANCE hInstTypeLib, LPCOLESTR lpszIndex) noexcept {
  CComPtr<ITypeLib> pTypeLib;
  CComBSTR path;
  const HRESULT hr = AtlLoadTypeLib(hInstTypeLib, lpszIndex, &path, &pTypeLib);
  if (FAILED(hr)) {
    return hr;
  }
  auto* const pfnForUser =
      detail::ForUserFunction<decltype(::RegisterTypeLib)>("RegisterTypeLibForUser");
  auto* const pfnRegister = pfnForUser != nullptr ? pfnForUser : &::RegisterTypeLib;
  return detail::CallGuarded([&]() -> HRESULT {
    // The help folder is the module's.
    std::wstring helpDir = detail::ModulePath(hInstTypeLib);
    helpDir.resize(helpDir.find_last_of(L"\\/"));
    return pfnRegister(pTypeLib, path, helpDir.data());
  });
}

/// Removes what AtlRegisterTypeLib has written.
inline HRESULT AtlUnRegisterTypeLib(HINSTANCE hInstTypeLib, LPCOLESTR lpszIndex) noexcept {
  CComPtr<ITypeLib> pTypeLib;
  CComBSTR path;
  HRESULT hr = AtlLoadTypeLib(hInstTypeLib, lpszIndex, &path, &pTypeLib);
  TLIBATTR* pAttr = nullptr;
  if (SUCCEEDED(hr)) {
    hr = pTypeLib->GetLibAttr(&pAttr);
  }
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
