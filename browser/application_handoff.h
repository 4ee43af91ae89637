#pragma once

#include <atlbase.h>
#include <exdisp.h>

#include <functional>

#include "download/file_path.h"

/// Reads the desktop application's program folder from its install information in the registry.
/// False when the value is missing or cannot be read.
bool GetInstallFolder(CFilePath& folder);

/// Opens a local file in the desktop application, or by its file association when there is no
/// install information. Does nothing when the launcher is missing. Does not report failures.
void OpenInApplication(HWND owner, const CFilePath& path);

/// Writes an Internet shortcut to `url` into the temporary-files folder and returns its path.
/// E_FAIL when the file cannot be written.
HRESULT WriteInternetShortcut(const CStringW& url, CFilePath& shortcutPath);

/// Returns a browser with a reference of the caller's own; null when there is none any more.
using CurrentBrowserFn = std::function<CComPtr<IWebBrowser2>()>;

/// Starts the launcher with the insert switch and the shortcut's path, then stops the browser and
/// cancels the navigation whose event carries `params`. Does nothing when there is no install
/// information or no launcher. Calls `currentBrowser` after the launch, which dispatches messages:
/// the browser may have released the helper object meanwhile. Always returns S_OK.
HRESULT LaunchInsert(HWND owner, const CurrentBrowserFn& currentBrowser,
                     const CFilePath& shortcutPath, const DISPPARAMS& params);
