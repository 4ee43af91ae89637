// Loads the server that its first argument names, takes its class factory, and still holds that at
// the end, which the second argument names: ExitProcess, or FreeLibrary before it. Exit code: 0, or
// what went wrong. An access violation counts here, where the system would ignore it while it
// unloads libraries.

#include <windows.h>

#include <shellapi.h>
#include <unknwn.h>

#include <bit>
#include <string_view>

#include "test_types_h.h"

namespace {

LONG CALLBACK FailOnAccessViolation(EXCEPTION_POINTERS* exception) {
  if (exception->ExceptionRecord->ExceptionCode == EXCEPTION_ACCESS_VIOLATION) {
    TerminateProcess(GetCurrentProcess(), ERROR_NOACCESS);
  }
  return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
  int count = 0;
  LPWSTR* const words = CommandLineToArgvW(GetCommandLineW(), &count);
  if (words == nullptr || count != 3) {
    return ERROR_BAD_ARGUMENTS;
  }
  const HMODULE library = LoadLibraryW(words[1]);
  auto* const getClassObject = std::bit_cast<HRESULT(WINAPI*)(REFCLSID, REFIID, void**)>(
      GetProcAddress(library, "DllGetClassObject"));
  void* factory = nullptr;
  if (getClassObject == nullptr ||
      FAILED(getClassObject(CLSID_Greeter, IID_IClassFactory, &factory))) {
    return ERROR_INVALID_FUNCTION;
  }
  AddVectoredExceptionHandler(TRUE, &FailOnAccessViolation);
  if (words[2] == std::wstring_view(L"FreeLibrary")) {
    FreeLibrary(library);
    if (GetModuleHandleW(words[1]) != nullptr) {
      return ERROR_BUSY;
    }
  }
  ExitProcess(ERROR_SUCCESS);
}
