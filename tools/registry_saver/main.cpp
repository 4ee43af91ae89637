// registry_saver KEY FILE: saves a key below HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER with all below
// it, in one call, which Wine writes as text. regedit asks Wine's server for each value, which
// takes seconds. Ends with the system's error code.

#include <atlbase.h>
#include <windows.h>

#include <string>

namespace {

LSTATUS AllowSaving() {
  HANDLE token = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token)) {
    return static_cast<LSTATUS>(GetLastError());
  }
  const CHandle owner(token);
  TOKEN_PRIVILEGES privileges = {};
  privileges.PrivilegeCount = 1;
  privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
  LookupPrivilegeValueW(nullptr, SE_BACKUP_NAME, &privileges.Privileges[0].Luid);
  AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr);
  return static_cast<LSTATUS>(GetLastError());
}

LSTATUS Save(const std::wstring& path, const wchar_t* file) {
  const size_t separator = path.find(L'\\');
  const std::wstring root = path.substr(0, separator);
  if (separator == std::wstring::npos ||
      (root != L"HKEY_LOCAL_MACHINE" && root != L"HKEY_CURRENT_USER")) {
    return ERROR_BAD_PATHNAME;
  }
  CRegKey key;
  LSTATUS status = key.Open(root == L"HKEY_LOCAL_MACHINE" ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER,
                            path.c_str() + separator + 1, KEY_READ | KEY_WOW64_64KEY);
  if (status == ERROR_SUCCESS) {
    status = AllowSaving();
  }
  return status == ERROR_SUCCESS ? RegSaveKeyW(key, file, nullptr) : status;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  return count == 3 ? Save(arguments[1], arguments[2]) : ERROR_BAD_ARGUMENTS;
}
