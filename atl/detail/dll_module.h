#pragma once

#include "com_module.h"
#include "module.h"

namespace ATL {

/// A module with COM classes. T is the class of the module object, which has the DECLARE_ macros
/// below.
template <class T>
class ATL_NO_VTABLE CAtlModuleT : public CAtlModule {
 public:
  CAtlModuleT() noexcept { T::InitLibId(); }

  /// Registers the classes, and the type library if bRegTypeLib.
  HRESULT RegisterServer(BOOL bRegTypeLib) noexcept {
    return _AtlComModule.RegisterServer(bRegTypeLib);
  }
  HRESULT UnregisterServer(BOOL bUnRegTypeLib) noexcept {
    return _AtlComModule.UnregisterServer(bUnRegTypeLib);
  }

  /// Runs the module's own script.
  HRESULT RegisterAppId() noexcept { return T::UpdateRegistryAppId(TRUE); }
  HRESULT UnregisterAppId() noexcept { return T::UpdateRegistryAppId(FALSE); }

  HRESULT AddCommonRGSReplacements(IRegistrarBase* pRegistrar) noexcept override {
    return pRegistrar->AddReplacement(L"APPID", T::GetAppId());
  }

  // For a module class without the DECLARE_ macros.
  static void InitLibId() noexcept {}
  static LPCOLESTR GetAppId() noexcept { return L""; }
  static HRESULT WINAPI UpdateRegistryAppId(BOOL) noexcept { return S_OK; }
};

namespace detail {

/// Switches the thread's locale for its scope, so that the registered data does not depend on the
/// user's settings.
class CThreadLocaleScope {
 public:
  explicit CThreadLocaleScope(LCID lcid) noexcept : m_lcidPrevious(::GetThreadLocale()) {
    ::SetThreadLocale(lcid);
  }
  CThreadLocaleScope(const CThreadLocaleScope&) = delete;
  CThreadLocaleScope& operator=(const CThreadLocaleScope&) = delete;
  ~CThreadLocaleScope() { ::SetThreadLocale(m_lcidPrevious); }

 private:
  const LCID m_lcidPrevious;
};

}  // namespace detail

/// A DLL with COM classes: implements its entry point and its four exported functions.
template <class T>
class ATL_NO_VTABLE CAtlDllModuleT : public CAtlModuleT<T> {
 public:
  /// Returns FALSE, so that the DLL is not loaded, when the module's initialisation has failed.
  BOOL WINAPI DllMain(DWORD dwReason, LPVOID /*lpReserved*/) noexcept {
    return dwReason != DLL_PROCESS_ATTACH || !CAtlBaseModule::m_bInitFailed;
  }

  HRESULT DllCanUnloadNow() noexcept {
    return static_cast<T*>(this)->GetLockCount() == 0 ? S_OK : S_FALSE;
  }

  HRESULT DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) noexcept {
    return static_cast<T*>(this)->GetClassObject(rclsid, riid, ppv);
  }
  HRESULT GetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) noexcept {
    return _AtlComModule.GetClassObject(rclsid, riid, ppv);
  }

  /// Registers the module's script, then the classes, then the type library, until one fails.
  HRESULT DllRegisterServer(BOOL bRegTypeLib = TRUE) noexcept {
    const detail::CThreadLocaleScope locale(LOCALE_SYSTEM_DEFAULT);
    T& module = *static_cast<T*>(this);
    const HRESULT hr = module.RegisterAppId();
    return FAILED(hr) ? hr : module.RegisterServer(bRegTypeLib);
  }

  /// Unregisters the classes, then the type library, then the module's script, until one fails.
  HRESULT DllUnregisterServer(BOOL bUnRegTypeLib = TRUE) noexcept {
    const detail::CThreadLocaleScope locale(LOCALE_SYSTEM_DEFAULT);
    T& module = *static_cast<T*>(this);
    const HRESULT hr = module.UnregisterServer(bUnRegTypeLib);
    return FAILED(hr) ? hr : module.UnregisterAppId();
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
