// A complete COM server with one class, for the tests of what a module does as a DLL.

#include <atlbase.h>
#include <atlcom.h>
#include <objsafe.h>

#include "greeter.h"
#include "test_types_h.h"

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
