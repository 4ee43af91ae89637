// A program that does nothing but load a DLL, as any process might. Copied to other names by the
// tests of the refused hosts.

#include <windows.h>

#include <cstdlib>

int main() {
  int count = 0;
  LPWSTR* const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
  if (arguments == nullptr || count != 2) {
    return 2;
  }
  const HMODULE library = LoadLibraryW(arguments[1]);
  const DWORD error = GetLastError();
  if (library != nullptr) {
    return FreeLibrary(library) ? EXIT_SUCCESS : 3;
  }
  return error == ERROR_DLL_INIT_FAILED ? 10 : 11;
}
