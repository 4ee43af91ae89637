#include "plugin/host_process.h"

#include <cwchar>

namespace {

constexpr wchar_t kShellExecutable[] = L"explorer.exe";
constexpr DWORD kPathLength = 260;

}  // namespace

// Without allocations, as an exception must not leave DllMain.
bool IsRefusedHost(LPCWSTR path) {
  wchar_t lowered[kPathLength + 1] = {};
  wcsncpy(lowered, path, ARRAYSIZE(lowered) - 1);
  _wcslwr(lowered);
  // Quirk 87: anywhere in the path, a folder's name included. The browser's "iexplore.exe" does not
  // contain it.
  return wcsstr(lowered, kShellExecutable) != nullptr;
}

bool IsRefusedHostProcess() {
  wchar_t path[kPathLength + 1] = {};
  GetModuleFileNameW(nullptr, path, ARRAYSIZE(path) - 1);
  return IsRefusedHost(path);
}
