// Loads the DLL that its argument names, in a process whose name a test chooses by copying the
// program. Exit code: 0 or the loader's error.

#include <windows.h>

#include <shellapi.h>

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
  int count = 0;
  LPWSTR* const words = CommandLineToArgvW(GetCommandLineW(), &count);
  if (words == nullptr || count != 2) {
    return ERROR_BAD_ARGUMENTS;
  }
  const HMODULE library = LoadLibraryW(words[1]);
  const DWORD error = library != nullptr ? ERROR_SUCCESS : GetLastError();
  LocalFree(words);
  return static_cast<int>(error);
}
