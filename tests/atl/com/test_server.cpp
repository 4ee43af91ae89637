// A complete COM server with one class, for the tests of what a module does as a DLL.

#include <atlbase.h>
#include <atlcom.h>
#include <atlwin.h>
#include <objsafe.h>

#include <bit>
#include <cstdlib>

#include "greeter.h"
#include "test_types_h.h"

namespace {

/// Fails the one call, counted from 1, that the environment variable names. Gives no reason.
BOOL WINAPI InitializeSection(CRITICAL_SECTION* section, DWORD spins) {
  static int calls = 0;
  char text[16] = "0";
  GetEnvironmentVariableA("ATL_TEST_FAILING_SECTION", text, sizeof(text));
  if (++calls == std::atoi(text)) {
    SetLastError(ERROR_SUCCESS);
    return FALSE;
  }
  auto* const initialize = std::bit_cast<decltype(&InitializeCriticalSectionAndSpinCount)>(
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "InitializeCriticalSectionAndSpinCount"));
  return initialize(section, spins);
}

}  // namespace

// In the place of the linker's own import, as the module's locks are made before anybody could
// replace that.
extern "C" const decltype(&InitializeSection) __imp_InitializeCriticalSectionAndSpinCount;
const decltype(&InitializeSection) __imp_InitializeCriticalSectionAndSpinCount = &InitializeSection;

namespace {

class CTestServerModule : public CAtlDllModuleT<CTestServerModule> {
 public:
  DECLARE_LIBID(LIBID_AtlComTestTypes)
  DECLARE_REGISTRY_APPID_RESOURCEID(100, "{7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E61}")
};

CTestServerModule g_module;

class CServerGreeter : public CGreeter {
 public:
  static HRESULT WINAPI UpdateRegistry(BOOL bRegister) {
    return _pAtlModule->UpdateRegistryFromResource(101, bRegister);
  }
  BEGIN_CATEGORY_MAP(CServerGreeter)
  IMPLEMENTED_CATEGORY(CATID_SafeForScripting)
  END_CATEGORY_MAP()
};

OBJECT_ENTRY_AUTO(CLSID_Greeter, CServerGreeter)

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
  return g_module.DllMain(reason, reserved);
}

STDAPI DllCanUnloadNow() { return g_module.DllCanUnloadNow(); }

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* out) {
  return g_module.DllGetClassObject(clsid, iid, out);
}

STDAPI DllRegisterServer() { return g_module.DllRegisterServer(); }

STDAPI DllUnregisterServer() { return g_module.DllUnregisterServer(); }
