#pragma once

#include <atlcore.h>

#include <atomic>

#include "categories.h"
#include "type_library.h"

namespace ATL {

using _ATL_CREATORFUNC = HRESULT WINAPI(void* pv, REFIID riid, LPVOID* ppv);
using _ATL_CATMAPFUNC = const _ATL_CATMAP_ENTRY*();

/// One class of the module.
struct _ATL_OBJMAP_ENTRY_EX {
  const CLSID* pclsid;
  HRESULT(WINAPI* pfnUpdateRegistry)(BOOL bRegister);
  _ATL_CREATORFUNC* pfnGetClassObject;
  _ATL_CREATORFUNC* pfnCreateInstance;
  _ATL_CATMAPFUNC* pfnGetCategoryMap;
  /// The class factory, created by the first request. Written with the lock of the object map held
  /// and read without it. Holds one reference.
  std::atomic<IUnknown*> pCF;
  _ATL_OBJMAP_ENTRY_EX* pNext;
};

namespace detail {

/// The object map, which has the order of definition within a source file and of linking between
/// files. Its entries have no destructor: the factories are released later than the static objects
/// of other files.
class CObjectMap {
 public:
  /// Appends an entry.
  explicit CObjectMap(_ATL_OBJMAP_ENTRY_EX& entry) noexcept {
    *s_ppEnd = &entry;
    s_ppEnd = &entry.pNext;
  }

  /// Calls `f` for each entry until it fails, and returns the failure.
  template <class F>
  static HRESULT ForEach(F f) {
    for (auto* pEntry = s_pFirst; pEntry != nullptr; pEntry = pEntry->pNext) {
      if (const HRESULT hr = f(*pEntry); FAILED(hr)) {
        return hr;
      }
    }
    return S_OK;
  }
  static _ATL_OBJMAP_ENTRY_EX* Find(REFCLSID clsid) noexcept {
    auto* pEntry = s_pFirst;
    while (pEntry != nullptr && !::IsEqualCLSID(clsid, *pEntry->pclsid)) {
      pEntry = pEntry->pNext;
    }
    return pEntry;
  }

 private:
  // Initialised at compile time: entries of any file may be added first.
  static inline constinit _ATL_OBJMAP_ENTRY_EX* s_pFirst = nullptr;
  static inline constinit _ATL_OBJMAP_ENTRY_EX** s_ppEnd = &s_pFirst;
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
    detail::CObjectMap::ForEach([](_ATL_OBJMAP_ENTRY_EX& entry) {
      if (IUnknown* const pFactory = entry.pCF.exchange(nullptr)) {
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
    auto* const pEntry = detail::CObjectMap::Find(rclsid);
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
    const HRESULT hr = detail::CObjectMap::ForEach([](const _ATL_OBJMAP_ENTRY_EX& entry) {
      const HRESULT hrClass = entry.pfnUpdateRegistry(TRUE);
      return FAILED(hrClass) ? hrClass : UpdateCategories(entry, TRUE);
    });
    return FAILED(hr) || !bRegTypeLib ? hr : AtlRegisterTypeLib(m_hInstTypeLib, nullptr);
  }
  /// Removes what RegisterServer has written. Returns the first failure, as that.
  HRESULT UnregisterServer(BOOL bUnRegTypeLib) noexcept {
    const HRESULT hr = detail::CObjectMap::ForEach([](const _ATL_OBJMAP_ENTRY_EX& entry) {
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
  HRESULT CachedClassFactory(_ATL_OBJMAP_ENTRY_EX& entry, IUnknown** ppFactory) {
    std::atomic<IUnknown*>& cached = entry.pCF;
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
#define OBJECT_ENTRY_AUTO(clsid, class)                  \
  static ATL::_ATL_OBJMAP_ENTRY_EX __objMap_##class = {  \
      &clsid,                                            \
      class ::UpdateRegistry,                            \
      class ::_ClassFactoryCreatorClass::CreateInstance, \
      class ::_CreatorClass::CreateInstance,             \
      class ::GetCategoryMap,                            \
      {nullptr},                                         \
      nullptr};                                          \
  static const ATL::detail::CObjectMap __objEntry_##class(__objMap_##class);
