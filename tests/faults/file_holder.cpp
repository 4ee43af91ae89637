// Another program that uses a file: holds the one that its only argument names open, shared with
// nobody, until its standard input ends. Says "held" once it does. Exit code: 0, or the system's
// error.

#include <windows.h>

#include <cstdio>

int wmain(int count, wchar_t** words) {
  if (count != 2) {
    return ERROR_BAD_ARGUMENTS;
  }
  const HANDLE file = CreateFileW(words[1], GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return static_cast<int>(GetLastError());
  }
  std::puts("held");
  std::fflush(stdout);
  std::getchar();
  CloseHandle(file);
  return 0;
}
