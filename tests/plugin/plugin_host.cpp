// Loads the DLL that its first argument names, in a process whose name a test chooses by copying
// the program. With a second argument, asks the version control that the DLL makes for the version
// and compares. Exit code: 0, the loader's error, or ERROR_INVALID_DATA for another version.

#include <windows.h>

#include <oleauto.h>
#include <shellapi.h>

#include <bit>
#include <cwchar>

#include "folivo_plugin_h.h"

namespace {

bool TellsVersion(HMODULE library, LPCWSTR expected) {
  auto* const getClassObject =
      std::bit_cast<decltype(&DllGetClassObject)>(GetProcAddress(library, "DllGetClassObject"));
  IClassFactory* factory = nullptr;
  if (getClassObject == nullptr ||
      FAILED(getClassObject(CLSID_CFolivoPluginVersion, IID_IClassFactory,
                            reinterpret_cast<void**>(&factory)))) {
    return false;
  }
  IFolivoPluginVersion* control = nullptr;
  const HRESULT created = factory->CreateInstance(nullptr, IID_IFolivoPluginVersion,
                                                  reinterpret_cast<void**>(&control));
  factory->Release();
  if (FAILED(created)) {
    return false;
  }
  BSTR version = nullptr;
  const bool isTold =
      SUCCEEDED(control->get_Version(&version)) && std::wcscmp(version, expected) == 0;
  SysFreeString(version);
  control->Release();
  return isTold;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
  int count = 0;
  LPWSTR* const words = CommandLineToArgvW(GetCommandLineW(), &count);
  if (words == nullptr || count < 2 || count > 3) {
    return ERROR_BAD_ARGUMENTS;
  }
  const HMODULE library = LoadLibraryW(words[1]);
  DWORD error = library != nullptr ? ERROR_SUCCESS : GetLastError();
  if (library != nullptr) {
    if (count == 3 && !TellsVersion(library, words[2])) {
      error = ERROR_INVALID_DATA;
    }
    FreeLibrary(library);
  }
  LocalFree(words);
  return static_cast<int>(error);
}
