#pragma once

// Component categories of a class: what it implements, and what it requires of its container.

#include <string>

#include "exception_boundary.h"
#include "module_types.h"
#include "per_user_registration.h"
#include "registrar_writer.h"

namespace ATL {

namespace detail {

inline std::wstring GuidText(REFGUID guid) {
  wchar_t text[39];  // braces, digits, dashes and the terminator
  ::StringFromGUID2(guid, text, ARRAYSIZE(text));
  return text;
}

/// The keys that say `categories` (one of the two kinds) of a class.
inline RegistrarKey CategoryKeys(const _ATL_CATMAP_ENTRY* pCatMap, int iType,
                                 const wchar_t* szName) {
  RegistrarKey key;
  key.name = szName;
  for (; pCatMap->iType != _ATL_CATMAP_ENTRY_END; ++pCatMap) {
    if (pCatMap->iType == iType) {
      RegistrarKey category;
      category.name = GuidText(*pCatMap->pcatid);
      key.keys.push_back(std::move(category));
    }
  }
  return key;
}

/// A key of the registry's own layout, which registration passes through and leaves behind.
inline RegistrarKey PathKey(std::wstring name, RegistrarKey child) {
  RegistrarKey key;
  key.name = std::move(name);
  key.noRemove = true;
  key.keys.push_back(std::move(child));
  return key;
}

}  // namespace detail

/// Writes or removes the categories of a class below its registry key. A null map means a class
/// without categories. The keys are written directly, so no apartment is needed, and they go where
/// the rest of the registration goes.
inline HRESULT AtlRegisterClassCategoriesHelper(REFCLSID clsid, const _ATL_CATMAP_ENTRY* pCatMap,
                                                BOOL bRegister) noexcept {
  if (pCatMap == nullptr) {
    return S_OK;
  }
  return detail::CallGuarded([&] {
    detail::RegistrarKey keyOfClass;
    keyOfClass.name = detail::GuidText(clsid);
    keyOfClass.noRemove = true;
    for (auto [iType, szName] :
         {std::pair(_ATL_CATMAP_ENTRY_IMPLEMENTED, L"Implemented Categories"),
          std::pair(_ATL_CATMAP_ENTRY_REQUIRED, L"Required Categories")}) {
      detail::RegistrarKey categories = detail::CategoryKeys(pCatMap, iType, szName);
      if (!categories.keys.empty()) {
        keyOfClass.keys.push_back(std::move(categories));
      }
    }
    detail::RegistrarRoot root{HKEY_CLASSES_ROOT, {}};
    root.top = detail::PathKey({}, detail::PathKey(L"CLSID", std::move(keyOfClass)));
    bool bPerUser = false;
    AtlGetPerUserRegistration(&bPerUser);
    if (bPerUser) {
      root = detail::InUserClasses(std::move(root.top));
    }
    bRegister ? detail::WriteScript({root}) : detail::RemoveScript({root});
    return S_OK;
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
