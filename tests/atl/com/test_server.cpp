// A COM server with one class, for the tests of what a module does when it is loaded and unloaded.

#include <atlbase.h>
#include <atlcom.h>

#include <bit>
#include <cstdlib>

#include "test_objects.h"
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

class CTestServerModule : public CAtlDllModuleT<CTestServerModule> {};

CTestServerModule g_module;

class CServerObject : public CTestObject {
 public:
  static HRESULT WINAPI UpdateRegistry(BOOL) { return S_OK; }
};

OBJECT_ENTRY_AUTO(CLSID_Greeter, CServerObject)

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
  return g_module.DllMain(reason, reserved);
}

STDAPI DllCanUnloadNow() { return g_module.DllCanUnloadNow(); }

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* out) {
  return g_module.DllGetClassObject(clsid, iid, out);
}
