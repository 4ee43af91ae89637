// The functions that the DLL exports, and its load notification.

#include "plugin/folivo_plugin.h"

#include "plugin/host_process.h"
#include "plugin/thread_locale.h"
#include "resources/resource.h"
#include "ui/advapi32_dll.h"

namespace {

CFolivoPluginClass g_module;

// Quirk 91: keeps "Advapi32.dll" loaded, and its optional functions bound, as long as this module
// is loaded. No code of the module calls them.
const CAdvapi32Dll g_advapi32;

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
  if (reason != DLL_PROCESS_ATTACH) {
    g_module.DllMain(reason, reserved);
    return TRUE;
  }
  // The shell must never load this module: it would keep the file in use until the user logs off.
  return !IsRefusedHostProcess() && g_module.DllMain(reason, reserved);
}

STDAPI DllCanUnloadNow() { return g_module.DllCanUnloadNow(); }

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* out) {
  return g_module.DllGetClassObject(clsid, iid, out);
}

STDAPI DllRegisterServer() {
  const CThreadLocaleScope locale(LOCALE_SYSTEM_DEFAULT);
  const HRESULT registered = g_module.DllRegisterServer();
  if (FAILED(registered)) {
    return registered;
  }
  // Quirk 88: a second run, without replacements. The script has no tokens.
  return g_module.UpdateRegistryFromResource(IDR_FOLIVOPLUGIN, TRUE);
}

STDAPI DllUnregisterServer() {
  const HRESULT unregistered = g_module.DllUnregisterServer();
  // Quirk 89: a second run, in the caller's locale.
  const HRESULT removed = g_module.UpdateRegistryFromResource(IDR_FOLIVOPLUGIN, FALSE);
  return FAILED(unregistered) ? unregistered : removed;
}
