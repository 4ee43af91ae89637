#pragma once

#include "com_module.h"
#include "module.h"

namespace ATL {

/// A DLL with COM classes: implements its entry point and its four exported functions. T is the
/// class of the module object, which has the DECLARE_ macros below.
template <class T>
class CAtlDllModuleT : public CAtlModule {
 public:
  CAtlDllModuleT() noexcept { T::InitLibId(); }

  /// Returns FALSE, so that the DLL is not loaded, when the module's initialisation has failed.
  BOOL WINAPI DllMain(DWORD dwReason, LPVOID /*lpReserved*/) noexcept {
    return dwReason != DLL_PROCESS_ATTACH || !CAtlBaseModule::m_bInitFailed;
  }

  HRESULT DllCanUnloadNow() noexcept { return GetLockCount() == 0 ? S_OK : S_FALSE; }

  HRESULT DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) noexcept {
    return _AtlComModule.GetClassObject(rclsid, riid, ppv);
  }

  /// Registers the module's script, then the classes, then the type library, until one fails.
  HRESULT DllRegisterServer(BOOL bRegTypeLib = TRUE) noexcept {
    return InSystemLocale([=] {
      const HRESULT hr = T::UpdateRegistryAppId(TRUE);
      return FAILED(hr) ? hr : _AtlComModule.RegisterServer(bRegTypeLib);
    });
  }

  /// Unregisters the classes, then the type library, then the module's script, until one fails.
  HRESULT DllUnregisterServer(BOOL bUnRegTypeLib = TRUE) noexcept {
    return InSystemLocale([=] {
      const HRESULT hr = _AtlComModule.UnregisterServer(bUnRegTypeLib);
      return FAILED(hr) ? hr : T::UpdateRegistryAppId(FALSE);
    });
  }

  HRESULT AddCommonRGSReplacements(IRegistrarBase* pRegistrar) noexcept override {
    return pRegistrar->AddReplacement(L"APPID", T::GetAppId());
  }

  // For a module class without the DECLARE_ macros.
  static void InitLibId() noexcept {}
  static LPCOLESTR GetAppId() noexcept { return L""; }
  static HRESULT WINAPI UpdateRegistryAppId(BOOL) noexcept { return S_OK; }

 private:
  /// Calls `f` in the thread locale that does not depend on the user's settings.
  template <class F>
  static HRESULT InSystemLocale(F f) noexcept {
    const LCID lcidPrevious = ::GetThreadLocale();
    ::SetThreadLocale(LOCALE_SYSTEM_DEFAULT);
    const HRESULT hr = f();
    ::SetThreadLocale(lcidPrevious);
    return hr;
  }
};

}  // namespace ATL

/// In the class of the module object: the identifier of its type library.
#define DECLARE_LIBID(libid) \
  static void InitLibId() noexcept { ATL::CAtlModule::m_libid = libid; }

/// In the class of the module object: the script of the module itself, run with `appid` as %APPID%.
#define DECLARE_REGISTRY_APPID_RESOURCEID(resid, appid)                                         \
  static LPCOLESTR GetAppId() noexcept { return OLESTR(appid); }                                \
  static HRESULT WINAPI UpdateRegistryAppId(BOOL bRegister) noexcept {                          \
    ATL::_ATL_REGMAP_ENTRY aMapEntries[] = {{OLESTR("APPID"), GetAppId()}, {nullptr, nullptr}}; \
    return ATL::_pAtlModule->UpdateRegistryFromResource(resid, bRegister, aMapEntries);         \
  }
