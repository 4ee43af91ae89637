#pragma once

#include <atlcomcli.h>
#include <atlcore.h>

#include "registrar_writer.h"

namespace ATL {

namespace detail {

/// Returns the per-user variant of a type library function in per-user mode, if the system has it,
/// else the function itself. OLEAUT32.DLL is loaded: this module imports it.
template <class F>
F* FunctionForUser(const char* szName, F* pfnForMachine) noexcept {
  const HMODULE hModule = g_bPerUserRegistration ? ::GetModuleHandleW(L"OLEAUT32.DLL") : nullptr;
  const FARPROC pfn = hModule != nullptr ? ::GetProcAddress(hModule, szName) : nullptr;
  // The intermediate type avoids a warning: FARPROC's parameters are not those of the function.
  return pfn != nullptr ? reinterpret_cast<F*>(reinterpret_cast<void (*)()>(pfn)) : pfnForMachine;
}

/// Calls `f` with the type library of a module, its path and the module's folder. lpszIndex: null,
/// or the resource ("\\2"), which is appended to the path.
template <class F>
HRESULT WithTypeLib(HINSTANCE hInst, LPCOLESTR lpszIndex, F f) noexcept {
  return CallGuarded([&]() -> HRESULT {
    std::wstring path = ModulePath(hInst);
    std::wstring folder = path.substr(0, path.find_last_of(L"\\/"));
    path += lpszIndex != nullptr ? lpszIndex : L"";
    CComPtr<ITypeLib> pTypeLib;
    // REGKIND_NONE: loads without registering.
    const HRESULT hr = ::LoadTypeLibEx(path.c_str(), REGKIND_NONE, &pTypeLib);
    return FAILED(hr) ? hr : f(pTypeLib, path.data(), folder.data());
  });
}

}  // namespace detail

/// Registers the type library of a module; in per-user mode for the current user. The help folder
/// is the module's.
inline HRESULT AtlRegisterTypeLib(HINSTANCE hInstTypeLib, LPCOLESTR lpszIndex) noexcept {
  return detail::WithTypeLib(hInstTypeLib, lpszIndex,
                             detail::FunctionForUser("RegisterTypeLibForUser", &::RegisterTypeLib));
}

/// Removes what AtlRegisterTypeLib has written.
inline HRESULT AtlUnRegisterTypeLib(HINSTANCE hInstTypeLib, LPCOLESTR lpszIndex) noexcept {
  auto* const pfnUnregister =
      detail::FunctionForUser("UnRegisterTypeLibForUser", &::UnRegisterTypeLib);
  return detail::WithTypeLib(hInstTypeLib, lpszIndex, [=](ITypeLib* pTypeLib, auto...) {
    TLIBATTR* pAttr = nullptr;
    const HRESULT hr = pTypeLib->GetLibAttr(&pAttr);
    if (FAILED(hr)) {
      return hr;
    }
    const TLIBATTR attr = *pAttr;
    pTypeLib->ReleaseTLibAttr(pAttr);
    return pfnUnregister(attr.guid, attr.wMajorVerNum, attr.wMinorVerNum, attr.lcid, attr.syskind);
  });
}

}  // namespace ATL
