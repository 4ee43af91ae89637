#pragma once

#include <atlcore.h>

#include <atomic>

#include "categories.h"
#include "type_library.h"

namespace ATL {

using _ATL_CREATORFUNC = HRESULT WINAPI(void* pv, REFIID riid, LPVOID* ppv);
using _ATL_CATMAPFUNC = const _ATL_CATMAP_ENTRY*();

/// The class factory of a class, created by the first request. Written with the lock of the object
/// map held and read without it. Holds one reference.
struct _ATL_OBJMAP_CACHE {
  std::atomic<IUnknown*> pCF;
};

/// One class of the module.
struct _ATL_OBJMAP_ENTRY_EX {
  const CLSID* pclsid;
  HRESULT(WINAPI* pfnUpdateRegistry)(BOOL bRegister);
  _ATL_CREATORFUNC* pfnGetClassObject;
  _ATL_CREATORFUNC* pfnCreateInstance;
  _ATL_OBJMAP_CACHE* pCache;
  _ATL_CATMAPFUNC* pfnGetCategoryMap;
};

namespace detail {

/// An entry of the object map, which has the order of definition within a source file and of
/// linking between files. Has no destructor: the factories are released later than the static
/// objects of other files.
class CObjectMapNode {
 public:
  explicit CObjectMapNode(const _ATL_OBJMAP_ENTRY_EX& entry) noexcept : m_entry(entry) {
    (s_pLast != nullptr ? s_pLast->m_pNext : s_pFirst) = this;
    s_pLast = this;
  }
  CObjectMapNode(const CObjectMapNode&) = delete;
  CObjectMapNode& operator=(const CObjectMapNode&) = delete;

  /// Calls `f` for each entry until it fails, and returns the failure.
  template <class F>
  static HRESULT ForEach(F f) {
    for (auto* pNode = s_pFirst; pNode != nullptr; pNode = pNode->m_pNext) {
      if (const HRESULT hr = f(pNode->m_entry); FAILED(hr)) {
        return hr;
      }
    }
    return S_OK;
  }
  static const _ATL_OBJMAP_ENTRY_EX* Find(REFCLSID clsid) noexcept {
    auto* pNode = s_pFirst;
    while (pNode != nullptr && !::IsEqualCLSID(clsid, *pNode->m_entry.pclsid)) {
      pNode = pNode->m_pNext;
    }
    return pNode != nullptr ? &pNode->m_entry : nullptr;
  }

 private:
  // Initialised at compile time: nodes of any file may be constructed first.
  static inline constinit CObjectMapNode* s_pFirst = nullptr;
  static inline constinit CObjectMapNode* s_pLast = nullptr;

  const _ATL_OBJMAP_ENTRY_EX& m_entry;
  CObjectMapNode* m_pNext = nullptr;
};

}  // namespace detail

/// The module as a COM server: its class factories and its registration.
class CAtlComModule {
 public:
  CAtlComModule() noexcept : m_bInitialized(SUCCEEDED(m_csObjMap.Init())) {
    if (!m_bInitialized) {
      CAtlBaseModule::m_bInitFailed = true;
    }
  }
  CAtlComModule(const CAtlComModule&) = delete;
  CAtlComModule& operator=(const CAtlComModule&) = delete;
  ~CAtlComModule() { Term(); }

  /// Releases the class factories; GetClassObject then returns E_UNEXPECTED.
  void Term() noexcept {
    if (!m_bInitialized) {
      return;
    }
    detail::CObjectMapNode::ForEach([](const _ATL_OBJMAP_ENTRY_EX& entry) {
      if (IUnknown* const pFactory = entry.pCache->pCF.exchange(nullptr)) {
        pFactory->Release();
      }
      return S_OK;
    });
    m_csObjMap.Term();
    m_bInitialized = false;
  }

