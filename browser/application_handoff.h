#pragma once

#include <atlbase.h>
#include <exdisp.h>

#include "download/file_path.h"

/// The desktop application's program folder, from its install information. False when there is
/// none to read.
bool GetInstallFolder(CFilePath& folder);

/// Opens a local file in the desktop application; without install information, by the file's
/// association. Does nothing when the launcher is missing. Failures are not reported.
void OpenInApplication(HWND owner, const CFilePath& path);

/// Writes an Internet shortcut to `url` into the temporary-files folder and gives its path.
/// E_FAIL when that cannot be done.
HRESULT WriteInternetShortcut(const CStringW& url, CFilePath& shortcutPath);

/// Tells the desktop application to insert what the shortcut points to, then stops `browser` and
/// cancels the navigation whose event carries `params`. Leaves both alone when the application is
/// not there. `browser` is read after the launch, when it may have become null. Always S_OK.
HRESULT LaunchInsert(HWND owner, const CComPtr<IWebBrowser2>& browser,
                     const CFilePath& shortcutPath, const DISPPARAMS& params);
