#pragma once

#include <atlcore.h>
#include <comcat.h>
#include <statreg.h>

#include <atomic>

#include "type_library.h"

namespace ATL {

// Component categories: what a class implements, and what it requires of its container.
constexpr int _ATL_CATMAP_ENTRY_END = 0;
constexpr int _ATL_CATMAP_ENTRY_IMPLEMENTED = 1;
constexpr int _ATL_CATMAP_ENTRY_REQUIRED = 2;

/// One component category of a class. A table ends with _ATL_CATMAP_ENTRY_END.
struct _ATL_CATMAP_ENTRY {
  int iType;
  const CATID* pcatid;
};

/// Writes or removes the categories of a class below its registry key; a null map means that it has
/// none. Writes the keys itself: the system's category manager would need an apartment, and does
/// not support per-user registration.
inline HRESULT AtlRegisterClassCategoriesHelper(REFCLSID clsid, const _ATL_CATMAP_ENTRY* pCatMap,
                                                BOOL bRegister) noexcept {
  if (pCatMap == nullptr) {
    return S_OK;
  }
  return detail::CallGuarded([&] {
    const auto text = [](REFGUID guid) -> std::wstring {
      wchar_t buffer[39];  // braces, digits, dashes and the terminator
      ::StringFromGUID2(guid, buffer, ARRAYSIZE(buffer));
      return buffer;
    };
    std::wstring script = L"HKCR { NoRemove CLSID { NoRemove " + text(clsid) + L" {";
    for (; pCatMap->iType != _ATL_CATMAP_ENTRY_END; ++pCatMap) {
      script += pCatMap->iType == _ATL_CATMAP_ENTRY_REQUIRED ? L" 'Required Categories' { "
                                                             : L" 'Implemented Categories' { ";
      script += text(*pCatMap->pcatid) + L" }";
    }
    script += L" } } }";
    CRegObject registrar;
    return bRegister ? registrar.StringRegister(script.c_str())
                     : registrar.StringUnregister(script.c_str());
  });
}

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
    if (FAILED(detail::SetResult(ppv, nullptr))) {
      return E_POINTER;
    }
    if (!m_bInitialized) {
      return E_UNEXPECTED;
    }
    auto* const pEntry = detail::CObjectMap::Find(rclsid);
    if (pEntry == nullptr) {
      return CLASS_E_CLASSNOTAVAILABLE;
    }
    HRESULT hr = CreateClassFactory(*pEntry);
    if (IUnknown* const pFactory = pEntry->pCF; pFactory != nullptr) {
      hr = pFactory->QueryInterface(riid, ppv);
    }
    return *ppv == nullptr && SUCCEEDED(hr) ? CLASS_E_CLASSNOTAVAILABLE : hr;
  }

  /// Registers the classes, and the type library if bRegTypeLib. Returns the first failure, after
  /// which nothing else is registered.
  HRESULT RegisterServer(BOOL bRegTypeLib) noexcept {
    const HRESULT hr = detail::CObjectMap::ForEach([](const _ATL_OBJMAP_ENTRY_EX& entry) {
      const HRESULT hrClass = entry.pfnUpdateRegistry(TRUE);
      return FAILED(hrClass)
                 ? hrClass
                 : AtlRegisterClassCategoriesHelper(*entry.pclsid, entry.pfnGetCategoryMap(), TRUE);
    });
    return FAILED(hr) || !bRegTypeLib ? hr : AtlRegisterTypeLib(m_hInstTypeLib, nullptr);
  }
  /// Removes what RegisterServer has written. Returns the first failure, as that.
  HRESULT UnregisterServer(BOOL bUnRegTypeLib) noexcept {
    const HRESULT hr = detail::CObjectMap::ForEach([](const _ATL_OBJMAP_ENTRY_EX& entry) {
      const HRESULT hrClass =
          AtlRegisterClassCategoriesHelper(*entry.pclsid, entry.pfnGetCategoryMap(), FALSE);
      return FAILED(hrClass) ? hrClass : entry.pfnUpdateRegistry(FALSE);
    });
    return FAILED(hr) || !bUnRegTypeLib ? hr : AtlUnRegisterTypeLib(m_hInstTypeLib, nullptr);
  }

  const HINSTANCE m_hInstTypeLib = _AtlBaseModule.GetModuleInstance();
  /// Held while a class factory is created.
  CComCriticalSection m_csObjMap;

 private:
  /// Creates the class factory, which the entry owns, unless it exists.
  HRESULT CreateClassFactory(_ATL_OBJMAP_ENTRY_EX& entry) noexcept {
    HRESULT hr = S_OK;
    if (entry.pCF == nullptr) {
      m_csObjMap.Lock();
      // Another thread may have created it while this one waited.
      if (entry.pCF == nullptr) {
        void* pFactory = nullptr;
        hr = entry.pfnGetClassObject(reinterpret_cast<void*>(entry.pfnCreateInstance), IID_IUnknown,
                                     &pFactory);
        if (SUCCEEDED(hr)) {
          entry.pCF = static_cast<IUnknown*>(pFactory);
        }
      }
      m_csObjMap.Unlock();
    }
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