  /// Implements DllGetClassObject. Any thread.
  HRESULT GetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) noexcept {
    if (ppv == nullptr) {
      return E_POINTER;
    }
    *ppv = nullptr;
    if (!m_bInitialized) {
      return E_UNEXPECTED;
    }
    const auto* const pEntry = detail::CObjectMapNode::Find(rclsid);
    const HRESULT hr = detail::CallGuarded([&]() -> HRESULT {
      IUnknown* pFactory = nullptr;
      const HRESULT hrFactory = pEntry != nullptr ? CachedClassFactory(*pEntry, &pFactory) : S_OK;
      return pFactory != nullptr ? pFactory->QueryInterface(riid, ppv) : hrFactory;
    });
    return *ppv == nullptr && SUCCEEDED(hr) ? CLASS_E_CLASSNOTAVAILABLE : hr;
  }

  /// Registers the classes, and the type library if bRegTypeLib. Returns the first failure, after
  /// which nothing else is registered.
  HRESULT RegisterServer(BOOL bRegTypeLib) noexcept {
    const HRESULT hr = detail::CObjectMapNode::ForEach([](const _ATL_OBJMAP_ENTRY_EX& entry) {
      const HRESULT hrClass = entry.pfnUpdateRegistry(TRUE);
      return FAILED(hrClass) ? hrClass : UpdateCategories(entry, TRUE);
    });
    return FAILED(hr) || !bRegTypeLib ? hr : AtlRegisterTypeLib(m_hInstTypeLib, nullptr);
  }
  /// Removes what RegisterServer has written. Returns the first failure, as that.
  HRESULT UnregisterServer(BOOL bUnRegTypeLib) noexcept {
    const HRESULT hr = detail::CObjectMapNode::ForEach([](const _ATL_OBJMAP_ENTRY_EX& entry) {
      const HRESULT hrClass = UpdateCategories(entry, FALSE);
      return FAILED(hrClass) ? hrClass : entry.pfnUpdateRegistry(FALSE);
    });
    return FAILED(hr) || !bUnRegTypeLib ? hr : AtlUnRegisterTypeLib(m_hInstTypeLib, nullptr);
  }

  const HINSTANCE m_hInstTypeLib = _AtlBaseModule.GetModuleInstance();
  /// Held while a class factory is created.
  CComCriticalSection m_csObjMap;

 private:
  static HRESULT UpdateCategories(const _ATL_OBJMAP_ENTRY_EX& entry, BOOL bRegister) noexcept {
    return AtlRegisterClassCategoriesHelper(*entry.pclsid, entry.pfnGetCategoryMap(), bRegister);
  }

  /// Returns the cached factory, which the cache owns; creates it first if needed.
  HRESULT CachedClassFactory(const _ATL_OBJMAP_ENTRY_EX& entry, IUnknown** ppFactory) {
    std::atomic<IUnknown*>& cached = entry.pCache->pCF;
    HRESULT hr = S_OK;
    if (cached == nullptr) {
      const CComCritSecLock<CComCriticalSection> lock(m_csObjMap);
      // Another thread may have created it while this one waited.
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

  bool m_bInitialized;
};

inline CAtlComModule _AtlComModule;

}  // namespace ATL

/// At file scope: adds `class` to the object map under `clsid`, so that the module registers it and
/// clients can create it.
#define OBJECT_ENTRY_AUTO(clsid, class)                         \
  static ATL::_ATL_OBJMAP_CACHE __objCache_##class = {nullptr}; \
  static const ATL::_ATL_OBJMAP_ENTRY_EX __objMap_##class = {   \
      &clsid,                                                   \
      class ::UpdateRegistry,                                   \
      class ::_ClassFactoryCreatorClass::CreateInstance,        \
      class ::_CreatorClass::CreateInstance,                    \
      &__objCache_##class,                                      \
      class ::GetCategoryMap};                                  \
  static ATL::detail::CObjectMapNode __objNode_##class(__objMap_##class);
