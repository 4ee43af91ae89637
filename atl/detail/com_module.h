#pragma once

#include <atlcore.h>

#include "categories.h"
#include "object_map.h"
#include "type_library.h"

namespace ATL {

/// The state of a module as a COM server.
struct _ATL_COM_MODULE {
  UINT cbSize;  // 0: not initialised, or ended
  HINSTANCE m_hInstTypeLib;
  /// Held while a class factory is made.
  CComCriticalSection m_csObjMap;
};

namespace detail {

/// The factory in the entry's cache, made if it is not there yet. Owned by the cache. Any thread.
inline HRESULT CachedClassFactory(_ATL_COM_MODULE& module, const _ATL_OBJMAP_ENTRY_EX& entry,
                                  IUnknown** ppFactory) {
  std::atomic<IUnknown*>& cached = entry.pCache->pCF;
  HRESULT hr = S_OK;
  if (cached == nullptr) {
    CComCritSecLock<CComCriticalSection> lock(module.m_csObjMap);
    // Another thread may have made it while this one waited.
    if (cached == nullptr) {
      void* pFactory = nullptr;
      hr = entry.pfnGetClassObject(reinterpret_cast<void*>(entry.pfnCreateInstance), IID_IUnknown,
                                   &pFactory);
      if (SUCCEEDED(hr)) {
        cached = static_cast<IUnknown*>(pFactory);
      }
    }
  }
  *ppFactory = cached;
  return hr;
}

}  // namespace detail

/// The module as a COM server: its object map, its class factories, its registration.
class CAtlComModule : public _ATL_COM_MODULE {
 public:
  CAtlComModule() noexcept {
    cbSize = 0;
    m_hInstTypeLib = _AtlBaseModule.GetModuleInstance();
    if (SUCCEEDED(m_csObjMap.Init())) {
      cbSize = sizeof(_ATL_COM_MODULE);
    } else {
      CAtlBaseModule::m_bInitFailed = true;
    }
  }
  CAtlComModule(const CAtlComModule&) = delete;
  CAtlComModule& operator=(const CAtlComModule&) = delete;
  ~CAtlComModule() { Term(); }

  /// Releases the class factories. From here on there is no class to be had.
  void Term() noexcept {
    if (cbSize == 0) {
      return;
    }
    for (auto* pNode = detail::CObjectMapNode::First(); pNode != nullptr; pNode = pNode->Next()) {
      if (IUnknown* const pFactory = pNode->Entry().pCache->pCF.exchange(nullptr)) {
        pFactory->Release();
      }
    }
    m_csObjMap.Term();
    cbSize = 0;
  }

  /// What DllGetClassObject does.
  HRESULT GetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) noexcept {
    if (ppv == nullptr) {
      return E_POINTER;
    }
    *ppv = nullptr;
    if (cbSize == 0) {
      return E_UNEXPECTED;
    }
    HRESULT hr = S_OK;
    for (auto* pNode = detail::CObjectMapNode::First(); pNode != nullptr; pNode = pNode->Next()) {
      const _ATL_OBJMAP_ENTRY_EX& entry = pNode->Entry();
      if (::IsEqualCLSID(rclsid, *entry.pclsid)) {
        hr = detail::CallGuarded([&]() -> HRESULT {
          IUnknown* pFactory = nullptr;
          const HRESULT hrFactory = detail::CachedClassFactory(*this, entry, &pFactory);
          return pFactory != nullptr ? pFactory->QueryInterface(riid, ppv) : hrFactory;
        });
        break;
      }
    }
    return *ppv == nullptr && SUCCEEDED(hr) ? CLASS_E_CLASSNOTAVAILABLE : hr;
  }

  /// Registers the module's classes, and the type library if that is asked for. Stops at the first
  /// failure and returns it.
  HRESULT RegisterServer(BOOL bRegTypeLib) noexcept {
    for (auto* pNode = detail::CObjectMapNode::First(); pNode != nullptr; pNode = pNode->Next()) {
      const _ATL_OBJMAP_ENTRY_EX& entry = pNode->Entry();
      HRESULT hr = entry.pfnUpdateRegistry(TRUE);
      if (SUCCEEDED(hr)) {
        hr = AtlRegisterClassCategoriesHelper(*entry.pclsid, entry.pfnGetCategoryMap(), TRUE);
      }
      if (FAILED(hr)) {
        return hr;
      }
    }
    return bRegTypeLib ? AtlRegisterTypeLib(m_hInstTypeLib, nullptr) : S_OK;
  }
  /// Takes back what RegisterServer wrote, with the same rule for failures.
  HRESULT UnregisterServer(BOOL bUnRegTypeLib) noexcept {
    for (auto* pNode = detail::CObjectMapNode::First(); pNode != nullptr; pNode = pNode->Next()) {
      const _ATL_OBJMAP_ENTRY_EX& entry = pNode->Entry();
      HRESULT hr =
          AtlRegisterClassCategoriesHelper(*entry.pclsid, entry.pfnGetCategoryMap(), FALSE);
      if (SUCCEEDED(hr)) {
        hr = entry.pfnUpdateRegistry(FALSE);
      }
      if (FAILED(hr)) {
        return hr;
      }
    }
    return bUnRegTypeLib ? AtlUnRegisterTypeLib(m_hInstTypeLib, nullptr) : S_OK;
  }
};

inline CAtlComModule _AtlComModule;

}  // namespace ATL
