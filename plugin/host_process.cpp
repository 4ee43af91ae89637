#include "plugin/host_process.h"

#include <atlbase.h>
#include <atlstr.h>

namespace {

constexpr wchar_t kShellExecutable[] = L"explorer.exe";
constexpr DWORD kPathLength = 260;

}  // namespace

bool IsRefusedHost(LPCWSTR path) {
  CStringW lowered(path);
  lowered.MakeLower();
  // Anywhere in the path; "iexplore.exe" does not contain it.
  return lowered.Find(kShellExecutable) >= 0;
}

bool IsRefusedHostProcess() {
  wchar_t path[kPathLength + 1] = {};
  GetModuleFileNameW(nullptr, path, kPathLength);
  return IsRefusedHost(path);
}
