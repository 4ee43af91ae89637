#pragma once

#include <atlcore.h>

#include <memory>
#include <utility>

#include "../statreg.h"
#include "module_path.h"
#include "module_types.h"

namespace ATL {

/// What every kind of module has in common: the lock count that keeps it loaded, clean-up at its
/// end, and the running of its registry scripts. There is one object of a derived class per module.
class ATL_NO_VTABLE CAtlModule {
 public:
  CAtlModule() noexcept;
  CAtlModule(const CAtlModule&) = delete;
  CAtlModule& operator=(const CAtlModule&) = delete;
  virtual ~CAtlModule();

  /// One lock for every live object and every outside request to stay loaded. Any thread.
  virtual LONG Lock() noexcept { return ::InterlockedIncrement(&m_nLockCnt); }
  virtual LONG Unlock() noexcept { return ::InterlockedDecrement(&m_nLockCnt); }
  virtual LONG GetLockCount() noexcept { return ::InterlockedCompareExchange(&m_nLockCnt, 0, 0); }

  /// Has `pFunc(dw)` called when the module ends; the last one added is called first. Any thread.
  HRESULT AddTermFunc(_ATL_TERMFUNC* pFunc, DWORD_PTR dw) noexcept {
    return detail::CallGuarded([&] {
      auto element = std::make_unique<TermElement>(TermElement{pFunc, dw, nullptr});
      CComCritSecLock<CComCriticalSection> lock(m_csStaticDataInitAndTypeInfo);
      element->pNext = std::move(m_pTermFuncs);
      m_pTermFuncs = std::move(element);
      return S_OK;
    });
  }

  /// Calls the functions of AddTermFunc, each once.
  void Term() noexcept {
    while (m_pTermFuncs) {
      const std::unique_ptr<TermElement> element = std::move(m_pTermFuncs);
      m_pTermFuncs = std::move(element->pNext);
      element->pFunc(element->dw);
    }
  }

  /// Adds the replacements that every script of this module may use.
  virtual HRESULT AddCommonRGSReplacements(IRegistrarBase* pRegistrar) noexcept = 0;

  /// Runs the script in the module's resource of type REGISTRY. It may use the replacements of the
  /// table and the common ones, and %Module% and %Module_Raw%, the module's path.
  HRESULT UpdateRegistryFromResourceS(UINT nResID, BOOL bRegister,
                                      _ATL_REGMAP_ENTRY* pMapEntries = nullptr) noexcept;

  /// Identifier of the module's type library; set by DECLARE_LIBID.
  static inline GUID m_libid = {};

  /// Guards the lazy making of shared data, type information above all.
  CComCriticalSection m_csStaticDataInitAndTypeInfo;
  LONG m_nLockCnt = 0;

 private:
  struct TermElement {
    _ATL_TERMFUNC* pFunc;
    DWORD_PTR dw;
    std::unique_ptr<TermElement> pNext;
  };

  static HRESULT AddModulePath(CRegObject& registrar);

  std::unique_ptr<TermElement> m_pTermFuncs;
  bool m_bInitialized = false;
};

/// The module's one module object; null before it is made and after it has gone.
inline constinit CAtlModule* _pAtlModule = nullptr;

namespace detail {

/// One lock more, or less, on the module. At the end of the process, or when the DLL is freed under
/// its clients, references outlive the module object: nobody counts their locks any more.
inline void LockModule() noexcept {
  if (_pAtlModule != nullptr) {
    _pAtlModule->Lock();
  }
}
inline void UnlockModule() noexcept {
  if (_pAtlModule != nullptr) {
    _pAtlModule->Unlock();
  }
}

}  // namespace detail

inline CAtlModule::CAtlModule() noexcept {
  m_bInitialized = SUCCEEDED(m_csStaticDataInitAndTypeInfo.Init());
  if (!m_bInitialized) {
    CAtlBaseModule::m_bInitFailed = true;
  }
  _pAtlModule = this;
}

inline CAtlModule::~CAtlModule() {
  Term();
  if (m_bInitialized) {
    m_csStaticDataInitAndTypeInfo.Term();
  }
  if (_pAtlModule == this) {
    _pAtlModule = nullptr;
  }
}

inline HRESULT CAtlModule::UpdateRegistryFromResourceS(UINT nResID, BOOL bRegister,
                                                       _ATL_REGMAP_ENTRY* pMapEntries) noexcept {
  return detail::CallGuarded([&]() -> HRESULT {
    CRegObject registrar;
    for (; pMapEntries != nullptr && pMapEntries->szKey != nullptr; ++pMapEntries) {
      const HRESULT hr = registrar.AddReplacement(pMapEntries->szKey, pMapEntries->szData);
      if (FAILED(hr)) {
        return hr;
      }
    }
    HRESULT hr = AddCommonRGSReplacements(&registrar);
    if (SUCCEEDED(hr)) {
      hr = AddModulePath(registrar);
    }
    if (FAILED(hr)) {
      return hr;
    }
    const std::wstring module = detail::ModulePath(_AtlBaseModule.GetModuleInstance());
    return bRegister ? registrar.ResourceRegister(module.c_str(), nResID, L"REGISTRY")
                     : registrar.ResourceUnregister(module.c_str(), nResID, L"REGISTRY");
  });
}

inline HRESULT CAtlModule::AddModulePath(CRegObject& registrar) {
  const HINSTANCE hInst = _AtlBaseModule.GetModuleInstance();
  // A script has the path inside single quotes, where a quote of the path's own is written twice.
  const std::wstring raw = detail::WithDoubledQuotes(detail::ModulePath(hInst));
  // A program is registered as a command line, which needs double quotes around blanks.
  const bool isProgram = hInst == ::GetModuleHandleW(nullptr);
  const HRESULT hr =
      registrar.AddReplacement(L"Module", (isProgram ? L'"' + raw + L'"' : raw).c_str());
  return FAILED(hr) ? hr : registrar.AddReplacement(L"Module_Raw", raw.c_str());
}

}  // namespace ATL

// A macro, as there may be a choice of registrars behind this name.
#define UpdateRegistryFromResource UpdateRegistryFromResourceS
