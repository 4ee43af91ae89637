#include "browser/application_handoff.h"

#include <shellapi.h>

#include <cstddef>

#include "base/code_pages.h"
#include "base/product_texts.h"
#include "browser/navigation_arguments.h"
#include "download/file_operations.h"
#include "download/file_path.h"
#include "download/shell_open.h"
#include "download/temp_files.h"

namespace {

constexpr wchar_t kApplicationKey[] =
    L"Software\\MERLO Technologies\\Folivo Software\\Install Information";
constexpr wchar_t kPanelDriversKey[] =
    L"Software\\MERLO Technologies\\MERLO Panel Drivers\\Install Information";
constexpr wchar_t kFolderValue[] = L"FolivoExePath";
constexpr DWORD kFolderLength = 512;
constexpr wchar_t kLauncherName[] = L"LaunchFolivo.exe";
constexpr wchar_t kInsertSwitch[] = L"/insertinfolivo:";

constexpr wchar_t kShortcutBaseName[] = L"File";
constexpr wchar_t kShortcutExtension[] = L".url";
constexpr char kShortcutHead[] = "[InternetShortcut]\nURL=";

bool ReadFolderValue(HKEY key, CStringW& folder) {
  // One character longer than what is read, as a registry string may lack its terminator.
  wchar_t buffer[kFolderLength + 1] = {};
  DWORD type = REG_NONE;
  DWORD size = kFolderLength * sizeof(wchar_t);
  if (RegQueryValueExW(key, kFolderValue, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &size) !=
          ERROR_SUCCESS ||
      (type != REG_SZ && type != REG_EXPAND_SZ)) {
    return false;
  }
  folder = buffer;
  return true;
}

/// Starts the application's launcher, which is in `folder`. Returns false when it is missing.
bool StartLauncher(HWND owner, const CFilePath& folder, LPCWSTR parameters) {
  const CFilePath launcher = JoinPath(folder, kLauncherName);
  if (!PathExists(launcher)) {
    return false;
  }
  OpenInShell(owner, launcher, parameters);
  return true;
}

}  // namespace

bool GetInstallFolder(CFilePath& folder) {
  constexpr REGSAM kAccess = KEY_READ | KEY_WOW64_32KEY;
  CRegKey key;
  // Quirk 12: the second key is read only when the first one is missing, not when that lacks the
  // value.
  if (key.Open(HKEY_LOCAL_MACHINE, kApplicationKey, kAccess) != ERROR_SUCCESS &&
      key.Open(HKEY_LOCAL_MACHINE, kPanelDriversKey, kAccess) != ERROR_SUCCESS) {
    return false;
  }
  CStringW text;
  if (!ReadFolderValue(key, text)) {
    return false;
  }
  folder = CFilePath(text);
  return true;
}

void OpenInApplication(HWND owner, const CFilePath& path) {
  CFilePath folder;
  if (GetInstallFolder(folder)) {
    // Quirk 11: without quotes, even when the path contains blanks.
    StartLauncher(owner, folder, path);
  } else {
    OpenInShell(owner, path, nullptr);
  }
}

HRESULT WriteInternetShortcut(const CStringW& url, CFilePath& shortcutPath) {
  // Converts the text first, so that a failure leaves no empty file behind.
  const CStringA address = ToUtf8(url);
  if (address.IsEmpty() && !url.IsEmpty()) {
    return E_FAIL;
  }
  // Quirk 9: the whole URL, its query included.
  const CStringA text = kShortcutHead + address;
  const CFilePath path = MakeUniqueFilePath(PrepareAppTempFilesFolder(kProductName),
                                            kShortcutBaseName, kShortcutExtension);
  if (PathExists(path)) {
    return E_FAIL;
  }
  if (!WriteWholeFile(path, L"wt", text.GetString(), static_cast<size_t>(text.GetLength()))) {
    return E_FAIL;
  }
  // Quirk 10: nothing deletes the file; the launcher reads it at a time of its own choosing.
  shortcutPath = path;
  return S_OK;
}

HRESULT LaunchInsert(HWND owner, const CurrentBrowserFn& currentBrowser,
                     const CFilePath& shortcutPath, const DISPPARAMS& params) {
  CFilePath folder;
  if (!GetInstallFolder(folder) ||
      !StartLauncher(owner, folder, kInsertSwitch + shortcutPath.GetText())) {
    return S_OK;
  }
  // Quirk 14: stops and cancels even when the launcher could not be started.
  if (const CComPtr<IWebBrowser2> browser = currentBrowser()) {
    browser->Stop();
  }
  CancelNavigation(params);
  return S_OK;
}
