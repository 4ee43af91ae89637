#pragma once

#include <atlcore.h>
#include <statreg.h>

namespace ATL {

/// One replacement for a registry script. A table ends with a null key.
struct _ATL_REGMAP_ENTRY {
  LPCOLESTR szKey;
  LPCOLESTR szData;
};

class CAtlModule;

/// The module object; null before its constructor and after its destructor.
inline constinit CAtlModule* _pAtlModule = nullptr;

/// Base class of the module object, of which there is one per module: the lock count and the
/// registry scripts.
class CAtlModule {
 public:
  CAtlModule() noexcept { _pAtlModule = this; }
  CAtlModule(const CAtlModule&) = delete;
  CAtlModule& operator=(const CAtlModule&) = delete;
  virtual ~CAtlModule() {
    if (_pAtlModule == this) {
      _pAtlModule = nullptr;
    }
  }

  /// Each live object and each LockServer(TRUE) holds a lock; with one the module stays loaded. Any
  /// thread.
  virtual LONG Lock() noexcept { return ::InterlockedIncrement(&m_nLockCnt); }
  virtual LONG Unlock() noexcept { return ::InterlockedDecrement(&m_nLockCnt); }
  virtual LONG GetLockCount() noexcept { return ::InterlockedCompareExchange(&m_nLockCnt, 0, 0); }

  /// Adds the replacements of all scripts of this module.
  virtual HRESULT AddCommonRGSReplacements(IRegistrarBase* pRegistrar) noexcept = 0;

  /// Runs the script in the module's resource `nResID` of type REGISTRY, with the replacements of
  /// the table, the common ones, and %Module% and %Module_Raw%, the module's path.
  HRESULT UpdateRegistryFromResourceS(UINT nResID, BOOL bRegister,
                                      _ATL_REGMAP_ENTRY* pMapEntries = nullptr) noexcept {
    return detail::CallGuarded([&]() -> HRESULT {
      CRegObject registrar;
      const auto add = [&](LPCOLESTR szKey, LPCOLESTR szData) {
        detail::ThrowIfFailed(registrar.AddReplacement(szKey, szData));
      };
      for (; pMapEntries != nullptr && pMapEntries->szKey != nullptr; ++pMapEntries) {
        add(pMapEntries->szKey, pMapEntries->szData);
      }
      detail::ThrowIfFailed(AddCommonRGSReplacements(&registrar));
      const HINSTANCE hModule = _AtlBaseModule.GetModuleInstance();
      const std::wstring module = detail::ModulePath(hModule);
      std::wstring raw;  // as in single quotes
      for (const wchar_t c : module) {
        raw.append(c == L'\'' ? 2 : 1, c);
      }
      add(L"Module_Raw", raw.c_str());
      // An executable is registered as a command line.
      add(L"Module", (hModule == ::GetModuleHandleW(nullptr) ? L'"' + raw + L'"' : raw).c_str());
      return bRegister ? registrar.ResourceRegister(module.c_str(), nResID, L"REGISTRY")
                       : registrar.ResourceUnregister(module.c_str(), nResID, L"REGISTRY");
    });
  }

  /// Identifier of the module's type library; set by DECLARE_LIBID.
  static inline GUID m_libid = {};

  LONG m_nLockCnt = 0;
};

namespace detail {

/// Adds or removes a module lock. When the process ends, or the DLL is freed before its clients,
/// objects are released after the destruction of the module object, and their locks are not
/// counted.
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
}  // namespace ATL

// A macro, as in ATL, where it chooses the registrar.
#define UpdateRegistryFromResource UpdateRegistryFromResourceS
