#pragma once

// Component categories: what a class implements, and what it requires of its container.

#include <comcat.h>

#include <statreg.h>

namespace ATL {

constexpr int _ATL_CATMAP_ENTRY_END = 0;
constexpr int _ATL_CATMAP_ENTRY_IMPLEMENTED = 1;
constexpr int _ATL_CATMAP_ENTRY_REQUIRED = 2;

/// One component category of a class. A table ends with _ATL_CATMAP_ENTRY_END.
struct _ATL_CATMAP_ENTRY {
  int iType;
  const CATID* pcatid;
};

namespace detail {

inline std::wstring GuidText(REFGUID guid) {
  wchar_t text[39];  // braces, digits, dashes and the terminator
  ::StringFromGUID2(guid, text, ARRAYSIZE(text));
  return text;
}

}  // namespace detail

/// Writes or removes the categories of a class below its registry key; a null map means that it has
/// none. Writes the keys itself: the system's category manager would need an apartment, and does
/// not support per-user registration.
inline HRESULT AtlRegisterClassCategoriesHelper(REFCLSID clsid, const _ATL_CATMAP_ENTRY* pCatMap,
                                                BOOL bRegister) noexcept {
  if (pCatMap == nullptr) {
    return S_OK;
  }
  return detail::CallGuarded([&] {
    std::wstring script = L"HKCR { NoRemove CLSID { NoRemove " + detail::GuidText(clsid) + L" {";
    for (; pCatMap->iType != _ATL_CATMAP_ENTRY_END; ++pCatMap) {
      script += pCatMap->iType == _ATL_CATMAP_ENTRY_REQUIRED ? L" 'Required Categories' { "
                                                             : L" 'Implemented Categories' { ";
      script += detail::GuidText(*pCatMap->pcatid) + L" }";
    }
    script += L" } } }";
    CRegObject registrar;
    return bRegister ? registrar.StringRegister(script.c_str())
                     : registrar.StringUnregister(script.c_str());
  });
}

}  // namespace ATL

#define BEGIN_CATEGORY_MAP(x)                                    \
  static const struct ATL::_ATL_CATMAP_ENTRY* GetCategoryMap() { \
    static const struct ATL::_ATL_CATMAP_ENTRY pMap[] = {
#define IMPLEMENTED_CATEGORY(catid) {ATL::_ATL_CATMAP_ENTRY_IMPLEMENTED, &catid},
#define REQUIRED_CATEGORY(catid) {ATL::_ATL_CATMAP_ENTRY_REQUIRED, &catid},
#define END_CATEGORY_MAP()              \
  {                                     \
    ATL::_ATL_CATMAP_ENTRY_END, nullptr \
  }                                     \
  }                                     \
  ;                                     \
  return pMap;                          \
  }
